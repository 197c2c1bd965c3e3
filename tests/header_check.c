/* The public header compiles as plain C99 and names what modules use. */
#include "vexilo3d.h"

int vexilo3d_header_check(void) {
    Volume v;
    InitializeVolume(&v, 1, 1, 1, 1, 1);
    return CreateVolume(&v) == 0 && GetStatusText(-501)[0] != '\0';
}
