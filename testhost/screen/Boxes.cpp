#include "testhost/screen/Boxes.h"

#include <utility>

long Boxes::Show(HostBox::Kind kind, std::string text) {
    long answer = 1;
    if (kind == HostBox::Kind::Confirm && !confirmAnswers.empty()) {
        answer = confirmAnswers.front();
        confirmAnswers.pop_front();
    }
    constexpr size_t mostKept = 1000; // and as many again, so that few are moved
    if (shown.size() == 2 * mostKept) {
        shown.erase(shown.begin(), shown.begin() + mostKept);
    }
    shown.push_back({kind, std::move(text), answer, log.PluginCallCount()});
    if (onShown) {
        onShown(shown.back());
    }
    return answer;
}
