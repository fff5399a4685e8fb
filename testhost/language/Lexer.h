#pragma once

#include "testhost/language/Tokens.h"
#include "testhost/model/Host.h"

/// The tokens of a source text (system ANSI code page, lines separated by carriage returns), with
/// the host's names of commands, tables and fields. Throws LanguageFailure.
std::vector<Token> TokensOfText(const Host& host, std::string_view text);
/// Source text of tokens, with the names that the host has now; throws LanguageFailure when it has
/// none for a number.
std::string TextOfTokens(const Host& host, const std::vector<Token>& tokens);
