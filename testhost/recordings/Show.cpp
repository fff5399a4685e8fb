#include "testhost/recordings/Show.h"

#include "host/boundary/Selectors.h"
#include "testhost/crossings/RecordFields.h"
#include "testhost/recordings/Stacks.h"
#include "testhost/recordings/Values.h"
#include "testhost/session/CrossingPrinter.h"

#include <algorithm>
#include <cstring>
#include <optional>

using namespace Recording;

namespace {
constexpr size_t paramsWord = 4;
constexpr size_t resultWord = 12;

long WordAt(const std::vector<unsigned char>& bytes, size_t offset) {
    std::int32_t word = 0;
    std::memcpy(&word, &bytes[offset], sizeof word);
    return word;
}

// What the word at this place leads to; empty when that is nothing to tell.
std::string DescribeAt(const CrossingContents& contents, unsigned parent, size_t offset) {
    const RecordedItem* item = contents.Find(parent, offset, Target::Memory);
    if (item == nullptr) {
        item = contents.Find(parent, offset, Target::Handle);
    }
    return item == nullptr
               ? std::string()
               : DescribeItem(contents, static_cast<unsigned>(item - contents.items.data()) + 1);
}

// The parameters of a command, as many as the plug-in declares.
std::vector<std::string> Parameters(const RecordingFile& file, const RecordedEvent& event) {
    std::vector<std::string> texts;
    const Usage* usage = file.UsageOf(event);
    const RecordedItem* array = event.contents.Find(0, paramsWord, Target::Memory);
    if (usage == nullptr || array == nullptr) {
        return texts;
    }
    const auto number = static_cast<unsigned>(array - event.contents.items.data()) + 1;
    for (size_t place = 0; place < usage->parameters.size(); ++place) {
        const std::string text = DescribeAt(event.contents, number, place * sizeof(long));
        texts.push_back(text.empty() ? "?" : text);
    }
    return texts;
}

std::string CommandName(const RecordingFile& file, const RecordedEvent& event) {
    std::string text = "command " + std::to_string(event.head.selector) + "(";
    if (file.UsageOf(event) == nullptr) {
        return text + "...)";
    }
    const char* separator = "";
    for (const std::string& parameter : Parameters(file, event)) {
        text += separator + parameter;
        separator = ", ";
    }
    return text + ")";
}

std::string PackName(const RecordingFile& file, const RecordedEvent& event) {
    const std::string process =
        "process " + std::to_string(WordAt(event.contents.root, paramsWord));
    switch (event.head.selector) {
    case -1:
    case -200:
        return "start";
    case -2:
    case -220:
        return "stop";
    case -3:
        return process + " starts";
    case -4:
        return process + " ends";
    case -201:
        return "a client connects";
    case -202:
        return "a client leaves";
    case -205:
        return "a client asks for an answer";
    case -206:
        return "a client's request";
    case -207:
        return "a client's answer is cleaned up";
    default:
        return event.head.selector > 0 ? CommandName(file, event) : "entry";
    }
}

// The field of a call's record in which the offset lies.
std::string FieldName(size_t offset, bool engine) {
    for (const RecordFieldInfo& field : RecordFields()) {
        const size_t start = field.Offset(engine);
        if (offset >= start && offset < start + field.Size(engine)) {
            return std::string(field.name);
        }
    }
    return "the record";
}

// Shows one recording.
class Show {
  public:
    Show(const RecordingFile& itsFile, const std::string& itsName, Transcript& itsTranscript)
        : file(itsFile), name(itsName), transcript(itsTranscript) {}

    void Run() {
        ShowHead();
        size_t note = 0;
        for (size_t number = 0; number <= file.events.size(); ++number) {
            for (; note < file.notes.size() && file.notes[note].first <= number; ++note) {
                transcript.Note("  note: " + file.notes[note].second);
            }
            if (number < file.events.size()) {
                ShowEvent(file.events[number]);
            }
        }
        isAtEnd = EndedBeforeItsTime();
        stacks.Leave([this](const RecordedStacks::Open& open) { TellLeft(open); });
        ShowEnd();
    }

  private:
    void ShowHead() {
        transcript.Say(LineKind::Plain, name);
        for (const auto& [key, value] : file.head) {
            std::string line = "  ";
            transcript.Say(LineKind::Plain, line.append(key).append(": ").append(value));
        }
    }

