/* The public header compiles as plain C99 and names what modules use. */
#include "vexilo3d.h"

int vexilo3d_header_check(void) {
    Volume v;
    LabelColor colours[1];
    InitializeVolume(&v, 1, 1, 1, 1, 1);
    return CreateVolume(&v) == 0 && GetStatusText(-501)[0] != '\0' &&
           SetDefaultLabelColors3d(colours, 1) == 0 && colours[0].requested == 1;
}
