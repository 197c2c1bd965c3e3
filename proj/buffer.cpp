// Picture buffers and projection records: the blocks that projection windows show and own.
#include <atomic>
#include <cstdint>
#include <cstdlib>

#include "core/alloc.h"
#include "vexilo3d.h"

namespace {

std::atomic<int> g_next_type{0};  // projection type numbers only grow

// height row pointers into one zeroed block of width x height bytes; null on failure.
unsigned char** channel_image(int width, int height) {
    const size_t w = static_cast<size_t>(width), h = static_cast<size_t>(height);
    if (w > SIZE_MAX / h) return nullptr;
    auto** rows = static_cast<unsigned char**>(v3d::mem_malloc(h * sizeof(unsigned char*)));
    if (!rows) return nullptr;
    auto* pixels = static_cast<unsigned char*>(v3d::mem_calloc(w * h, 1));
    if (!pixels) {
        v3d::mem_free(rows);
        return nullptr;
    }
    for (size_t i = 0; i < h; ++i) rows[i] = pixels + i * w;
    return rows;
}

void free_channel_image(unsigned char** rows) {
    if (!rows) return;
    v3d::mem_free(rows[0]);
    v3d::mem_free(rows);
}

}  // namespace

extern "C" {

int RegisterProjectionType(void) { return g_next_type.fetch_add(1); }

Projection* CreateProjection(int type, void* source, int usersize) {
    if (usersize < 0) return nullptr;
    auto* p = static_cast<Projection*>(v3d::mem_calloc(1, sizeof(Projection) + static_cast<size_t>(usersize)));
    if (!p) return nullptr;
    p->type = type;
    p->source = source;
    p->user = reinterpret_cast<unsigned char*>(p) + sizeof(Projection);
    return p;
}

void DestroyProjection(Projection* proj) { v3d::mem_free(proj); }

Buffer* CreateBuffer(int colortype, int width, int height) {
    auto* buf = static_cast<Buffer*>(v3d::mem_calloc(1, sizeof(Buffer)));
    if (!buf) return nullptr;
    buf->colortype = colortype;
    buf->width = width;
    buf->height = height;
    if (colortype != 1 && colortype != 2) return buf;
    if (width < 1 || height < 1 || width > V3D_PICTURE_MAX_WIDTH || height > V3D_PICTURE_MAX_HEIGHT) {
        v3d::mem_free(buf);
        return nullptr;
    }
    for (int c = 0, n = colortype == 1 ? 1 : 3; c < n; ++c) {
        buf->image[c] = channel_image(width, height);
        if (!buf->image[c]) {
            DestroyBuffer(buf);
            return nullptr;
        }
    }
    return buf;
}

void DestroyBuffer(Buffer* buf) {
    if (!buf) return;
    free_channel_image(buf->image[0]);
    if (buf->colortype == 2) {
        free_channel_image(buf->image[1]);
        free_channel_image(buf->image[2]);
    }
    v3d::mem_free(buf);
}

}  // extern "C"
