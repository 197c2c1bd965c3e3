/* The public headers compile as plain C99 and name what modules use. */
#include "vexilo3d.h"
#include "vexilo3d_module.h"

int vexilo3d_header_check(void) {
    Volume v;
    LabelColor colours[1];
    InitializeVolume(&v, 1, 1, 1, 1, 1);
    return CreateVolume(&v) == 0 && GetStatusText(-501)[0] != '\0' &&
           SetDefaultLabelColors3d(colours, 1) == 0 && colours[0].requested == 1;
}

/* The module interface: the information block's five words, the packing, the entry types. */
static Vexilo3DMessageHandler module_handlers(Vexilo3DMessageResult callback) {
    callback(0, 0);
    return 0;
}

int vexilo3d_module_header_check(void) {
    Vexilo3DDLLReturnMessageHandlerFn entry = module_handlers;
    const uintptr_t lp = V3D_MAKE_PARAM(-3, 70);
    return entry != 0 && sizeof(Vexilo3DInfo) == 5 * sizeof(void *) && V3D_GET_X(lp) == -3 &&
           V3D_GET_Y(lp) == 70 && V3D_LOWORD(V3D_MAKE_PARAM(WM_USER, 1)) == 0x400;
}
