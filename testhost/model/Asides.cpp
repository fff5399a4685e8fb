#include "testhost/model/Asides.h"

#include <mutex>
#include <utility>

namespace {
constexpr size_t mostKept = 1000;

std::mutex guard;
std::vector<Aside> asides;
} // namespace

void SetAside(Aside aside) {
    const std::scoped_lock lock(guard);
    if (asides.size() < mostKept) {
        asides.push_back(std::move(aside));
    }
}

std::vector<Aside> TakeAsides() {
    const std::scoped_lock lock(guard);
    return std::exchange(asides, {});
}
