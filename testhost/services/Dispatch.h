#pragma once

#include "host/boundary/Calls.h"

/// The host's two call-backs. They serve Host::Current().
HOST_CALL long ClassicHostCall(long selector, ParameterBlock* block);
HOST_CALL long EngineHostCall(long selector, FDEngineBlock* block);
/// What a host before 11.0 has in place of the engine call-back: reports that it was called.
HOST_CALL long MissingEngineCall(long selector, FDEngineBlock* block);

/// Whether a call-back runs in no thread in which the host calls plug-ins. That it does is set
/// aside for the host to report.
bool IsForeignThread(long selector);
