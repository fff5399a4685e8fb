#include "testhost/validate/Signature.h"

#include <gtest/gtest.h>

// Findings that differ only in what the session happened to hold are one, others are not.
TEST(SignatureTest, IsOfTheFaultAndNotOfItsValues) {
    const struct {
        const char* one;
        const char* other;
        bool areAlike;
    } rows[] = {
        {"1 handle of 3 bytes (61 62 63 \"abc\") that was made under session:2, command 1(text "
         "\"abc\") is still alive.",
         "2 handles of 29 bytes (26 6F AA ...) that were made under session:19, command 1(text "
         "\"a \\\" ) \") are still alive.",
         true},
        {"1 handle of 3 bytes (61 62 63 \"abc\") that was made under session:2, command 1(text "
         "\"abc\") is still alive.",
         "1 handle of 1 byte (61) that was made under session:2, command 1(text \"xxxx... is still "
         "alive.",
         true},
        {"CRASHED in clean-up of call 0x1, kind 1 (-207): Plug.dll+0x2668 read 0x00000004",
         "CRASHED in clean-up of call 0xFFFFFFFF, kind -2 (-207): Plug.dll+0x2668 read 0x00000004",
         true},
        {"Command 1 changed the register ebx", "Command 2 changed the register ebx", false},
        {"Command 1 changed the register ebx", "Command 1 changed the register esi", false},
        {"CRASHED in command 1(real nan): Plug.dll+0x10 read 0xEE9C4200",
         "CRASHED in command 1(real nan): Plug.dll+0x10 wrote 0xEE9C4200", false},
        {"1 handle of 3 bytes is still alive.", "1 pointer of 3 bytes is still alive.", false},
        {"a text (that is \"cut", "a text (that is \"cut off", true},
        {"expected long 3, got long 0", "expected long 3, got long -12", true},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(SignatureOf(row.one) == SignatureOf(row.other), row.areAlike)
            << SignatureOf(row.one) << "\n"
            << SignatureOf(row.other);
    }
}
