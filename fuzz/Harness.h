#pragma once

#include "shell/FourDPlug.h"
#include "testhost/plugins/Session.h"

#include <fuzzer/FuzzedDataProvider.h>
#include <string>
#include <vector>

// What the targets have in common. A target is one source that defines Fuzz(): it makes a sequence
// of operations out of an input's bytes, and holds what comes of them against a reference where
// there is one. The sanitizers find what is touched that must not be.

/// The bytes of one input. When they are used up, numbers are their smallest and texts empty.
class Input : public FuzzedDataProvider {
  public:
    using FuzzedDataProvider::FuzzedDataProvider;

    bool IsOver() { return remaining_bytes() == 0; }
    /// A number from 0 to `count` - 1.
    unsigned Choice(unsigned count) { return ConsumeIntegralInRange<unsigned>(0, count - 1); }
    /// Any number, small ones and those about the ends of the type more often than others.
    long Number();
    std::string Text(std::size_t longest = 64) { return ConsumeRandomLengthString(longest); }
    /// Fills a record with bytes of the input, and with zeros where there are none left.
    template <typename Record>
    void Fill(Record& record) {
        record = {};
        ConsumeData(&record, sizeof record);
    }
    /// Makes one of the next allocations fail, or none. Answers whether it is one.
    bool FailAnAllocation();
};

/// One run. The toolbox is as new before it; afterwards nothing may be left alive in it, and it
/// may have nothing to complain of.
void Fuzz(Input& input);

/// Ends the program as a crash does, with a sentence.
[[noreturn]] void Fail(const std::string& sentence);
inline void Require(bool held, const char* sentence) {
    if (!held) {
        Fail(sentence);
    }
}

/// The bytes of a toolbox handle; none of null.
std::string BytesOf(Handle handle);
/// A toolbox handle with these bytes, the caller's.
Handle HandleOf(const std::string& bytes);
/// Appends the bytes of a record.
template <typename Record>
void Append(std::string& bytes, const Record& record) {
    bytes.append(reinterpret_cast<const char*>(&record), sizeof record);
}
/// The characters of a Pascal string.
std::string PascalText(const unsigned char* string);

/// The first 255 characters of a text as a Pascal string, in a block without a byte to spare.
class Pascal {
  public:
    explicit Pascal(const std::string& text) : bytes(text.begin(), text.begin() + Length(text)) {
        bytes.insert(bytes.begin(), static_cast<unsigned char>(bytes.size()));
        bytes.shrink_to_fit();
    }
    operator unsigned char*() { return bytes.data(); } // NOLINT(google-explicit-constructor)
    /// With the byte of the length.
    std::string Whole() const { return {bytes.begin(), bytes.end()}; }

  private:
    static long Length(const std::string& text) { return text.size() < 255 ? text.size() : 255; }

    std::vector<unsigned char> bytes;
};

/// Adds a resource of the name `Name` to a resource file that is there.
OSErr AddResource(short file, OSType type, short id, const std::string& bytes);

/// Two tables, the first with two records.
const Database& SmallDatabase();

/// A plug-in with these commands. It leaves no record of a client or a call behind, as the
/// framework deliberately does when its lists go.
class FuzzPlug : public FourDPlug {
  public:
    explicit FuzzPlug(std::vector<CommandEntry> commandTable = {});
    ~FuzzPlug() override;
    void Init(PackInitBlock* init) override;
    void Deinit() override;
    bool TrackClientsOnServer() override { return true; }

  private:
    void ReleaseRecords();

    std::vector<CommandEntry> commands;
    PlugInfo plugInfo{};
};

/// A host with a plug-in that is started in it, current as long as this lives.
class FuzzHost {
  public:
    explicit FuzzHost(HostOptions options = {}, std::vector<CommandEntry> commands = {});
    /// Stops the plug-in. What the host has to complain of is a failure.
    ~FuzzHost();
    FuzzHost(const FuzzHost&) = delete;
    FuzzHost& operator=(const FuzzHost&) = delete;

    Host host;
    FuzzPlug plug;
    Session session;

  private:
    Host::Scope inside;
};
