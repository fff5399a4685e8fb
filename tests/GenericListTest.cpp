#include "shell/base/GenericList.h"

#include <cctype>
#include <gtest/gtest.h>
#include <string>

namespace {

char letters[] = "abcdeABCDE";

/// The one object that stands for a letter; '-' stands for no object.
void* Object(char letter) {
    const auto index = std::string(letters).find(letter);
    return index == std::string::npos ? nullptr : letters + index;
}

char Letter(void* object) {
    return object ? *static_cast<char*>(object) : '-';
}

bool IsUpper(void* object, void*) {
    return std::isupper(Letter(object)) != 0;
}

/// Orders without regard to case; a new object goes after its equals.
bool NotGreater(void* existing, void* added) {
    return std::tolower(Letter(existing)) <= std::tolower(Letter(added));
}

/// The letters of a list; says so when links and count contradict one another.
std::string Content(List list) {
    std::string forward, backward;
    for (ListNode* node = list->head.next; node != &list->tail; node = node->next) {
        forward += Letter(node->object);
    }
    for (ListNode* node = list->tail.previous; node != &list->head; node = node->previous) {
        backward.insert(backward.begin(), Letter(node->object));
    }
    const bool sound = forward == backward && _num_of_objects(list) == long(forward.size()) &&
                       (_is_empty(list) != 0) == forward.empty();
    return sound ? forward : "inconsistent: " + forward + "/" + backward;
}

class GenericListTest : public testing::Test {
  protected:
    ~GenericListTest() override { _destroy_list(&list); }

    /// Makes the list of these letters, the position on one of them, or '<' before or '>' after
    /// all.
    void Fill(const std::string& content, char position = '<', ListOrder order = nullptr) {
        _destroy_list(&list);
        _initialize_sorted_list(&list, order);
        for (char letter : content) {
            _add_to_list(list, Object(letter));
        }
        if (position == '>') {
            return _reset_to_end(list);
        }
        while (position != '<' && Letter(_current_in_list(list)) != position) {
            _next_in_list(list);
        }
    }

