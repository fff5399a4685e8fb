#pragma once

#include "host/boundary/Calls.h"

// A host that answers every call at once: what is measured is the other side of it.

/// @family With the classic, with the engine record.
inline HOST_CALL long AnswerClassic(long, ParameterBlock* block) {
    block->param1 = 7;
    return 0;
}
inline HOST_CALL long AnswerEngine(long, FDEngineBlock* block) {
    block->param1 = 7;
    return 0;
}
