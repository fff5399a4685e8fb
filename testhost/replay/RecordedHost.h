#pragma once

#include "testhost/model/Host.h"
#include "testhost/plugins/Library.h"
#include "testhost/plugins/Session.h"
#include "testhost/recordings/Stacks.h"
#include "testhost/recordings/Stock.h"
#include "testhost/replay/CrossedHandles.h"
#include "testhost/replay/Replay.h"
#include "testhost/session/CrossingPrinter.h"

#include <memory>
#include <set>

/// Whether it is an entry that initialises the plug-in, that de-initialises it.
bool IsInit(const RecordedEvent& event);
bool IsStop(const RecordedEvent& event);
/// The init record that such an entry brings; null when it was not recorded.
const RecordedItem* InitRecord(const RecordedEvent& event);

/// Plays the host's part. The recording's stacks are processes of the stand-in host, each on a
/// stack of its own, and its events say whose turn it is. There is one at a time: the plug-in's
/// calls come to it.
class RecordedHost {
  public:
    /// All of it is to live as long as this.
    RecordedHost(const RecordingFile& itsFile, const ReplaySettings& itsSettings,
                 Session& itsSession, EntryPoints itsEntries, Transcript& itsTranscript,
                 Progress& itsProgress);
    ~RecordedHost();
    RecordedHost(const RecordedHost&) = delete;
    RecordedHost& operator=(const RecordedHost&) = delete;

    /// Plays until the recording is over, or a difference ends it.
    void Play();
    /// Whether all of it was played, and the plug-in is stopped.
    bool IsStopped() const { return !isOver && lastStop; }
    /// Whether the replay ended before the recording: functions of the plug-in are still under way.
    bool IsOver() const { return isOver; }
    /// Frees what host and plug-in have handed to each other: nobody knows any more whose it is.
    void ReleaseCrossed() const { handles.Release(); }
    /// Prints the account. Answers whether all was well.
    bool Finish();

    static RecordedHost* current;
    /// Answers a call of the plug-in's, whose record has so many bytes. Answers the result of the
    /// call-back.
    long Answer(Recording::Way way, long selector, unsigned char* record, size_t size);

  private:
    // A stack of the recording.
    struct Task {
        long number = 0; ///< its process here
        StackKey stack;
        std::vector<const RecordedEvent*> open; ///< beginnings of what is under way
    };

    // Whose turn it is.
    const RecordedEvent* Next();
    static bool Belongs(const Task& task, const RecordedEvent& event);
    Task* TaskOf(const RecordedEvent& event);
    void Run(Task& task);
    const RecordedEvent& Turn(Task& task);
    void Take(const RecordedEvent& event);
    void PassOver(const RecordedEvent& event);
    void Stop();
    void Stand();
    void CompareCommands();
    void SayNotes();
    void SayWhereItEnds();

    // Into the plug-in.
    void PlayEntry(Task& task, const RecordedEvent& begin);
    void LearnInit(const RecordedEvent& begin);
    void Enter(Task& task, const RecordedEvent& begin, const std::vector<std::uint32_t>& words);
    void EnterPack(const RecordedEvent& begin, const std::vector<std::uint32_t>& words);
    GrafPort* PortOf(const RecordedEvent& begin) const;
    void WaitForEver(Task& task, const RecordedEvent& begin);
    void EndEntry(Task& task, const RecordedEvent& begin, const std::vector<std::uint32_t>& words);

    // Into the host.
    void LearnCallBacks(const PackInitBlock& recorded);
    const RecordedEvent* TakeCall(Task& task, const Recording::Crossing& crossing,
                                  CrossingContents& here);
    const RecordedEvent& PlayCall(Task& task, const RecordedEvent& begin);
    void Fill(const RecordedEvent& begin, const RecordedEvent& end, const CrossingContents& here,
              unsigned char* record, size_t size);

    // What differs, and where it goes on.
    CrossingContents TakeAndCompare(const RecordedEvent& event,
                                    const Recording::Crossing& crossing);
    void Differ(const RecordedEvent& event, const std::string& recorded, const std::string& here);
    bool Count();
    void Tell(const RecordedEvent& event, const Difference& difference);
    void StopUnlessToGoOn();
    bool SkipToCall(const Task& task, const Recording::Crossing& crossing);
    void SkipToEnd(const Task& task, const RecordedEvent& begin);
    void Skip(const Task& task, size_t until);

    const RecordingFile& file;
    const ReplaySettings& settings;
    Session& session;
    Host& host;
    const EntryPoints entries;
    Transcript& transcript;
    Progress& progress;
    CrossingPrinter printer;

    size_t next = 0; ///< event
    size_t nextChange = 0;
    size_t nextNote = 0;
    std::vector<bool> skipped; ///< by event
    std::set<long> unlike;     ///< commands that take something else here
    RecordedStacks stacks{file};
    std::vector<std::unique_ptr<Task>> tasks;
    Task* running = nullptr;
    long lastNumber = 1; ///< of a task's process

    Recording::Surroundings surroundings;
    Stock stock;
    CrossedHandles handles{stock.book};

    bool isOver = false;   ///< before the recording was
    bool lastStop = false; ///< the last entry by an entry point was the plug-in's stop
    std::string place;
    size_t playedEntries = 0;
    size_t playedCalls = 0;
    size_t differences = 0;
    size_t notPlayed = 0; ///< events that were passed over
};