    List list = nullptr;
};

TEST_F(GenericListTest, WalksStopBeyondEitherEnd) {
    const auto steps = {_next_in_list,     _next_in_list,     _next_in_list,      _next_in_list,
                        _previous_in_list, _previous_in_list, _previous_in_list,  _previous_in_list,
                        _next_in_list,     _last_in_list,     _peek_at_beginning, _current_in_list,
                        _first_in_list,    _peek_at_end,      _current_in_list};
    for (const std::string content : {"ab", ""}) {
        Fill(content);
        std::string seen;
        for (auto step : steps) {
            seen += Letter(step(list));
        }
        EXPECT_EQ(seen, content.empty() ? std::string(steps.size(), '-') : "ab--ba--abababa");
    }
}

TEST_F(GenericListTest, RemovalKeepsThePositionUsable) {
    static const auto removeB = [](List from) { return _remove_from_list(from, Object('b')); };
    const struct {
        const char* name;
        void* (*remove)(List);
        char position, answer;
        const char* content;
        char current, next, previous;
    } cases[] = {
        {"current", _remove_current, 'b', 'b', "ac", '-', 'c', 'a'},
        {"current, before all", _remove_current, '<', '-', "abc", '-', 'a', '-'},
        {"by pointer, current", removeB, 'b', 'b', "ac", '-', 'c', 'a'},
        {"by pointer, other", removeB, 'a', 'b', "ac", 'a', 'c', '-'},
        {"beginning, current", _remove_from_beginning, 'a', 'a', "bc", '-', 'b', '-'},
        {"beginning, other", _remove_from_beginning, 'b', 'a', "bc", 'b', 'c', '-'},
        {"end, current", _remove_from_end, 'c', 'c', "ab", '-', '-', 'b'},
        {"end, other", _remove_from_end, 'b', 'c', "ab", 'b', '-', 'a'},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        for (const bool forward : {true, false}) {
            Fill("abc", test.position);
            EXPECT_EQ(Letter(test.remove(list)), test.answer);
            EXPECT_EQ(Content(list), test.content);
            EXPECT_EQ(Letter(_current_in_list(list)), test.current);
            EXPECT_EQ(Letter(forward ? _next_in_list(list) : _previous_in_list(list)),
                      forward ? test.next : test.previous);
        }
    }
    Fill("aba");
    EXPECT_EQ(_remove_from_list(list, Object('a')), Object('a'));
    EXPECT_EQ(Content(list), "ab"); // the last of equals went
}

TEST_F(GenericListTest, TheGapOfARemovalSurvivesItsNeighbours) {
    for (const bool forward : {true, false}) {
        Fill("abcde", 'c');
        _remove_current(list);
        _remove_from_list(list, Object('b'));
        _remove_from_list(list, Object('d'));
        EXPECT_EQ(Letter(forward ? _next_in_list(list) : _previous_in_list(list)),
                  forward ? 'e' : 'a');
    }
}

TEST_F(GenericListTest, RemovalAtAnEndLeavesThePositionBeyondThatEnd) {
    Fill("ab", 'a');
    _remove_from_beginning(list);
    _add_to_beginning(list, Object('c'));
    EXPECT_EQ(Letter(_next_in_list(list)), 'c');
    _last_in_list(list);
    _remove_from_end(list);
    _add_to_end(list, Object('d'));
    EXPECT_EQ(Letter(_previous_in_list(list)), 'd');
    _reset_to_end(list);
    _remove_all(list);
    _add_to_list(list, Object('e'));
    EXPECT_EQ(Letter(_next_in_list(list)), 'e');
}

TEST_F(GenericListTest, SearchesMoveOnlyToWhatTheyFind) {
    const struct {
        void* (*search)(List, ListTest, void*);
        const char* content;
        char position, found, current;
    } cases[] = {
        {_first_that, "aBcDe", 'e', 'B', 'B'},    {_last_that, "aBcDe", 'a', 'D', 'D'},
        {_next_that, "aBcDe", 'B', 'D', 'D'},     {_next_that, "Abc", '<', 'A', 'A'},
        {_next_that, "aBcDe", 'D', '-', 'D'},     {_next_that, "AB", '>', '-', '-'},
        {_previous_that, "aBcDe", 'D', 'B', 'B'}, {_previous_that, "abC", '>', 'C', 'C'},
        {_previous_that, "aBcDe", 'B', '-', 'B'}, {_previous_that, "AB", '<', '-', '-'},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(testing::Message() << test.content << " from " << test.position);
        Fill(test.content, test.position);
        EXPECT_EQ(Letter(test.search(list, IsUpper, nullptr)), test.found);
        EXPECT_EQ(Letter(_current_in_list(list)), test.current);
    }
}

TEST_F(GenericListTest, AWalkMayRemoveAsItGoes) {
    const auto removeUpper = [](void* object, void* from) {
        if (IsUpper(object, nullptr)) {
            _remove_from_list(static_cast<List>(from), object);
        }
    };
    Fill("ABcDE", 'B');
    _perform_on_list(list, removeUpper, list);
    EXPECT_EQ(Content(list), "c");
    EXPECT_EQ(Letter(_next_in_list(list)), 'c');

    Fill("ABcDE");
    while (_next_that(list, IsUpper, nullptr)) {
        _remove_current(list);
    }
    EXPECT_EQ(Content(list), "c");

    Fill("ABcDE", 'D');
    EXPECT_EQ(_remove_all_such_that(list, IsUpper, nullptr), nullptr);
    EXPECT_EQ(Content(list), "c");
    EXPECT_EQ(Letter(_previous_in_list(list)), 'c');
}

TEST_F(GenericListTest, SortsAndKeepsItsOrderInCopies) {
    Fill("cAbaCB", '<', NotGreater);
    List copy = _copy_list(list);
    List upper = _all_such_that(list, IsUpper, nullptr);
    _remove_all(list);
    _add_to_list(upper, Object('b'));
    EXPECT_EQ(Content(copy), "AabBcC");
    EXPECT_EQ(Content(upper), "ABbC");
    EXPECT_FALSE(_is_in_list(upper, Object('c')));
    _destroy_list(&copy);
    _destroy_list(&upper);
}

TEST_F(GenericListTest, ANullObjectEndsTheProcess) {
    Fill("a", '<', NotGreater);
    for (auto add : {_add_to_beginning, _add_to_end, _add_to_list}) {
        EXPECT_EXIT(add(list, nullptr), testing::ExitedWithCode(1),
                    "generic_list: NULL pointer passed\n");
    }
}

} // namespace
