#pragma once

#include "testhost/language/Evaluator.h"

/// Runs the command of an expression and answers its value; throws LanguageFailure. What evaluators
/// are made with.
TypedValue RunCommand(Evaluator& evaluator, const Expression& expression);
