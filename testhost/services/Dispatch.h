#pragma once

#include "host/boundary/Calls.h"

/// The host's two call-backs. They serve Host::Current().
HOST_CALL long ClassicHostCall(long selector, ParameterBlock* block);
HOST_CALL long EngineHostCall(long selector, FDEngineBlock* block);
/// What a host before 11.0 has in place of the engine call-back: reports that it was called.
HOST_CALL long MissingEngineCall(long selector, FDEngineBlock* block);
