#include "testhost/session/PlayScript.h"

#include "platform/ResultCodes.h"
#include "testhost/plugins/Library.h"
#include "testhost/session/Player.h"
#include "testhost/session/Words.h"
#include "testhost/toolbox/Control.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <streambuf>
#include <utility>

#include <windows.h>

namespace {
// A plug-in's resource file, which is open for as long as this lives.
class PluginResources {
  public:
    explicit PluginResources(const PlaySettings& settings)
        : file(settings.resources.empty()
                   // C:\Plug.dll has its resources in C:\Plug.rsrc.
                   ? std::filesystem::path(settings.plugin).replace_extension(".rsrc")
                   : settings.resources) {
        const OSErr error = ToolboxOpenResFile(file.wstring().c_str(), &refNum);
        if (error == ResultCode::FileNotFound && settings.resources.empty()) {
            refNum = 0;
        } else if (error == ResultCode::FileNotFound || error == ResultCode::InputOutput) {
            throw ScriptError("the resource file " + Shown(file) + " is missing or cannot be read");
        } else if (error != ResultCode::NoError) {
            throw ScriptError(Shown(file) + " is no resource file: " +
                              (error == ResultCode::EndOfData
                                   ? "it is too short"
                                   : "its map does not agree with itself or the file") +
                              " (" + std::to_string(error) + ")");
        }
    }
    ~PluginResources() {
        if (refNum != 0) {
            ToolboxCloseResFile(refNum);
        }
    }
    PluginResources(const PluginResources&) = delete;
    PluginResources& operator=(const PluginResources&) = delete;

    /// 0 when the plug-in has none.
    short RefNum() const { return refNum; }
    const std::filesystem::path& File() const { return file; }

  private:
    std::filesystem::path file;
    short refNum = 0;
};

// Passes a transcript on. The time in which nobody reads it is not the plug-in's.
class TimedOutput : public std::streambuf {
  public:
    TimedOutput(std::streambuf& itsTarget, Progress& itsProgress)
        : target(itsTarget), progress(itsProgress) {}

  private:
    template <typename Write>
    auto Timed(Write write) {
        const DWORD before = GetTickCount();
        progress.isWriting = true;
        const auto result = write();
        progress.began += GetTickCount() - before;
        progress.isWriting = false;
        return result;
    }

  protected:
    std::streamsize xsputn(const char* text, std::streamsize count) override {
        return Timed([&] { return target.sputn(text, count); });
    }
    int_type overflow(int_type character) override {
        return Timed([&] { return target.sputc(traits_type::to_char_type(character)); });
    }
    int sync() override {
        return Timed([&] { return target.pubsync(); });
    }

  private:
    std::streambuf& target;
    Progress& progress;
};
// The screen, and the transcript's file if there is to be one.
class Outputs {
  public:
    Outputs(const TranscriptSettings& itsSettings, std::ostream& out, Progress& progress)
        : settings(itsSettings),
          goesOn(progress.resumeFrom > 0),
          timedFile(*file.rdbuf(), progress),
          timedScreen(*out.rdbuf(), progress) {}

    /// Throws ScriptError when the file cannot be written.
    Transcript Open() {
        Transcript transcript(screen, settings.quiet);
        transcript.hasColors = settings.hasColors;
        if (!settings.file.empty()) {
            file = OpenTranscript(settings.file, goesOn);
            transcript.file = &whole;
            transcript.fileBytes =
                static_cast<unsigned long long>(std::max<long long>(file.tellp(), 0));
        }
        return transcript;
    }

  private:
    const TranscriptSettings& settings;
    const bool goesOn; ///< behind what the processes before this one have written
    std::ofstream file;
    TimedOutput timedFile;
    TimedOutput timedScreen;
    std::ostream whole{&timedFile};
    std::ostream screen{&timedScreen};
};
} // namespace

bool PlayScript(const Script& script, Database database, const PlaySettings& settings,
                std::ostream& out, Progress& progress) {
    Outputs outputs(settings.transcript, out, progress);
    Transcript transcript = outputs.Open();
    ToolboxSetStrict(settings.strict ? 1 : 0);
    progress.statements = script.statements.size();
    progress.Enter(Progress::Phase::Loading);
    std::optional<PluginLibrary> library;
    try {
        library.emplace(settings.plugin, settings.recorder.For(settings.plugin));
    } catch (const PluginLoadError& error) {
        const bool crashed = dynamic_cast<const PluginLoadCrash*>(&error) != nullptr;
        if (!crashed && progress.resumeFrom == 0) {
            throw;
        }
        const std::string sentence = std::string(crashed ? "CRASHED " : "") + error.what();
        if (settings.onFinding) {
            settings.onFinding("", sentence);
        }
        progress.account.crashes += crashed ? 1 : 0;
        progress.account.notPlayed += script.statements.size() - progress.resumeFrom;
        transcript.Say(LineKind::Wrong, sentence);
        transcript.Say(LineKind::Wrong, progress.account.Describe());
        return false;
    }
    const PluginResources resources(settings);
    HostOptions hostOptions = settings.host;
    hostOptions.pluginResFile = resources.RefNum();
    Host host(hostOptions);
    host.ScratchPath(); // made here, where it may fail, rather than amid the plug-in's calls
    host.database = std::move(database);
    Session session(host, library->Entries());
    Player player(session, std::move(transcript), &progress);
    player.libraryFolder = library->Folder();
    player.stage.plugin = settings.plugin;
    player.stage.recorder = settings.recorder;
    if (hostOptions.pluginResFile != 0) {
        player.stage.resources = resources.File();
    }
    player.stage.pictures = settings.pictures;
    player.stage.reload = [&](long rounds) {
        library->Reload(rounds);
        return library->Entries();
    };
    player.stage.onFinding = settings.onFinding;
    if (settings.onReady) {
        settings.onReady(player.stage);
    }
    player.PlayAll(script);
    progress.Enter(Progress::Phase::Unloading);
    library->Unload(true);
    for (const std::string& fault : PluginLibrary::TakeUnloadFaults()) {
        host.Report(fault);
    }
    host.HearAsides();
    if (player.stage.transcript.IsWritten()) {
        return player.Finish();
    }
    player.stage.transcript.Say(LineKind::Wrong, NotWritten(settings.transcript.file));
    player.Finish();
    return false;
}
