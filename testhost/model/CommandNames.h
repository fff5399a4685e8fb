#pragma once

/// What the host calls a command at first.
struct NamedCommand {
    short number;
    const char* name;
};

/// All commands, by number. What they do stands in testhost/language/Commands.cpp.
inline constexpr NamedCommand firstCommandNames[] = {
    {41, "ALERT"},
    {47, "ALL RECORDS"},
    {58, "DELETE RECORD"},
    {83, "Records in table"},
    {182, "Current user"},
    {219, "ARRAY REAL"},
    {221, "ARRAY LONGINT"},
    {222, "ARRAY TEXT"},
    {223, "ARRAY BOOLEAN"},
    {224, "ARRAY DATE"},
    {244, "Sequence number"},
    {279, "ARRAY PICTURE"},
    {283, "C_LONGINT"},
    {284, "C_TEXT"},
    {285, "C_REAL"},
    {286, "C_PICTURE"},
    {293, "C_STRING"},
    {301, "C_POINTER"},
    {304, "Get pointer"},
    {305, "C_BOOLEAN"},
    {306, "C_TIME"},
    {307, "C_DATE"},
    {324, "HIDE PROCESS"},
    {325, "SHOW PROCESS"},
    {483, "Current machine"},
    {484, "Current machine owner"},
    {490, "Data file"},
    {494, "Application type"},
    {604, "C_BLOB"},
};
