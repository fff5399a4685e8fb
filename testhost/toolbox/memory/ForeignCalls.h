#pragma once

#include "platform/ResultCodes.h"

#include <atomic>
#include <type_traits>

class Problems;

// Calls that come from another thread than the host's. What plug-ins import leads through a stub
// for each call, made from the lists of names (CMakeLists.txt): it refuses such a call before
// anything is touched that the host's thread may be at work on.

/// A call that has a stub.
struct GuardedCall {
    const char* name;
    long refusal;                ///< what it answers when it is refused
    std::atomic<long> refused{}; ///< how often that happened since it was last told
};

/// -50 for calls that answer a result code, which are those that answer a short; else null or 0.
template <typename Result, typename... Arguments>
constexpr long RefusalOf(Result (*)(Arguments...)) {
    return std::is_same_v<Result, OSErr> ? ResultCode::BadParameter : 0;
}

/// All of them; the last one has no name.
extern "C" GuardedCall guardedCalls[];

/// Makes the thread that calls this the host's. Before that nothing is refused.
void SetHostThread();
/// Tells which calls were refused since the last time.
void TakeForeignCalls(Problems& problems);
