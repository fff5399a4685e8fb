// Lists of objects, against a vector.

#include "fuzz/Harness.h"
#include "shell/base/GenericList.h"

#include <algorithm>

namespace {
char objects[16]; // what the list's pointers point to

bool IsAtOrAbove(void* object, void* limit) {
    return object >= limit;
}

void RequireSame(List list, const std::vector<void*>& reference) {
    std::size_t place = 0;
    for (void* object = _first_in_list(list); object != nullptr; object = _next_in_list(list)) {
        Require(place < reference.size() && reference[place] == object, "the lists differ");
        ++place;
    }
    Require(place == reference.size(), "the list is too short");
    Require(static_cast<std::size_t>(_num_of_objects(list)) == place, "the count is wrong");
}

void RemoveLast(std::vector<void*>& reference, void* object) {
    const auto last = std::find(reference.rbegin(), reference.rend(), object);
    if (last != reference.rend()) {
        reference.erase(std::next(last).base());
    }
}
} // namespace

void Fuzz(Input& input) {
    List list = nullptr;
    _initialize_list(&list);
    std::vector<void*> reference;
    while (!input.IsOver()) {
        void* const object = &objects[input.Choice(std::size(objects))];
        switch (input.Choice(7)) {
        case 0:
            _add_to_beginning(list, object);
            reference.insert(reference.begin(), object);
            break;
        case 1:
            _add_to_end(list, object);
            reference.push_back(object);
            break;
        case 2:
            _remove_from_list(list, object);
            RemoveLast(reference, object);
            break;
        case 3:
            Require(_remove_from_beginning(list) ==
                        (reference.empty() ? nullptr : reference.front()),
                    "another object was first");
            reference.erase(reference.begin(), reference.begin() + !reference.empty());
            break;
        case 4:
            Require(_remove_from_end(list) == (reference.empty() ? nullptr : reference.back()),
                    "another object was last");
            reference.resize(reference.size() - (reference.empty() ? 0 : 1));
            break;
        case 5: // while it walks
            for (void* each = _first_in_list(list); each != nullptr; each = _next_in_list(list)) {
                if (each == object) {
                    _remove_current(list);
                }
            }
            std::erase(reference, object);
            break;
        default:
            _remove_all_such_that(list, IsAtOrAbove, object);
            std::erase_if(reference, [&](void* each) { return IsAtOrAbove(each, object); });
            break;
        }
        RequireSame(list, reference);
    }
    _destroy_list(&list);
}
