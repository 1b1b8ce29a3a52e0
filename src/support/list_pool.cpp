#include "support/list_pool.h"

#include <cstdlib>

namespace lumadisc {

namespace {

struct Node {
    void* element;
    Node* previous;
    Node* next;
};

struct ListSlot {
    bool used;
    Node* head;
    Node* tail;
    Node* cursor;
    ListElementDestructor destructor;
};

ListSlot g_lists[kListSlots];

ListSlot* slotOf(int handle) {
    if (handle < 0 || handle >= kListSlots || !g_lists[handle].used) return nullptr;
    return &g_lists[handle];
}

void releaseElement(const ListSlot& list, void* element) {
    if (element == nullptr) return;
    if (list.destructor != nullptr) {
        list.destructor(element);
    } else {
        std::free(element);
    }
}

void freeNodes(ListSlot& list) {
    Node* node = list.head;
    while (node != nullptr) {
        Node* next = node->next;
        releaseElement(list, node->element);
        std::free(node);
        node = next;
    }
    list.head = list.tail = list.cursor = nullptr;
}

// Takes a node out of the chain without touching the cursor or the element.
void unlink(ListSlot& list, Node* node) {
    (node->previous != nullptr ? node->previous->next : list.head) = node->next;
    (node->next != nullptr ? node->next->previous : list.tail) = node->previous;
    node->previous = node->next = nullptr;
}

// Links node in after `after`; null puts it at the front.
void linkAfter(ListSlot& list, Node* after, Node* node) {
    node->previous = after;
    node->next = after != nullptr ? after->next : list.head;
    (node->next != nullptr ? node->next->previous : list.tail) = node;
    (after != nullptr ? after->next : list.head) = node;
}

// A node for element, or null when the heap refuses; the list has taken the element over, so a
// refused element is released rather than leaked.
Node* newNode(ListSlot& list, void* element) {
    Node* node = static_cast<Node*>(std::malloc(sizeof(Node)));
    if (node == nullptr) {
        releaseElement(list, element);
        return nullptr;
    }
    node->element = element;
    node->previous = node->next = nullptr;
    return node;
}

// Appends a node for element at the back.
void appendElement(int handle, void* element) {
    ListSlot* list = slotOf(handle);
    if (list == nullptr) return;
    Node* node = newNode(*list, element);
    if (node == nullptr) return;
    linkAfter(*list, list->tail, node);
    // The first node of an empty list becomes the cursor, so a non-empty list always has one.
    if (list->cursor == nullptr) list->cursor = node;
}

}  // namespace

bool listInUse(int handle) {
    return slotOf(handle) != nullptr;
}

void listPoolInit() {
    listPoolShutdown();
}

void listPoolShutdown() {
    for (int handle = 0; handle < kListSlots; ++handle) {
        int h = handle;
        listDestroy(&h);
    }
}

int listCreate(ListElementDestructor destructor) {
    for (int handle = 0; handle < kListSlots; ++handle) {
        ListSlot& list = g_lists[handle];
        if (!list.used) {
            list = ListSlot{true, nullptr, nullptr, nullptr, destructor};
            return handle;
        }
    }
    return -1;
}

void listDestroy(int* handle) {
    if (handle == nullptr) return;
    ListSlot* list = slotOf(*handle);
    if (list == nullptr) return;
    freeNodes(*list);
    list->used = false;
    list->destructor = nullptr;
    *handle = -1;
}

void listClear(int handle) {
    if (ListSlot* list = slotOf(handle)) freeNodes(*list);
}

void listAppend(int handle, void* element) {
    appendElement(handle, element);
}

void listCursorFirst(int handle) {
    if (ListSlot* list = slotOf(handle)) list->cursor = list->head;
}

int listCursorNext(int handle) {
    ListSlot* list = slotOf(handle);
    if (list == nullptr || list->cursor == nullptr || list->cursor->next == nullptr) return -1;
    list->cursor = list->cursor->next;
    return 0;
}

void listCursorTo(int handle, int n) {
    ListSlot* list = slotOf(handle);
    if (list == nullptr) return;
    list->cursor = list->head;
    for (int i = 0; i < n && list->cursor != nullptr && list->cursor->next != nullptr; ++i) {
        list->cursor = list->cursor->next;
    }
}

void* listElement(int handle) {
    ListSlot* list = slotOf(handle);
    return list != nullptr && list->cursor != nullptr ? list->cursor->element : nullptr;
}

void listRemove(int handle, bool releaseElementToo) {
    ListSlot* list = slotOf(handle);
    if (list == nullptr || list->cursor == nullptr) return;
    Node* node = list->cursor;
    list->cursor = node->next != nullptr ? node->next : node->previous;
    unlink(*list, node);
    if (releaseElementToo) releaseElement(*list, node->element);
    std::free(node);
}

int listCount(int handle) {
    ListSlot* list = slotOf(handle);
    if (list == nullptr) return 0;
    int count = 0;
    for (Node* node = list->head; node != nullptr; node = node->next) ++count;
    return count;
}

}  // namespace lumadisc
