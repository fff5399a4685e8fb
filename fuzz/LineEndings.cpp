// Line endings in a handle's text, against a plain loop.

#include "data/blocks/Handles.h"
#include "fuzz/Harness.h"
#include "platform/ResultCodes.h"
#include "shell/base/TextServices.h"
#include "testhost/toolbox/Control.h"

namespace {
struct Endings {
    long kinds = 0;
    long count = 0;
    std::string converted;
};

Endings Convert(const std::string& text, const std::string& ending) {
    Endings endings;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const bool isReturn = text[at] == '\r';
        const bool isPair = isReturn && at + 1 < text.size() && text[at + 1] == '\n';
        if (!isReturn && text[at] != '\n') {
            endings.converted += text[at];
            continue;
        }
        endings.kinds |= isPair ? LineEnding::CRLF : isReturn ? LineEnding::CR : LineEnding::LF;
        endings.count += 1;
        endings.converted += ending;
        at += isPair ? 1 : 0;
    }
    return endings;
}

std::string EndingOf(long kind) {
    return kind == LineEnding::CR     ? "\r"
           : kind == LineEnding::LF   ? "\n"
           : kind == LineEnding::CRLF ? "\r\n"
                                      : "";
}
} // namespace

void Fuzz(Input& input) {
    const long kind = static_cast<long>(input.Choice(9));
    const unsigned failure = input.Choice(4);
    const unsigned times = 1 + input.Choice(200);
    std::string text;
    for (const char byte : input.ConsumeRemainingBytesAsString()) {
        text += byte % 4 == 0 ? '\r' : byte % 4 == 1 ? '\n' : byte; // as often as not
    }
    for (const std::string once = text; text.size() < once.size() * times && text.size() < 9000;) {
        text += once;
    }
    const TemporaryHandle handle(text.data(), static_cast<long>(text.size()));
    const Endings expected = Convert(text, EndingOf(kind));
    long count = 0;
    Require(_GetHandleLineEndings(handle.Get(), &count) == expected.kinds, "other kinds");
    Require(count == expected.count, "another count");

    ToolboxFailAllocation(static_cast<long>(failure));
    const long error = _SetHandleLineEndings(handle.Get(), kind);
    const bool hasFailed = failure > 0 && ToolboxFailAllocation(0) == 0;
    // Without memory for the new text nothing is said, without room for it in the handle there is.
    Require(error == 0 || (hasFailed && error == ResultCode::MemoryFull), "another error");
    const bool changes = !hasFailed && expected.kinds != kind;
    Require(BytesOf(handle.Get()) == (changes ? expected.converted : text), "another text");
}
