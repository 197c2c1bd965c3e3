// The volume record, its storage and the volume table.
//
// One channel is one pointer block of Z*(Y+1) slots (Z frame pointers, then Z runs of Y row
// pointers) behind a two-word header, and zeroed voxels: rows of a frame are contiguous. A
// channel of a few megabytes or more is one block mapped from the system on huge pages where
// it has them, its frames on cache lines of their own: creating and dropping the large work
// volumes of an operator then costs a few faults instead of thousands, and nothing of it stays
// in the heap. Smaller channels take one calloc block per frame.
#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "core/common.h"
#include "core/geometry.h"
#include "core/parallel.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <unistd.h>
#endif
#if defined(__linux__)
#include <sys/mman.h>
#endif

#ifndef VEXILO3D_RESTRICTED_MAX_VOXELS
#define VEXILO3D_RESTRICTED_MAX_VOXELS 16777216
#endif

namespace v3d {

#if defined(__linux__)
void* mem_map_zeroed(std::size_t bytes, Mapping* mapping) noexcept {
    constexpr std::size_t kHugePage = std::size_t{2} << 20;
    if (!allocation_allowed() || bytes > SIZE_MAX - kHugePage) return nullptr;
    const std::size_t length = bytes + kHugePage;
    void* base = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (base == MAP_FAILED) return nullptr;
    const auto start = (reinterpret_cast<std::uintptr_t>(base) + kHugePage - 1) & ~(kHugePage - 1);
    void* data = reinterpret_cast<void*>(start);
    madvise(data, bytes, MADV_HUGEPAGE);  // advice only: without huge pages it still works
    *mapping = {base, length};
    return data;
}

void mem_unmap(const Mapping& mapping) noexcept {
    if (mapping.base) munmap(mapping.base, mapping.length);
}
#else
void* mem_map_zeroed(std::size_t, Mapping*) noexcept { return nullptr; }
void mem_unmap(const Mapping&) noexcept {}
#endif

namespace {

constexpr int kTableSize = 100;

Volume* g_records = nullptr;         // one block of 100 records
Volume* g_table[kTableSize] = {};    // slot i -> record i
V3DMessageHook g_message_hook = nullptr;

int element_size(int type) { return type == kUC ? 1 : 4; }

bool valid_type(int type) { return type == kUC || type == kF || type == kI; }

// Bytes of physical memory, or 0 when it cannot be told.
double physical_memory() {
#if defined(_WIN32)
    MEMORYSTATUSEX status;
    status.dwLength = sizeof(status);
    return GlobalMemoryStatusEx(&status) ? static_cast<double>(status.ullTotalPhys) : 0.0;
#else
    const long pages = sysconf(_SC_PHYS_PAGES), page = sysconf(_SC_PAGE_SIZE);
    return (pages > 0 && page > 0) ? static_cast<double>(pages) * page : 0.0;
#endif
}

// A request that cannot fit in the machine's memory is refused before anything is allocated
// (the operating system might otherwise promise it and fail when it is touched).
bool storage_conceivable(const Volume* v) {
    const double frames = static_cast<double>(v->Z), rows = v->Y, cols = v->X;
    const double per_channel =
        frames * (rows + 1) * sizeof(void*) + frames * rows * cols * element_size(v->type);
    const double total = per_channel * channels(v);
    const double memory = physical_memory();
    if (total > static_cast<double>(SIZE_MAX) / 2) return false;
    return memory == 0.0 || total <= memory;
}

// The header before a channel's slots: the mapped block holding its voxels (none when every
// frame is a calloc block of its own).
struct ChannelHeader {
    Mapping mapping;
};
constexpr std::size_t kHeaderSlots = sizeof(ChannelHeader) / sizeof(void*);

ChannelHeader* header_of(void* slots) {
    return reinterpret_cast<ChannelHeader*>(static_cast<void**>(slots) - kHeaderSlots);
}

void free_channel(void* block, int Z) {
    if (!block) return;
    void** slots = static_cast<void**>(block);
    const ChannelHeader header = *header_of(block);
    if (header.mapping.base) mem_unmap(header.mapping);
    if (!header.mapping.base)
        for (int z = 0; z < Z; ++z) {
            void** rows = static_cast<void**>(slots[z]);
            mem_free(rows[0]);
        }
    mem_free(header_of(block));
}

// Points the row slots of every frame into one mapped block (each frame starting on a cache
// line), or obtains a zeroed calloc block per frame. False when the storage cannot be had;
// everything of the channel, its slots included, is then released.
bool place_frames(void** slots, int Z, int Y, std::size_t row_bytes) {
    ChannelHeader* header = header_of(slots);
#if defined(__linux__)
    const std::size_t frame_stride = (static_cast<std::size_t>(Y) * row_bytes + 63) & ~std::size_t{63};
    std::size_t total = 0;
    if (checked_product(&total, {Z, static_cast<long long>(frame_stride)}) &&
        total >= kMappedBytes) {
        char* voxels = static_cast<char*>(mem_map_zeroed(total, &header->mapping));
        if (!voxels) {
            mem_free(header);
            return false;
        }
        for (int z = 0; z < Z; ++z) {
            void** rows = slots + Z + static_cast<std::size_t>(z) * Y;
            slots[z] = rows;
            char* frame = voxels + static_cast<std::size_t>(z) * frame_stride;
            for (int y = 0; y < Y; ++y) rows[y] = frame + static_cast<std::size_t>(y) * row_bytes;
        }
        return true;
    }
#endif
    for (int z = 0; z < Z; ++z) {
        void** rows = slots + Z + static_cast<std::size_t>(z) * Y;
        slots[z] = rows;
        char* frame = static_cast<char*>(mem_calloc(static_cast<std::size_t>(Y), row_bytes));
        if (!frame) {
            free_channel(slots, z);
            return false;
        }
        for (int y = 0; y < Y; ++y) rows[y] = frame + static_cast<std::size_t>(y) * row_bytes;
    }
    return true;
}

// Obtains one channel: the header and pointer block, then the zeroed voxels. On failure
// everything obtained for this channel is released and null returned.
void* allocate_channel(int Z, int Y, int X, int elem) {
    std::size_t slot_bytes = 0, row_bytes = 0;
    if (!checked_product(&slot_bytes, {static_cast<long long>(Z) * (static_cast<long long>(Y) + 1) +
                                           static_cast<long long>(kHeaderSlots),
                                       static_cast<long long>(sizeof(void*))}) ||
        !checked_product(&row_bytes, {X, elem}))
        return nullptr;
    void** block = static_cast<void**>(mem_malloc(slot_bytes));
    if (!block) return nullptr;
    void** slots = block + kHeaderSlots;
    *header_of(slots) = {};
    return place_frames(slots, Z, Y, row_bytes) ? slots : nullptr;
}

bool restricted_request_refused(int Z, int Y, int X) {
#if defined(VEXILO3D_RESTRICTED_EDITION)
    const double voxels = static_cast<double>(Z) * Y * X;
    if (voxels > static_cast<double>(VEXILO3D_RESTRICTED_MAX_VOXELS)) {
        if (g_message_hook) g_message_hook(kMsgRestrictedEdition);
        return true;
    }
#else
    (void)Z; (void)Y; (void)X;
#endif
    return false;
}

}  // namespace

namespace {

bool channel_value(int type, float value, double* converted) {
    if (type == kUC) {
        if (value < 0.0f || value > 255.0f || std::isnan(value)) return false;
        *converted = std::trunc(value);
    } else if (type == kI) {
        if (!(value >= -2147483648.0f && value <= 2147483648.0f)) return false;
        // 2^31 itself is accepted; it saturates to the largest int instead of wrapping
        *converted = std::fmin(std::trunc(static_cast<double>(value)), 2147483647.0);
    } else {
        *converted = value;
    }
    return true;
}

// Whether rows [y1, y2) hold only 0 and 255 in [x1, x2); stops at the first row that does not.
// 0 and 255 plus one wrap to 1 and 0, every other value to 2 or more: one add and one maximum
// a byte, without a branch inside a row, so that it vectorises (built for AVX2 as well, where
// the processor has it; a build for AVX-512 was slower).
#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__) && defined(__linux__)
__attribute__((target_clones("avx2", "default")))
#endif
bool rows_are_binary(unsigned char* const* rows, int y1, int y2, int x1, int x2) {
    for (int y = y1; y < y2; ++y) {
        const unsigned char* row = rows[y];
        unsigned char most = 0;
        for (int x = x1; x < x2; ++x) most = std::max(most, static_cast<unsigned char>(row[x] + 1));
        if (most > 1) return false;
    }
    return true;
}

}  // namespace

int checked_channel_values(Volume* vol, const float* values, double converted[3]) {
    V3D_CHECK(CheckVolume(vol, kAnyType, kAnyColor));
    if (!values) return kNullBasicPointer;
    for (int c = 0, n = channels(vol); c < n; ++c)
        if (!channel_value(vol->type, values[c], &converted[c])) return kInvalidParams;
    return kOk;
}

}  // namespace v3d

