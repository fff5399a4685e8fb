#include "host/boundary/Selectors.h"
#include "recorder/HandedCode.h"
#include "recorder/Recorder.h"

#include <cstring>
#include <utility>

#include <windows.h>

// What the host and the plug-in call: the entry points, and the call-backs that the plug-in gets
// instead of the host's.

using Recording::Way;

namespace {
ClassicCallBack hostClassic; // the host's own, from its last init record
EngineCallBack hostEngine;

template <typename Record>
std::span<const unsigned char> BytesOf(const Record* record) {
    return {reinterpret_cast<const unsigned char*>(record), record != nullptr ? sizeof *record : 0};
}

template <typename Record>
long CallHost(Way way, long selector, Record* record, long(NIMBO_CDECL* host)(long, Record*)) {
    if (record == nullptr) {
        return host(selector, record);
    }
    RecordedCrossing crossing(way, selector, BytesOf(record), CurrentFrame());
    const Record sent = *record;
    long returned = 0;
    {
        const HandedCode handed(selector, *record);
        returned = host(selector, record);
    }
    if (way == Way::Engine && selector == Select("HandleOperation").engine) {
        LearnHandleSize(sent, *record);
    }
    crossing.End(BytesOf(&sent), returned);
    return returned;
}

HOST_CALL long RecordClassic(long selector, ParameterBlock* record) {
    return CallHost(Way::Classic, selector, record, hostClassic);
}

HOST_CALL long RecordEngine(long selector, FDEngineBlock* record) {
    return CallHost(Way::Engine, selector, record, hostEngine);
}

// The call-backs in an init record are the recorder's for as long as this lives. Hosts before 11.0
// have no second one, and their record may end before it.
class HandedCallBacks {
  public:
    explicit HandedCallBacks(PackInitBlock* itsRecord)
        : record(itsRecord), hasEngine(itsRecord != nullptr && IsEngineHost(*itsRecord)) {
        if (record != nullptr && record->classicCallBack != nullptr) {
            hostClassic = std::exchange(record->classicCallBack, RecordClassic);
        }
        if (hasEngine && record->engineCallBack != nullptr) {
            hostEngine = std::exchange(record->engineCallBack, RecordEngine);
        }
    }
    ~HandedCallBacks() {
        if (record != nullptr && record->classicCallBack == RecordClassic) {
            record->classicCallBack = hostClassic;
        }
        if (hasEngine && record->engineCallBack == RecordEngine) {
            record->engineCallBack = hostEngine;
        }
    }
    HandedCallBacks(const HandedCallBacks&) = delete;
    HandedCallBacks& operator=(const HandedCallBacks&) = delete;

  private:
    static bool IsEngineHost(const PackInitBlock& init) {
        constexpr unsigned long firstVersion = 0x1100;
        return (init.hostVersion & 0xFFFF) >= firstVersion;
    }

    PackInitBlock* record;
    bool hasEngine;
};

bool IsInit(long selector) {
    return selector == -1 || selector == -200;
}

void Enter(Way way, PluginEntryPoint entry, long selector, void* params, void* data, void* result) {
    if (entry == nullptr) {
        return;
    }
    const bool isRecorded = BeginRecording();
    const void* const root[] = {reinterpret_cast<void*>(selector), params, data, result};
    RecordedCrossing crossing(
        way, selector, {reinterpret_cast<const unsigned char*>(root), sizeof root}, CurrentFrame());
    {
        const HandedCallBacks handed(
            isRecorded && IsInit(selector) ? static_cast<PackInitBlock*>(params) : nullptr);
        entry(selector, params, data, result);
        ClearDirectionFlag(); // what a plug-in gets wrong there ends here
    }
    crossing.End();
}
} // namespace

extern "C" {

HOST_ENTRY void FourDPack(long selector, void* params, void* data, void* result) {
    Enter(Way::Pack, ThePlugin().pack, selector, params, data, result);
}

/// The host finds it here even if the plug-in has none, for which its other one serves.
HOST_ENTRY void FourDPackex(long selector, void* params, void* data, void* result) {
    const RecordedPlugin& plugin = ThePlugin();
    if (plugin.packEx == nullptr) {
        return Enter(Way::Pack, plugin.pack, selector, params, data, result);
    }
    Enter(Way::PackEx, plugin.packEx, selector, params, data, result);
}

HOST_ENTRY const PlugInfo* FourDPlugInfo() {
    const RecordedPlugin& plugin = ThePlugin();
    return plugin.describe != nullptr ? plugin.describe() : nullptr;
}

HOST_ENTRY BOOL FourDDllMain(HINSTANCE, DWORD, LPVOID) {
    return TRUE;
}

HOST_ENTRY BOOL DllMain(HINSTANCE library, DWORD reason, LPVOID reserved) {
    if (reason == DLL_PROCESS_ATTACH) {
        AttachRecorder(library);
    } else if (reason == DLL_PROCESS_DETACH) {
        DetachRecorder(reserved != nullptr);
    }
    return TRUE;
}
}
