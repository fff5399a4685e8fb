#pragma once

#include "host/boundary/Values.h"
#include "platform/Compiler.h"
#include "platform/Types.h"

// The records exchanged with the host. Their layout is the host's: little-endian, 2-byte
// packing. They are zero-filled before every call.

#pragma pack(push, 2)

struct ParameterBlock;
struct FDEngineBlock;

/// The host's call-back for ParameterBlock: selector, record.
using ClassicCallBack = long(NIMBO_CDECL*)(long selector, ParameterBlock* block);
/// The host's call-back for FDEngineBlock: selector, record.
using EngineCallBack = long(NIMBO_CDECL*)(long selector, FDEngineBlock* block);

/// The host's initialisation record, handed over with the selectors -1 and -200.
struct PackInitBlock {
    unsigned long hostVersion; ///< BCD version in the low 16 bits
    unsigned long hostPrivate[2];
    ClassicCallBack classicCallBack;
    unsigned long acceptedVersion; ///< written back to hosts from 6.0 on
    EngineCallBack engineCallBack; ///< present from host version 11.0 on
};

/// The typed value area of both records, up to the text that ends it.
struct ValueFields {
    REAL_U real;
    DateBlock date;
    long number;
    short small; ///< 16-bit integer or Boolean
};

/// The fields that both call records share.
struct CallFields {
    short table;
    short field;
    long recordNumber;
    unsigned char flag1;
    unsigned char flag2;
    Str255 name;   ///< Pascal string
    Handle handle; ///< a handle, or an address of whatever the selector asks for
    short error;   ///< result code, 0 for success
    long param1;
    long param2;
    long param3;
    long param4;
    ValueFields value;
};

/// What a call about a variable has where others have a text.
struct VariableFields {
    unsigned char unused[88];
    unsigned char flag; ///< sent along with a variable's new value
};

/// The classic record.
struct ParameterBlock : CallFields {
    union {
        unsigned char valueText[142]; ///< Pascal string that ends the value area
        VariableFields variable;
    };
};

/// What the engine record carries in front of the shared fields.
struct EngineFields {
    unsigned short uniName[256]; ///< UTF-16, zero-terminated
    unsigned short uniText[256]; ///< UTF-16, zero-terminated
    FDStringBlock string;
    unsigned char unused1[16];
    FDPictureBlock* picture;
    void (*mainThreadProc)(void*);
    void* mainThreadArg;
    unsigned char unused2[4];
};

/// The engine record, for hosts from 11.0 on.
struct FDEngineBlock : EngineFields, CallFields {
    unsigned char valueText[92]; ///< Pascal string that ends the value area
};

#pragma pack(pop)

static_assert(sizeof(PackInitBlock) == 24);
static_assert(offsetof(PackInitBlock, hostVersion) == 0 &&
              offsetof(PackInitBlock, classicCallBack) == 12 &&
              offsetof(PackInitBlock, acceptedVersion) == 16 &&
              offsetof(PackInitBlock, engineCallBack) == 20);

static_assert(sizeof(ValueFields) == 22);
static_assert(offsetof(ValueFields, real) == 0 && offsetof(ValueFields, date) == 10 &&
              offsetof(ValueFields, number) == 16 && offsetof(ValueFields, small) == 20);

// The records inherit their shared fields; the compiler lays bases out in order, and these
// assertions hold it to that.
NIMBO_ALLOW_OFFSETS_BEHIND_BASES

static_assert(sizeof(ParameterBlock) == 452);
static_assert(offsetof(ParameterBlock, table) == 0);
static_assert(offsetof(ParameterBlock, field) == 2);
static_assert(offsetof(ParameterBlock, recordNumber) == 4);
static_assert(offsetof(ParameterBlock, flag1) == 8);
static_assert(offsetof(ParameterBlock, flag2) == 9);
static_assert(offsetof(ParameterBlock, name) == 10);
static_assert(offsetof(ParameterBlock, handle) == 266);
static_assert(offsetof(ParameterBlock, error) == 270);
static_assert(offsetof(ParameterBlock, param1) == 272);
static_assert(offsetof(ParameterBlock, param2) == 276);
static_assert(offsetof(ParameterBlock, param3) == 280);
static_assert(offsetof(ParameterBlock, param4) == 284);
static_assert(offsetof(ParameterBlock, value) == 288);
static_assert(offsetof(ParameterBlock, valueText) == 310);
static_assert(offsetof(ParameterBlock, variable.flag) == 398);

static_assert(sizeof(FDEngineBlock) == 1474);
static_assert(offsetof(FDEngineBlock, uniName) == 0);
static_assert(offsetof(FDEngineBlock, uniText) == 512);
static_assert(offsetof(FDEngineBlock, string) == 1024);
static_assert(offsetof(FDEngineBlock, unused1) == 1040);
static_assert(offsetof(FDEngineBlock, picture) == 1056);
static_assert(offsetof(FDEngineBlock, mainThreadProc) == 1060);
static_assert(offsetof(FDEngineBlock, mainThreadArg) == 1064);
static_assert(offsetof(FDEngineBlock, unused2) == 1068);
// The shared fields begin here, and lie as in the classic record.
static_assert(offsetof(FDEngineBlock, table) == 1072);
static_assert(offsetof(FDEngineBlock, value) == 1360);
static_assert(offsetof(FDEngineBlock, valueText) == 1382);

NIMBO_ALLOWED
