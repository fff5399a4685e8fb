#pragma once

#include "data/blocks/Handles.h"
#include "host/boundary/Values.h"
#include "host/FourD.h"
#include "platform/ResultCodes.h"

// What the framework itself needs to have the host run a piece of its language.

/// Name of a host command as it goes into a statement: at most 127 characters, in a buffer of 256
/// bytes. -1 when the host does not name it.
OSErr NameOfCommand(short command, char* name);

/// Evaluates a host command without arguments, by its number, into a value that the caller frees
/// with FreeValueBlock. -50 when the host does not name the command, -108, or the host's result
/// code.
OSErr EvaluateCommand(short command, ValueBlock* value);

/// Has the host compile `length` bytes of text and hands the tokens, which may be null, to `use`:
/// an OSErr(Handle), whose result is the answer. -108, or the host's result code.
template <typename Use>
OSErr WithTokens(const void* text, long length, Use use) {
    const TemporaryHandle source(text, length);
    if (source.Get() == nullptr) {
        return ResultCode::MemoryFull;
    }
    TemporaryHandle tokens;
    const OSErr error = FourD::TokenizeProc(source.Get(), tokens.Address());
    return error == ResultCode::NoError ? use(tokens.Get()) : error;
}
