#include "testhost/app/Compare.h"

#include "testhost/app/ExitCodes.h"
#include "testhost/compare/Compare.h"
#include "testhost/session/Transcript.h"
#include "testhost/values/Encodings.h"

#include <CLI.hpp>
#include <iostream>

using namespace ExitCode;

void AddCompareOptions(CLI::App& compare, CompareOptions& options) {
    compare.add_option("RECORDING", options.recording, "the recording")->required()->type_name("");
    compare
        .add_option(
            "--resources", options.resources,
            "the plug-in's resource file; when not given, the\n.rsrc beside the plug-in that "
            "was recorded, if it is there")
        ->type_name("FILE");
    compare.add_flag("--verbose", options.verbose, "lists each answer whose content was adopted");
}

int RunCompare(const CompareOptions& options) {
    const std::filesystem::path path = FromUtf8(options.recording);
    const auto say = [](const std::string& line) { std::cout << Visible(line) << "\n"; };
    try {
        const RecordingFile file = ReadRecording(path);
        const ComparisonAccount account = Compare(
            file, {.resources = FromUtf8(options.resources),
                   .onAdoption = options.verbose ? say : decltype(CompareSettings::onAdoption)()});
        for (const auto& [event, text] : file.notes) {
            say("note: " + text);
        }
        if (!file.complaint.empty()) {
            say("The recording is damaged behind this: " + file.complaint);
        }
        Print(account, std::cout);
        return account.IsGood() && file.complaint.empty() ? allHeld : somethingFailed;
    } catch (const RecordingError& error) {
        std::cerr << "testhost: " << Shown(path) << " cannot be compared: " << error.what() << "\n";
    }
    return wrongUse;
}
