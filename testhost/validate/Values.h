#pragma once

#include "testhost/plugins/CommandTable.h"
#include "testhost/validate/Outcome.h"

#include <random>
#include <string>
#include <vector>

// Values, as scripts write them, with which checks call commands.

/// An ordinary value of a kind: `long 3`.
std::string OrdinaryValue(ValueKind kind);
/// Any value of the kind: every other time one on which commands stumble, such as the empty one,
/// the longest, the largest.
std::string AnyValue(ValueKind kind, std::mt19937& random);
/// A few bytes, most of them letters, in quotation marks.
std::string AnyBytes(std::mt19937& random);

/// Variables of every type, whose names are among the strings above.
std::vector<std::string> VariableStatements();

/// `call "Count words" text "to be" -> long`; with a value for each parameter.
std::string CallOf(const DescribedCommand& command, const std::vector<std::string>& values);
std::string OrdinaryCall(const DescribedCommand& command);
std::string AnyCall(const DescribedCommand& command, std::mt19937& random);
/// All calls in which one parameter is at an edge, the others are ordinary.
std::vector<std::string> EdgeCalls(const DescribedCommand& command);
/// All calls in which two numbers are among 0, -1, the smallest and the largest, the other
/// parameters ordinary.
std::vector<std::string> EdgePairCalls(const DescribedCommand& command);
