#pragma once

#include "testhost/session/Words.h"

#include <functional>

class Player;

// The statements of a script that concern the host's database; each reads what follows the words
// that it begins with.

/// `database "FILE"`: the host gets the tables and records of the file.
std::function<void(Player&)> ParseDatabaseStatement(Words& words);
/// `expect field "Table" RECORD "Field" KIND VALUE`: a saved record's value.
std::function<void(Player&)> ParseExpectFieldValue(Words& words);
/// `expect records "Table" N`: how many the table holds.
std::function<void(Player&)> ParseExpectRecords(Words& words);
/// `expect selection "Table" N...`: numbers of the records selected in the current process.
std::function<void(Player&)> ParseExpectSelection(Words& words);
/// `expect record "Table" N|none`: number of the current record of the current process.
std::function<void(Player&)> ParseExpectRecord(Words& words);
