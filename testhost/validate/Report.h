#pragma once

#include "testhost/validate/Findings.h"

#include <ostream>
#include <string>
#include <vector>

/// All that a validation came to.
struct Report {
    int strictness = 5;
    unsigned long seed = 1;
    std::vector<CheckResult> results = {};

    /// Whether at least one check ran, and all that ran held.
    bool IsGood() const;
    /// "11 checks: 9 held, 1 found something, 1 skipped; seed 7, strictness 5".
    std::string Summary() const;
};

/// One check, for people.
void PrintResult(const CheckResult& result, unsigned long seed, std::ostream& out);
/// The whole for programs: JSON, and the XML that CI services read test results from.
std::string JsonOf(const Report& report);
std::string JunitOf(const Report& report);
