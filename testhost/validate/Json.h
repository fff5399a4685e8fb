#pragma once

#include "testhost/validate/Findings.h"
#include "testhost/validate/Order.h"
#include "testhost/validate/Outcome.h"

#include <nlohmann/json.hpp>

// How what crosses between the process of a check and the one that watches it is written.

NLOHMANN_JSON_SERIALIZE_ENUM(Outcome::End, {{Outcome::End::Finished, "finished"},
                                            {Outcome::End::Crashed, "crashed"},
                                            {Outcome::End::TimedOut, "timed out"}})
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Problem, statement, sentence, calls)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Facts, hostCalls, allocations, result)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Outcome, session, end, problems, facts)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Order, plugin, resources, setUp, check, strictness, seed,
                                   journal, result)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Finding, version, role, statement, sentence, calls, script,
                                   times, file, isReproduced)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(CheckResult, plugin, check, findings, findingsNotKept, notes,
                                   skipped, error, sessions, seconds)

/// Text of any bytes as one line: what is no UTF-8 is replaced.
inline std::string LineOf(const nlohmann::json& json) {
    return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}
