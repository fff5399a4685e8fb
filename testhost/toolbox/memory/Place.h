#pragma once

#include <string>
#include <utility>

/// Where something was done, as a person would say it. All that was done in one place shares one
/// text, which goes with the last of it. Empty where nothing is known.
class Place {
  public:
    Place() = default;
    explicit Place(std::string text) : shared(new Shared{std::move(text)}) {}
    ~Place() { Release(); }
    Place(const Place& other) : shared(other.shared) {
        if (shared) {
            ++shared->keepers;
        }
    }
    Place(Place&& other) noexcept : shared(std::exchange(other.shared, nullptr)) {}
    Place& operator=(Place other) noexcept {
        std::swap(shared, other.shared);
        return *this;
    }

    explicit operator bool() const { return shared != nullptr; }
    /// Null where nothing is known.
    const char* Text() const { return shared ? shared->text.c_str() : nullptr; }
    /// The same as the end of a statement: ", under TEXT", or nothing.
    std::string Under() const { return shared ? ", under " + shared->text : std::string(); }

  private:
    struct Shared {
        std::string text;
        unsigned long keepers = 1;
    };

    // Counted by hand: one thread has all of them, and each block that moves copies two.
    void Release() {
        if (shared && --shared->keepers == 0) {
            delete shared;
        }
    }

    Shared* shared = nullptr;
};
