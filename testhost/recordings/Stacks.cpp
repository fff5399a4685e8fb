#include "testhost/recordings/Stacks.h"

#include <algorithm>

void StackWalk::Take(const RecordedEvent& event, size_t place) {
    std::vector<Open>& open = stacks[event.head.stackBase];
    if (event.Begins()) {
        while (!open.empty() && open.back().depth <= event.head.stack) {
            open.pop_back();
        }
        open.push_back({event.head.number, event.head.stack, place});
        return;
    }
    // Those within it were left, too.
    const auto ended = std::ranges::find(open, event.head.number, &Open::number);
    open.erase(ended, open.end());
}
