#include "testhost/services/Service.h"

#include <algorithm>

void StoreUtf16(std::span<unsigned short> target, std::string_view text) {
    const std::vector<unsigned short> units = UnitsOfText(text);
    const size_t count = std::min(units.size(), target.size() - 1);
    std::copy_n(units.begin(), count, target.begin());
    target[count] = 0;
}

void ServiceCall::AnswerText(std::string_view text) {
    if (IsEngine()) {
        StoreUtf16(engine->uniText, text);
    } else {
        StorePascal(valueText, text);
    }
}
