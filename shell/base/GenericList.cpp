#include "shell/base/GenericList.h"

#include "platform/Compiler.h"

#include <cstdio>
#include <cstdlib>

namespace {

/// Holds a list under construction until it is complete.
using NewList = std::unique_ptr<GenericList, ListDestroyer>;

using Direction = ListNode* ListNode::*;

void RequireObject(const void* object) {
    if (object) {
        return;
    }
    std::fputs("generic_list: NULL pointer passed\n", stderr);
    std::exit(1);
}

/// One copy for all that add: plug-ins are to be small.
NIMBO_NOINLINE ListNode* InsertBefore(List list, ListNode* next, void* object) {
    ListNode* const node = list->spare ? list->spare.release() : new ListNode;
    *node = {object, next->previous, next};
    next->previous->next = node;
    next->previous = node;
    ++list->count;
    return node;
}

/// Removes a node; a position there moves to `newPosition`. Nodes without an object stay.
void* RemoveNode(List list, ListNode* node, ListNode* newPosition) {
    void* object = node->object;
    if (!object) {
        return nullptr;
    }

    ListNode& gap = list->removedCurrent;
    if (list->current == node) {
        gap.previous = node->previous;
        gap.next = node->next;
        list->current = newPosition;
    }
    // The neighbours of an earlier gap may go, too; it then borders on the ones beyond.
    if (gap.previous == node) {
        gap.previous = node->previous;
    }
    if (gap.next == node) {
        gap.next = node->next;
    }

    node->previous->next = node->next;
    node->next->previous = node->previous;
    list->spare.reset(node);
    --list->count;
    return object;
}

/// First node from `start` on with exactly this pointer; null if there is none.
ListNode* FindPointer(ListNode* start, Direction direction, const void* object) {
    for (ListNode* node = start; node->object; node = node->*direction) {
        if (node->object == object) {
            return node;
        }
    }
    return nullptr;
}

/// Calls `visit` for each node from `start` to the end, or until it answers true. The following
/// node is fetched first, so that the visited one may be removed meanwhile.
template <typename Visit>
void Walk(ListNode* start, Direction direction, Visit visit) {
    for (ListNode* node = start; node->object;) {
        ListNode* following = node->*direction;
        if (visit(node)) {
            return;
        }
        node = following;
    }
}

void* Search(List list, ListNode* start, Direction direction, ListTest test, void* argument) {
    void* found = nullptr;
    Walk(start, direction, [&](ListNode* node) {
        if (!test(node->object, argument)) {
            return false;
        }
        list->current = node;
        found = node->object;
        return true;
    });
    return found;
}

void* MoveTo(List list, ListNode* node) {
    list->current = node;
    return node->object;
}

} // namespace

void _initialize_list(List* list) {
    _initialize_sorted_list(list, nullptr);
}

void _initialize_sorted_list(List* list, ListOrder compare) {
    *list = new GenericList(compare);
}

void _destroy_list(List* list) {
    if (!*list) {
        return;
    }
    _remove_all(*list);
    delete *list;
    *list = nullptr;
}

List _copy_list(List list) {
    return _all_such_that(
        list, [](void*, void*) { return true; }, nullptr);
}

ListNode* _add_to_beginning(List list, void* object) {
    RequireObject(object);
    return InsertBefore(list, list->head.next, object);
}

ListNode* _add_to_end(List list, void* object) {
    RequireObject(object);
    return InsertBefore(list, &list->tail, object);
}

ListNode* _add_to_list(List list, void* object) {
    if (!list->compare) {
        return _add_to_end(list, object);
    }
    RequireObject(object);
    ListNode* next = list->head.next;
    while (next->object && list->compare(next->object, object)) {
        next = next->next;
    }
    return InsertBefore(list, next, object);
}

void* _remove_from_list(List list, void* object) {
    ListNode* node = FindPointer(list->tail.previous, &ListNode::previous, object);
    return node ? RemoveNode(list, node, &list->removedCurrent) : nullptr;
}

void* _remove_from_beginning(List list) {
    return RemoveNode(list, list->head.next, &list->head);
}

void* _remove_from_end(List list) {
    return RemoveNode(list, list->tail.previous, &list->tail);
}

void* _remove_current(List list) {
    return RemoveNode(list, list->current, &list->removedCurrent);
}

void _remove_all(List list) {
    while (_remove_from_beginning(list)) {
    }
    _reset_to_beginning(list);
}

void* _remove_all_such_that(List list, ListTest test, void* argument) {
    Walk(list->head.next, &ListNode::next, [&](ListNode* node) {
        if (test(node->object, argument)) {
            RemoveNode(list, node, &list->removedCurrent);
        }
        return false;
    });
    return nullptr; // deliberate: there is no one object to answer
}

void* _peek_at_beginning(List list) {
    return list->head.next->object;
}

void* _peek_at_end(List list) {
    return list->tail.previous->object;
}

void* _first_in_list(List list) {
    return MoveTo(list, list->head.next);
}

void* _last_in_list(List list) {
    return MoveTo(list, list->tail.previous);
}

void* _next_in_list(List list) {
    return MoveTo(list, list->current->next);
}

void* _previous_in_list(List list) {
    return MoveTo(list, list->current->previous);
}

void* _current_in_list(List list) {
    return list->current->object;
}

void _reset_to_beginning(List list) {
    list->current = &list->head;
}

void _reset_to_end(List list) {
    list->current = &list->tail;
}

long _num_of_objects(List list) {
    return list->count;
}

bool _is_empty(List list) {
    return list->count == 0;
}

bool _is_in_list(List list, void* object) {
    return FindPointer(list->head.next, &ListNode::next, object) != nullptr;
}

void _perform_on_list(List list, ListAction action, void* argument) {
    Walk(list->head.next, &ListNode::next, [&](ListNode* node) {
        action(node->object, argument);
        return false;
    });
}

void* _first_that(List list, ListTest test, void* argument) {
    return Search(list, list->head.next, &ListNode::next, test, argument);
}

void* _last_that(List list, ListTest test, void* argument) {
    return Search(list, list->tail.previous, &ListNode::previous, test, argument);
}

void* _next_that(List list, ListTest test, void* argument) {
    return Search(list, list->current->next, &ListNode::next, test, argument);
}

void* _previous_that(List list, ListTest test, void* argument) {
    return Search(list, list->current->previous, &ListNode::previous, test, argument);
}

List _all_such_that(List list, ListTest test, void* argument) {
    NewList chosen(new GenericList(list->compare));
    Walk(list->head.next, &ListNode::next, [&](ListNode* node) {
        if (test(node->object, argument)) {
            _add_to_end(chosen.get(), node->object);
        }
        return false;
    });
    return chosen.release();
}
