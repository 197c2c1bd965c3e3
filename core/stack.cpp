// The coordinate stack: a singly linked list of four-int records headed by the caller's pointer.
#include <cstdlib>

#include "core/common.h"

extern "C" {

int push_3d(StackNode3d** head, int z, int y, int x, int extra) {
    if (!head) return v3d::kNullBasicPointer;
    auto* node = static_cast<StackNode3d*>(v3d::mem_malloc(sizeof(StackNode3d)));
    if (!node) return v3d::kNoBuffer;
    node->rec = {z, y, x, extra};
    node->next = *head;
    *head = node;
    return v3d::kOk;
}

StackRecord3d pop_3d(StackNode3d** head) {
    if (!head || !*head) return {0, 0, 0, 0};
    StackNode3d* top = *head;
    const StackRecord3d rec = top->rec;
    *head = top->next;
    v3d::mem_free(top);
    return rec;
}

}  // extern "C"