using namespace v3d;

extern "C" {

void InitializeVolume(Volume* vol, int Z, int Y, int X, int type, int colortype) {
    if (!vol) return;
    vol->Z = Z;
    vol->Y = Y;
    vol->X = X;
    vol->type = type;
    vol->colortype = colortype;
}

void fill_in_VOI(Volume* vol, int z1, int z2, int y1, int y2, int x1, int x2) {
    if (!vol) return;
    vol->z1 = z1;
    vol->z2 = z2;
    vol->y1 = y1;
    vol->y2 = y2;
    vol->x1 = x1;
    vol->x2 = x2;
}

int CreateVolume(Volume* vol) {
    if (!vol) return kNullVolume;
    forget_geometry(vol);  // a new volume has voxels of 1 x 1 x 1 and no orientation
    if (!valid_type(vol->type)) {
        vol->type = 0;
        return kWrongType;
    }
    if (vol->colortype != kGrey && vol->colortype != kRGB) {
        vol->type = 0;
        return kWrongColor;
    }
    if (vol->Z < 1 || vol->Y < 1 || vol->X < 1) {
        vol->type = 0;
        return kInvalidParams;
    }
    if (!storage_conceivable(vol)) {
        vol->type = 0;
        return kNoVolume;
    }
    const int n = channels(vol);
    for (int c = 0; c < n; ++c) {
        vol->data[c].p = allocate_channel(vol->Z, vol->Y, vol->X, element_size(vol->type));
        if (!vol->data[c].p) {
            for (int k = 0; k < c; ++k) {  // release the channels obtained before
                free_channel(vol->data[k].p, vol->Z);
                vol->data[k].p = nullptr;
            }
            vol->type = 0;
            return kNoVolume;
        }
    }
    fill_in_VOI(vol, 0, vol->Z, 0, vol->Y, 0, vol->X);
    return kOk;
}

void DestroyVolume(Volume* vol) {
    if (!vol) return;
    forget_geometry(vol);
    if (!valid_type(vol->type) || (vol->colortype != kGrey && vol->colortype != kRGB)) return;
    if (vol->Z < 1 || vol->Y < 1 || vol->X < 1) return;
    for (int c = 0, n = channels(vol); c < n; ++c) free_channel(vol->data[c].p, vol->Z);
    vol->name[0] = '\0';
    vol->type = 0;
}

int CheckVolume(Volume* vol, int typemask, int colormask) {
    if (!vol) return kNullVolume;
    if (typemask == 0 && vol->type == 0) return kOk;
    if ((vol->type & typemask) == 0) return kWrongType;
    if ((vol->colortype & colormask) == 0) return kWrongColor;
    if (valid_type(vol->type))
        for (int c = 0, n = channels(vol); c < n; ++c)
            if (!vol->data[c].p) return kNullSequence;
    if (vol->z1 < 0 || vol->y1 < 0 || vol->x1 < 0 || vol->z2 <= vol->z1 || vol->y2 <= vol->y1 ||
        vol->x2 <= vol->x1 || vol->z2 > vol->Z || vol->y2 > vol->Y || vol->x2 > vol->X)
        return kInvalidVoi;
    return kOk;
}

int CheckIfUCBinary(Volume* vol) {
    V3D_CHECK(CheckVolume(vol, kUC, kAnyColor));
    const Voi r = voi_of(vol);
    std::atomic<bool> other{false};  // a voxel neither 0 nor 255 was seen; the frames stop
    for (int c = 0, n = channels(vol); c < n && !other.load(); ++c) {
        unsigned char*** v = vol->data[c].uc;
        parallel_for(r.z1, r.z2, [&](int z) {
            if (!other.load(std::memory_order_relaxed) && !rows_are_binary(v[z], r.y1, r.y2, r.x1, r.x2))
                other.store(true, std::memory_order_relaxed);
        });
    }
    return other.load() ? 0 : 1;
}

int CheckIfVolumeClear(Volume* vol, const float* values) {
    double wanted[3];
    V3D_CHECK(checked_channel_values(vol, values, wanted));
    const int n = channels(vol);
    const Voi r = voi_of(vol);
    return dispatch_type(vol->type, [&](auto tag) {
        using T = decltype(tag);
        for (int c = 0; c < n; ++c) {
            const T value = static_cast<T>(wanted[c]);
            T*** data = voxels<T>(vol, c);
            for (int z = r.z1; z < r.z2; ++z)
                for (int y = r.y1; y < r.y2; ++y)
                    for (int x = r.x1; x < r.x2; ++x)
                        if (!(data[z][y][x] == value)) return 0;
        }
        return 1;
    });
}

int AllocateVolumeTable(void) {
    if (g_records) return 1;
    g_records = static_cast<Volume*>(mem_calloc(kTableSize, sizeof(Volume)));
    if (!g_records) return 0;
    start_threads();
    for (int i = 0; i < kTableSize; ++i) {
        g_table[i] = &g_records[i];
        g_records[i].type = 0;
        g_records[i].name[0] = '\0';
    }
    return 1;
}

void ReleaseVolumeTable(void) {
    if (!g_records) return;
    for (int i = 0; i < kTableSize; ++i) {
        DestroyVolume(g_table[i]);
        g_table[i] = nullptr;
    }
    mem_free(g_records);
    g_records = nullptr;
}

Volume* GetVolumeByIndex(int index) {
    if (!g_records || index < 0 || index >= kTableSize) return nullptr;
    return g_table[index];
}

int GetNewVolumeIndex(void) {
    if (!g_records) return -1;
    for (int i = 0; i < kTableSize; ++i)
        if (g_table[i]->type == 0) return i;
    return -1;
}

int GetVolumeIndex(Volume* vol) {
    for (int i = 0; i < kTableSize; ++i)
        if (g_table[i] && g_table[i] == vol) return i;
    return kTableSize;
}

int CreateVolumeEx(int type, int colortype, int Z, int Y, int X, int reserved, Volume** out) {
    (void)reserved;
    const int index = GetNewVolumeIndex();
    if (index < 0) return kMsgTableFull;
    if (type == V3D_TYPE_UC_FROM_FILE) {
        if (restricted_request_refused(Z, Y, X)) return -1;
        type = kUC;
    }
    Volume* slot = g_table[index];
    InitializeVolume(slot, Z, Y, X, type, colortype);
    const int status = CreateVolume(slot);
    if (status != kOk) {
        if (out) *out = nullptr;
        return status;
    }
    fill_in_VOI(slot, 0, Z, 0, Y, 0, X);
    if (out) *out = slot;
    return kOk;
}

void SetMessageHook(V3DMessageHook hook) { g_message_hook = hook; }

}  // extern "C"