    void ShowEnd() {
        transcript.EndStatement(name);
        std::string text = std::to_string(entries) + " calls into the plug-in, " +
                           std::to_string(calls) + " calls into the host";
        if (unfinished != 0) {
            text += ", " + std::to_string(unfinished) + " that never ended";
        }
        if (underWay != 0) {
            text += ", " + std::to_string(underWay) + " under way when the recording ended";
        }
        transcript.Say(LineKind::Plain, text);
        if (!file.complaint.empty()) {
            transcript.Say(LineKind::Wrong, "The recording is not whole: " + file.complaint);
        } else if (!file.hasEnd) {
            transcript.Say(LineKind::Plain,
                           "The recording has no end: the process that made it had none.");
        }
    }

    void ShowEvent(const RecordedEvent& event) {
        const RecordedStacks::Open crossing =
            stacks.Follow(event, [this](const RecordedStacks::Open& open) { TellLeft(open); });
        if (crossing.event == nullptr) {
            return;
        }
        if (event.chunk == Chunk::EntryBegins) {
            ShowEntry(event, crossing.depth);
        } else if (event.chunk == Chunk::CallEnds) {
            ShowCall(crossing, &event);
        } else if (event.chunk == Chunk::EntryEnds) {
            EndEntry(*crossing.event, event, crossing.depth);
        }
    }

    void ShowEntry(const RecordedEvent& event, int depth) {
        ++entries;
        LoggedCall entry;
        entry.kind = LoggedCall::Kind::IntoPlugin;
        entry.selector = event.IsPack() ? event.head.selector : 0;
        entry.name = EntryName(file, event);
        entry.process = stacks.Process(event);
        entry.depth = depth;
        processes[event.head.number] = entry.process;
        printer.Print(entry, WhatItBrings(event));
    }

    // Of entries that their name does not tell of.
    std::vector<std::string> WhatItBrings(const RecordedEvent& event) const {
        std::vector<std::string> lines;
        if (!event.IsPack() || event.head.selector > 0) {
            return lines;
        }
        if (const RecordedItem* cell = event.contents.Find(0, resultWord, Target::Memory)) {
            const auto number = static_cast<unsigned>(cell - event.contents.items.data()) + 1;
            if (const std::string text = DescribeAt(event.contents, number, 0); !text.empty()) {
                lines.push_back("with " + text);
            }
        }
        return lines;
    }

    void EndEntry(const RecordedEvent& begin, const RecordedEvent& end, int depth) {
        Finish(begin, depth);
        const std::vector<std::string> before = Parameters(file, begin);
        const std::vector<std::string> after = Parameters(file, end);
        std::string text;
        for (size_t place = 0; place < std::min(before.size(), after.size()); ++place) {
            if (before[place] != after[place]) {
                text += (text.empty() ? "" : ", ") + ("parameter " + std::to_string(place + 1)) +
                        " = " + after[place];
            }
        }
        if (const Usage* usage = file.UsageOf(end);
            usage != nullptr && usage->result != ValueKind::None) {
            const std::string result = DescribeAt(end.contents, 0, resultWord);
            text =
                "result = " + (result.empty() ? "?" : result) + (text.empty() ? "" : ", ") + text;
        }
        TellOfEntry(depth, text.empty() ? text : "⇒ " + text);
    }

    void Finish(const RecordedEvent& begin, int depth) {
        printer.EndEntry(processes[begin.head.number], depth);
        processes.erase(begin.head.number);
    }

    // A line beneath an entry that is over.
    void TellOfEntry(int depth, const std::string& text) {
        if (!text.empty()) {
            transcript.Line(LineKind::Plain, Indent(depth + 1) + text);
        }
        if (depth == 0) {
            transcript.EndStatement(name);
        }
    }

