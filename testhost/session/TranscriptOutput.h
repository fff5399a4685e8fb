#pragma once

#include "testhost/session/Progress.h"
#include "testhost/session/Transcript.h"

#include <fstream>
#include <ostream>
#include <streambuf>
#include <string>

/// Passes a transcript on. The time in which nobody reads it is not the plug-in's.
class TimedOutput final : public std::streambuf {
  public:
    TimedOutput(std::streambuf& itsTarget, Progress& itsProgress)
        : target(itsTarget), progress(itsProgress) {}

  protected:
    std::streamsize xsputn(const char* text, std::streamsize count) override;
    int_type overflow(int_type character) override;
    int sync() override;

  private:
    template <typename Write>
    auto Timed(Write write);

    std::streambuf& target;
    Progress& progress;
};

/// The screen, and the transcript's file if there is to be one.
class TranscriptOutput {
  public:
    TranscriptOutput(const TranscriptSettings& itsSettings, std::ostream& out, Progress& progress)
        : settings(itsSettings),
          goesOn(progress.resumeFrom > 0),
          timedFile(*file.rdbuf(), progress),
          timedScreen(*out.rdbuf(), progress) {}

    /// What goes there, for as long as this lives. Throws ScriptError when the file cannot be
    /// written.
    Transcript Open();

  private:
    const TranscriptSettings& settings;
    const bool goesOn; ///< behind what the processes before this one have written
    std::ofstream file;
    TimedOutput timedFile;
    TimedOutput timedScreen;
    std::ostream whole{&timedFile};
    std::ostream screen{&timedScreen};
};
