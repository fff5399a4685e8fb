#pragma once

#include <memory>

// A doubly linked list of untyped object pointers with a current position, kept sorted if its
// creator supplies a comparison. The `list` owns its nodes, never an `object`: nothing frees one. A
// `test`, an `action` gets the caller's `argument` with each.

/// Tests an `object` of a list against the caller's `argument`. It may remove the object it was
/// given, and no other, and must then answer false.
using ListTest = bool (*)(void* object, void* argument);
/// Acts on an `object` of a list, with the caller's `argument`. It may remove the object it was
/// given, and no other.
using ListAction = void (*)(void* object, void* argument);
/// Order of a sorted list: whether `added` must go after `existing`. It must not change the list.
using ListOrder = bool (*)(void* existing, void* added);

/// Place in a list. Only the two sentinels and the placeholder have no object.
struct ListNode {
    void* object = nullptr;
    ListNode* previous = nullptr;
    ListNode* next = nullptr;
};

/// Header of a list. The outer link of each sentinel points to itself, so no walk leaves the list.
struct GenericList {
    ListNode* current = &head;
    ListNode head{nullptr, &head, &tail};
    ListNode tail{nullptr, &head, &tail};
    ListNode removedCurrent;     ///< stands in as the position after the current node's removal
    ListOrder compare = nullptr; ///< null for an unsorted list
    long count = 0;
    std::unique_ptr<ListNode> spare; ///< the last one removed, for the next one

    /// An empty list, sorted by `order` unless that is null.
    explicit GenericList(ListOrder order) : compare(order) {}
    GenericList(const GenericList&) = delete;
    GenericList& operator=(const GenericList&) = delete;
};

/// Reference to a list, made by `_initialize_list` and freed by `_destroy_list`.
using List = GenericList*;

// Nodes and headers come from plain `new`: running out of memory throws std::bad_alloc, which ends
// at the plug-in's barrier and leaves the list as it was.

/// Stores a new, empty, unsorted list in `list`, its position before the first object.
void _initialize_list(List* list);
/// The same for a list that `_add_to_list` keeps in order of `compare`.
void _initialize_sorted_list(List* list, ListOrder compare);
/// Frees the list, not its objects, and clears the reference; a null reference is left alone.
void _destroy_list(List* list);
/// Frees the `list` that a std::unique_ptr holds.
struct ListDestroyer {
    /// Frees `list`.
    void operator()(List list) const { _destroy_list(&list); }
};
/// A new list with the same order and objects, its position before the first; owned by the caller.
List _copy_list(List list);

// Adding answers the new node and leaves the position alone. A null object is a programming error:
// it is reported on the standard error stream and ends the process with status 1.

/// Adds before the first object, whatever the list's order.
ListNode* _add_to_beginning(List list, void* object);
/// Adds after the last object, whatever the list's order.
ListNode* _add_to_end(List list, void* object);
/// Adds to a sorted list before the first object that it need not follow; else at the end.
ListNode* _add_to_list(List list, void* object);

// Removing the current node leaves the position in the gap: the next object is the one that
// followed it, the previous one the one that preceded it, so that a walk may remove as it goes.

/// Removes the last node that holds exactly this pointer; answers it, or null if there is none.
void* _remove_from_list(List list, void* object);
/// Removes the first object and answers it, null if empty. A position there goes before the first.
void* _remove_from_beginning(List list);
/// Removes the last object and answers it, null if empty. A position there goes after the last.
void* _remove_from_end(List list);
/// Removes the object at the position and answers it; null if there is none.
void* _remove_current(List list);
/// Empties the list; the position is then as in a new list.
void _remove_all(List list);
/// Removes every object that passes the test, from the first to the last. Always answers null.
void* _remove_all_such_that(List list, ListTest test, void* argument);

/// The first object, null if empty; the position stays.
void* _peek_at_beginning(List list);
/// The last object, null if empty; the position stays.
void* _peek_at_end(List list);
/// Moves to the first object and answers it; null if empty.
void* _first_in_list(List list);
/// Moves to the last object and answers it; null if empty.
void* _last_in_list(List list);
/// Moves one object on and answers it; after the last the answer is null and stays so.
void* _next_in_list(List list);
/// Moves one object back and answers it; before the first the answer is null and stays so.
void* _previous_in_list(List list);
/// The object at the position; null before the first, after the last and in the gap of a removal.
void* _current_in_list(List list);
/// Moves before the first object.
void _reset_to_beginning(List list);
/// Moves after the last object.
void _reset_to_end(List list);

/// Number of objects.
long _num_of_objects(List list);
/// Whether there are no objects.
bool _is_empty(List list);
/// Whether a node holds exactly this pointer.
bool _is_in_list(List list, void* object);

/// Calls `action` for each object from first to last; the position stays.
void _perform_on_list(List list, ListAction action, void* argument);

// Searches move to the object found and answer it; without one they answer null and stay.

/// Searches forward from the first object.
void* _first_that(List list, ListTest test, void* argument);
/// Searches backward from the last object.
void* _last_that(List list, ListTest test, void* argument);
/// Searches forward from the object after the position.
void* _next_that(List list, ListTest test, void* argument);
/// Searches backward from the object before the position.
void* _previous_that(List list, ListTest test, void* argument);
/// A new list, in the same order, of the objects that pass the test; owned by the caller.
List _all_such_that(List list, ListTest test, void* argument);
