#pragma once

#include "host/boundary/Calls.h"

#include <deque>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct RecordFieldInfo;

/// One crossing of the boundary between host and plug-in.
struct LoggedCall {
    enum class Kind {
        IntoPlugin, ///< the host called an entry point
        Classic,    ///< the plug-in called the classic call-back
        Engine,     ///< the plug-in called the engine call-back
    };

    Kind kind = Kind::Classic;
    long selector = 0;
    std::string name;                  ///< of the selector; for an entry, what the host calls for
    std::vector<unsigned char> before; ///< the record as sent (empty for an entry)
    std::vector<unsigned char> after;  ///< the record as answered
    long returned = 0;                 ///< what the call-back returned
    long process = 0;                  ///< process in which it happened
    int depth = 0;                     ///< how many plug-in entries it happened inside
    std::string remark;                ///< what the host says of it to people; mostly empty

    bool IsIntoPlugin() const { return kind == Kind::IntoPlugin; }
    bool IsEngine() const { return kind == Kind::Engine; }

    /// The shared fields as sent and as answered. Only for calls into the host.
    const CallFields& Sent() const { return Shared(before); }
    const CallFields& Answered() const { return Shared(after); }
    /// What only the engine record has. Only for engine calls.
    const EngineFields& EngineSent() const { return Extra(before); }
    const EngineFields& EngineAnswered() const { return Extra(after); }
    /// The Pascal string that ends the value area.
    const unsigned char* ValueTextSent() const { return ValueText(before); }
    const unsigned char* ValueTextAnswered() const { return ValueText(after); }

    /// A field of the record `before` or `after` for a person to read.
    std::string FieldText(const RecordFieldInfo& field,
                          std::span<const unsigned char> record) const;
    /// One line: selector, non-zero fields as sent, then the fields that the host changed, and its
    /// remark.
    /// "CurrentProcess (-91, engine)  → param1 = 1"
    std::string Describe() const;

  private:
    const CallFields& Shared(const std::vector<unsigned char>& record) const;
    const EngineFields& Extra(const std::vector<unsigned char>& record) const;
    const unsigned char* ValueText(const std::vector<unsigned char>& record) const;
};

/// Everything that crossed the boundary, oldest first. A call into the host is entered when it
/// returns, an entry into the plug-in when it begins.
class CallLog {
  public:
    /// An empty one to fill and add, with the storage of one that was dropped: where thousands
    /// come and go memory need not be sought for each.
    LoggedCall Blank();
    /// Keeps it, and drops the oldest of too many; but the last of each name stays. The counts
    /// go on.
    void Add(LoggedCall call);
    /// The entry into the plug-in that began last in this process, at this depth, is over.
    void EndEntry(long process, int entryDepth);
    /// Only counts a call into the host.
    void CountOnly() { ++hostCalls; }
    /// Forgets the crossings; the counts stay.
    void Clear();

    const std::deque<LoggedCall>& Calls() const { return calls; }
    /// The calls into the host of this selector name that are still kept, oldest first.
    std::vector<const LoggedCall*> Named(std::string_view name) const;
    /// How many there were since the last entry into the plug-in.
    size_t CountSinceEntry(std::string_view name) const;
    /// The last call into the host of this selector name; null when there is none.
    const LoggedCall* Last(std::string_view name) const;

    /// Keeps the names of the calls into the host that a process makes from now on, and counts
    /// them.
    void BeginNames(long process);
    struct Names {
        std::vector<std::string> first; ///< of many only the first 10,000
        size_t count = 0;
    };
    /// Those since BeginNames; ends it.
    Names TakeNames();

    size_t HostCallCount() const { return hostCalls; }     ///< calls into the host
    size_t PluginCallCount() const { return pluginCalls; } ///< calls into the plug-in

    int depth = 0; ///< plug-in entries that are under way; kept by CallPlugin
    /// Runs for every crossing that is added; may be empty.
    std::function<void(const LoggedCall&)> onAdded;
    /// Runs for every EndEntry; may be empty.
    std::function<void(long process, int entryDepth)> onEntryEnded;

  private:
    void DropOldest();
    void KeepName(const LoggedCall& call);

    std::deque<LoggedCall> calls;
    size_t bytes = 0; ///< of these
    LoggedCall spare;
    std::map<std::string, LoggedCall, std::less<>> dropped;      ///< the last of each name
    std::map<std::string, size_t, std::less<>> countsSinceEntry; ///< of calls, by name
    long namedProcess = 0; ///< whose calls are kept by name; 0 for none
    Names names;
    size_t hostCalls = 0;
    size_t pluginCalls = 0;
};
