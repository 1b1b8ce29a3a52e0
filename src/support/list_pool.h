// A pool of 1024 doubly linked lists of untyped element pointers, named by handle; -1 is none.
#pragma once

namespace lumadisc {

constexpr int kListSlots = 1024;

// Releases one element; lists created without one release with free().
using ListElementDestructor = void (*)(void* element);

void listPoolInit();
void listPoolShutdown();
int listCreate(ListElementDestructor destructor);
void listDestroy(int* handle);
// True while the handle names a list in use.
bool listInUse(int handle);
void listClear(int handle);
void listAppend(int handle, void* element);
void listCursorFirst(int handle);
int listCursorNext(int handle);
void listCursorTo(int handle, int n);
// The element at the cursor; null for an empty list.
void* listElement(int handle);
// Removes the node at the cursor, releasing its element when asked to; the cursor moves to the
// next node, or to the previous one when the last node was removed.
void listRemove(int handle, bool releaseElement);
int listCount(int handle);

}  // namespace lumadisc
