#pragma once

#include "testhost/compare/Asked.h"
#include "testhost/model/Host.h"
#include "testhost/recordings/File.h"

#include <string>

/// The host that a recording tells of, as far as it says from the start what it is: its version
/// from the initialisation record, everything else from the first answer to the question.
struct HostSetUp {
    HostOptions options;
    Database database; ///< tables and fields that were spoken of; no records
};

/// Throws RecordingError for a recording of no host that the stand-in can be.
HostSetUp SetUpOf(const RecordingFile& file);
/// These options with what an answer of ProgramInfo says of them.
HostOptions OptionsIn(const CallRecord& answer, HostOptions options);
/// In words: "host 6.8, single, with 3 tables".
std::string Describe(const HostSetUp& setUp);