    void ShowCall(const RecordedStacks::Open& crossing, const RecordedEvent* end) {
        ++calls;
        const RecordedEvent& begin = *crossing.event;
        const bool engine = begin.way == Way::Engine;
        const SelectorPair* service = ServiceOf(begin);
        LoggedCall call;
        call.kind = engine ? LoggedCall::Kind::Engine : LoggedCall::Kind::Classic;
        call.selector = begin.head.selector;
        call.name = service != nullptr ? service->name : "unknown selector";
        call.process = stacks.Process(begin);
        call.depth = crossing.depth;
        call.before = begin.contents.root;
        call.after = end != nullptr ? end->contents.root : call.before;
        call.remark = end == nullptr ? NeverEnded() : "";
        if (end != nullptr && end->head.returned != FieldsOf(*end).error) {
            call.remark = "returned " + std::to_string(end->head.returned);
        }
        printer.Print(call, WhatLiesBehind(begin, end));
    }

    // What the record's addresses lead to, and what of that the host has changed.
    static std::vector<std::string> WhatLiesBehind(const RecordedEvent& begin,
                                                   const RecordedEvent* end) {
        const bool engine = begin.way == Way::Engine;
        std::vector<std::string> lines;
        std::vector<std::pair<size_t, std::string>> sent;
        const auto list = [&](const CrossingContents& contents, const char* arrow) {
            for (unsigned number = 1; number <= contents.items.size(); ++number) {
                const ItemHead& head = contents.items[number - 1].head;
                std::string text =
                    head.parent == 0 ? DescribeItem(contents, number) : std::string();
                const std::pair known(size_t{head.offset}, text);
                if (text.empty() || std::ranges::find(sent, known) != sent.end()) {
                    continue;
                }
                sent.push_back(known);
                lines.push_back(arrow + FieldName(head.offset, engine) + ": " + text);
            }
        };
        list(begin.contents, "");
        if (end != nullptr) {
            list(end->contents, "→ ");
        }
        return lines;
    }

    void TellLeft(const RecordedStacks::Open& open) {
        ++(isAtEnd ? underWay : unfinished);
        if (!open.event->IsIntoPlugin()) {
            ShowCall(open, nullptr);
            return;
        }
        Finish(*open.event, open.depth);
        TellOfEntry(open.depth, "(" + EntryName(file, *open.event) + ": " + NeverEnded() + ")");
    }

    // What the recorder has ended by itself says nothing of what was under way.
    std::string NeverEnded() const {
        return isAtEnd ? "the recording ended before it" : "it never ended";
    }

    // At a limit, which the last note tells of.
    bool EndedBeforeItsTime() const {
        return file.hasEnd && !file.notes.empty() &&
               file.notes.back().second.find("what followed is not in") != std::string::npos;
    }

    static std::string Indent(int depth) {
        return std::string(static_cast<size_t>(depth) * 2, ' ');
    }

    const RecordingFile& file;
    const std::string& name;
    Transcript& transcript;
    size_t callsNotPrinted = 0;
    CrossingPrinter printer{transcript, callsNotPrinted, ""};
    RecordedStacks stacks{file};
    std::map<std::uint32_t, long> processes; ///< in which entries under way began
    size_t entries = 0;
    size_t calls = 0;
    size_t unfinished = 0;
    size_t underWay = 0;  ///< when the recorder ended the recording
    bool isAtEnd = false; ///< what is left has that for its reason
};
} // namespace

std::string EntryName(const RecordingFile& file, const RecordedEvent& event) {
    const CrossingContents& contents = event.contents;
    switch (event.way) {
    case Way::Process:
        return "the function of a process";
    case Way::MainThread:
        return "the function on the main thread";
    case Way::DialogFilter:
        return "the dialog's filter(" + DescribeAt(contents, 0, 4) + ", " +
               DescribeAt(contents, 0, 8) + ")";
    case Way::AreaHandler:
        return "the handler of the area " + DescribeAt(contents, 0, 4) + "(" +
               DescribeAt(contents, 0, 12) + ")";
    default:
        return PackName(file, event);
    }
}

std::string CrossingName(const RecordingFile& file, const RecordedEvent& event) {
    if (event.IsIntoPlugin()) {
        return EntryName(file, event);
    }
    return CallName(event.way, event.head.selector);
}

std::string CallName(Way way, long selector) {
    const bool engine = way == Way::Engine;
    const SelectorPair* known = FindSelector(selector, engine);
    return std::string(known != nullptr ? known->name : "unknown selector") + " (" +
           std::to_string(selector) + (engine ? ", engine)" : ", classic)");
}

void ShowRecording(const RecordingFile& file, const std::string& name, Transcript& transcript) {
    Show(file, name, transcript).Run();
}
