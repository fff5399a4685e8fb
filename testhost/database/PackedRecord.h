#pragma once

#include "testhost/database/Tables.h"

#include <string>
#include <string_view>

/// A record as one run of bytes: "RECP", the table's number and how many fields it has (16 bits
/// each), then for each field its type (16 bits), a length (32 bits) and so many bytes. Reals have
/// 8 bytes, dates day, month and year in 16 bits each, all other numbers 32 bits; the rest are
/// bytes as they are. Little-endian.
std::string PackRecord(short tableNumber, const DatabaseTable& table, const RecordValues& values);
/// The values of such a run; nothing when it is none, or not of this table as it is now.
std::optional<RecordValues> UnpackRecord(short tableNumber, const DatabaseTable& table,
                                         std::string_view packed);
