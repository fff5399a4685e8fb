// Recordings of any bytes: they are read, and the stand-in host is asked what they hold.

#include "fuzz/Harness.h"
#include "testhost/compare/Compare.h"
#include "testhost/toolbox/Control.h"

#include <sstream>

namespace {
// Every answer is counted, once.
void RequireSums(const ComparisonAccount& account) {
    Require(account.calls + account.unanswered >= account.alike + account.different,
            "more answers were compared than there are");
    Require(account.adopted <= account.alike, "more was adopted than is alike");
    Require((account.different == 0) == account.differences.empty(),
            "a difference is not told, or told without being one");
}
} // namespace

void Fuzz(Input& input) {
    std::istringstream in(input.ConsumeRemainingBytesAsString());
    try {
        const ComparisonAccount account = Compare(ReadRecording(in), {});
        RequireSums(account);
        std::ostringstream out;
        Print(account, out);
    } catch (const RecordingError& error) {
        Require(*error.what() != '\0', "nobody says what is wrong");
    }
    ToolboxReset(); // what the recorded plug-in had in its hands
}
