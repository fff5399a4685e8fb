#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

/// What was played so far, and what came of it.
struct Account {
    size_t pluginCalls = 0;
    size_t hostCalls = 0;
    size_t held = 0;
    size_t failed = 0;
    size_t problems = 0;
    size_t crashes =
        0; ///< of the plug-in, in processes of their own; time-outs and ends among them
    size_t notPlayed = 0;  ///< statements; events of a recording
    bool isReplay = false; ///< of a recording

    bool IsGood() const { return failed == 0 && problems == 0 && crashes == 0; }
    /// One line, which tells of crashes and statements not played only when there were some.
    std::string Describe() const;
};

/// How far a session is. Lies in memory that another process reads, also after the end of the one
/// that plays: therefore without pointers, and texts are cut to what fits.
struct Progress {
    enum class Phase { Preparing, Loading, Playing, Stopping, Unloading, Done };
    template <size_t Size>
    using Text = std::array<char, Size>;

    Phase phase = Phase::Preparing;
    unsigned long began =
        0;                ///< when the phase or the statement began, in GetTickCount's milliseconds
    size_t statement = 0; ///< the one under way, from 0
    size_t statements = 0;    ///< of the whole script
    size_t resumeFrom = 0;    ///< before this one nothing is played again but what sets the host up
    Text<512> place = {};     ///< "script:line"
    Text<1024> line = {};     ///< the statement as the script has it
    Text<1024> underWay = {}; ///< the innermost entry into the plug-in; empty outside all of them
    size_t callsNotPrinted =
        0; ///< of entries that are under way: the host's calls that are only counted
    Account account = {};
    bool isWriting = false;   ///< waits for whoever reads the transcript: no time of the plug-in's
    bool hasAccount = false;  ///< the account is complete, and
    bool toldAccount = false; ///< was printed
    size_t sessions = 0;      ///< of a check: those that it has played
    int exitCode = 0;         ///< of the whole, when Done

    void Enter(Phase next);
    void Begin(size_t number, std::string_view itsPlace, std::string_view itsLine);

    template <size_t Size>
    static void Copy(Text<Size>& target, std::string_view text) {
        const size_t length = text.copy(target.data(), Size - 1);
        target[length] = '\0';
    }
    /// What is in it, whatever a plug-in has written over it.
    template <size_t Size>
    static std::string_view Read(const Text<Size>& text) {
        const std::string_view all(text.data(), Size);
        return all.substr(0, all.find('\0'));
    }
};
static_assert(std::is_trivially_copyable_v<Progress>);
