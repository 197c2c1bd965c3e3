// The application services exported to modules and the output-preparation helpers.
#include "app/services.h"

#include <memory>
#include <new>

#include "app/projections.h"
#include "app/state.h"
#include "app/tools/coordinates.h"
#include "app/ui.h"
#include "res/strings.h"

namespace app {

int VerifyOutputVolume(Volume* vol, int X, int Y, int Z, int type, int colortype, bool exact) {
    const bool dims_fit = exact ? (vol->X == X && vol->Y == Y && vol->Z == Z)
                                : (vol->X >= X && vol->Y >= Y && vol->Z >= Z);
    if (dims_fit && vol->type == type && vol->colortype == colortype) return kFits;
    if (!VerifyVolumeReallocation(nullptr)) return kDeclined;
    if (const int status = ReallocateVolume(vol, type, colortype, Z, Y, X)) {
        error_handler(status);
        return kReallocFailed;
    }
    return kReallocated;
}

int ReallocateVolume(Volume* vol, int type, int colortype, int Z, int Y, int X) {
    freedisWin(vol);
    DestroyVolume(vol);
    InitializeVolume(vol, Z, Y, X, type, colortype);
    return CreateVolume(vol);
}

bool ConfirmInputModification() { return ui().ask_yes_no(res::text(res::kInputModified)); }

}  // namespace app

using namespace app;

extern "C" {

int error_handler(int code) {
    ui().set_wait(false);
    ui().show_error(code);
    return 1;
}

void DisplayVolume(Volume* vol) {
    if (!vol || !workspace()) return;
    if (!workspace()->display(vol, true)) error_handler(res::kCannotCreateWindow);
}

void freedisWin(Volume* vol) {
    if (vol && workspace()) workspace()->release(vol);
}

// A buffer a window can show: a grey or colour picture.
static bool has_picture(const Buffer* buffer) {
    return buffer && buffer->image[0] && buffer->width > 0 && buffer->height > 0 &&
           (buffer->colortype == V3D_COLOR_GREY || buffer->colortype == V3D_COLOR_RGB);
}

void* DisplayProjection(Projection* proj, Buffer* buffer, const char* title) {
    std::unique_ptr<ProjectionWindowRecord> record(new (std::nothrow) ProjectionWindowRecord);
    if (!record) {
        error_handler(res::kCannotAllocateBuffer);
        return nullptr;
    }
    void* window = nullptr;
    if (proj && has_picture(buffer) && workspace()) {
        record->buffer = buffer;
        fit_picture(*record, workspace()->projection_area());
        window = workspace()->open_projection(record, proj, title ? title : "");
    }
    if (!window) error_handler(res::kCannotCreateWindow);
    return window;
}

int SetProjectionBuffer(void* window, Buffer* buffer) {
    if (!window || !has_picture(buffer) || !workspace()) return -1;
    return workspace()->set_projection_buffer(window, buffer) ? 0 : -1;
}

int GetInputVolume(int typemask, int colormask, const char* title, Volume** out) {
    SelectRequest r;
    r.kind = SelectKind::Input;
    r.typemask = typemask;
    r.colormask = colormask;
    if (title) r.caption = title;
    Selection s;
    if (!ui().select(r, s)) return 0;
    if (out) *out = s.vol;
    return 1;
}

int GetOutputVolume(int typemask, int colormask, const char* title, int X, int Y, int Z,
                    Volume** out) {
    SelectRequest r;
    r.kind = SelectKind::Output;
    r.typemask = typemask;
    r.colormask = colormask;
    if (title) r.caption = title;
    r.X = X;
    r.Y = Y;
    r.Z = Z;
    Selection s;
    if (!ui().select(r, s)) return 0;
    if (out) *out = s.vol ? s.vol : GetVolumeByIndex(s.slot);
    return 1;
}

int VerifyVolumeReallocation(void*) { return ui().ask_yes_no(res::text(res::kReallocate)) ? 1 : 0; }

void PrintCoordinates(int mode, int x, int y, int z, double R, double G, double B) {
    store_readout({mode, x, y, z, R, G, B});
    if (workspace()) workspace()->readout_changed();
}

}  // extern "C"
