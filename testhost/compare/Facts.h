#pragma once

#include "testhost/compare/Asked.h"

#include <string>
#include <string_view>

/// What only the recorded host could know about a service's answer: because the database, the
/// machine or the user decided it. Before the stand-in is asked, or once it has answered otherwise,
/// it is taught the fact, so that how the answer is made is judged even where its content was
/// adopted. Everything else that a host answers follows from what it was asked before, and is never
/// adopted.
struct Fact {
    /// What it is about, in this process: until something may have changed it a second answer has
    /// to agree with the first. Empty: each answer is a fact of its own.
    using Subject = std::string (*)(const AskedCall& call);
    /// Answers whether the stand-in knows anything now that it did not.
    using Teach = bool (*)(AskedCall& call);

    std::string_view service;
    std::string_view what; ///< for people: "contents of variables"
    Subject subject = nullptr;
    Teach before = nullptr; ///< before it is asked
    Teach after = nullptr;  ///< when it has answered otherwise; then it is asked again
    /// Where in the answer the stand-in cannot be taught what to say: what it says there does not
    /// count, but that there is something does.
    RecordField::Set unjudged = RecordField::None;
    /// The stand-in was set up by the first such answer to the same question.
    bool isSetUp = false;
};

/// In place of a set of fields: nothing of such an answer can be judged when it is another one.
inline constexpr auto wholeAnswer = static_cast<RecordField::Set>(~0U);

/// Null for a service whose answers hold no facts.
const Fact* FindFact(std::string_view service);

/// What a call of the plug-in says itself of a Fact's subject.
struct Settlement {
    /// Until something may have changed it, or for as long as the plug-in does not itself have the
    /// host change it, which is the third.
    enum class Lasts { UntilChanged, ForGood, NoMore };

    std::string subject; ///< empty: it says nothing
    Lasts lasts = Lasts::UntilChanged;
};
Settlement SettledBy(std::string_view service, const AskedCall& call);
/// Whether other code may have run before the service answers, that of the database or the user's
/// doing: what was known may be otherwise then.
bool MayChangeFacts(std::string_view service);
/// Whether a result code is a failure of the machine, which comes of no argument.
bool IsFailureOfMachine(short error);
