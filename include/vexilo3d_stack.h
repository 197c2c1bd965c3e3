/* VEXILO3D: the coordinate stack shared by labelling, edge following and edge linking. */
#ifndef VEXILO3D_STACK_H
#define VEXILO3D_STACK_H

#include "vexilo3d_types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Pushes (z, y, x, extra) onto the linked stack whose top-node pointer is *head (null when
   empty): 0, -4 when head is null, -9 when the node cannot be allocated. */
V3D_API int push_3d(StackNode3d **head, int z, int y, int x, int extra);
/* Unlinks and frees the top node and returns its record; four zeros when empty or NULL. */
V3D_API StackRecord3d pop_3d(StackNode3d **head);

#ifdef __cplusplus
}
#endif

#endif
