#pragma once

#include "data/ArrayStorage.h"
#include "fuzz/Harness.h"
#include "host/boundary/Selectors.h"
#include "host/FourD.h"
#include "platform/Toolbox.h"
#include "shell/Entry.h"
#include "testhost/toolbox/Control.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string_view>

/// A host that answers every call with bytes of the input: numbers, names, texts, values and result
/// codes of any kind. What cannot be held against anything else is true: handles are null, the
/// toolbox's or the host's, host strings as long as they say, windows in one list.
///
/// A handle that is the plug-in's comes without an error only, and nobody here releases it; what is
/// the host's, as variables' values are, is released in the end. With the input's end every call
/// fails.
class HostileHost {
  public:
    /// One call to the host.
    struct Call {
        std::string_view service; ///< its name in the table of selectors
        CallFields& fields;
        EngineFields* engine; ///< null in a classic call
        std::span<unsigned char> text;
    };

    HostileHost(Input& bytes, unsigned short itsVersion) : input(bytes), version(itsVersion) {
        ToolboxAllowMixedHandles(1); // a variable's may be either
        current = this;
        globals[11] = &firstWindow;
        for (GrafPort& window : windows) {
            window.windowKind = static_cast<short>(input.Choice(16));
            window.visible = input.ConsumeBool() ? 1 : 0;
            window.nextWindow = &window != &windows.back() ? &window + 1 : nullptr;
        }
    }
    ~HostileHost() {
        ToolboxFailAllocation(0);
        for (const Handle handle : kept) {
            switch (ToolboxHandleOwner(handle)) {
            case HandleOwner::Toolbox:
                DisposeHandle(handle);
                break;
            case HandleOwner::Host:
                ToolboxDisposeHostHandle(handle);
                break;
            default: // the plug-in released it, as it changed a value
                break;
            }
        }
        Require(strings.empty(), "a string of the host's is left alive");
        current = nullptr;
        gHost = {};
    }
    HostileHost(const HostileHost&) = delete;
    HostileHost& operator=(const HostileHost&) = delete;

    /// Any version, and any role.
    static unsigned short AnyVersion(Input& input) {
        constexpr unsigned short versions[] = {0x0600, 0x0680, 0x0800, 0x0801, 0x1030, 0x1100,
                                               0x1120, 0x1130, 0x1200, 0x121F, 0x1220, 0x1290};
        return versions[input.Choice(std::size(versions))];
    }
    /// Starts and stops the plug-in. What it asks for as it starts is nothing but its windows,
    /// unless the input is to say that, too.
    void Start(bool withAnyAnswers = false) {
        isQuiet = !withAnyAnswers;
        PackInitBlock init{version, {}, Classic, 0, Engine};
        FourDPack(-1, &init, nullptr, nullptr);
        isQuiet = false;
    }
    static void Stop() { FourDPack(-2, nullptr, nullptr, nullptr); }

    /// Serves a call in place of the input, where it answers true.
    std::function<bool(Call&)> onCall;

    /// What the last call was answered, if there was one since this was last emptied.
    std::optional<CallFields> answered;
    /// Its system colours, where it tells of them.
    SysColors4D colors{};

    /// What values are of more often than not; -1 for any type alike.
    int likelyType = -1;

    /// A value of any type, or of this one, of which the host owns what it holds, or the plug-in;
    /// arrays and pointers are always the host's.
    void FillValue(ValueBlock& value, bool isHosts, int type = -1);
    /// What a value holds becomes the host's.
    void Keep(const ValueBlock& value);
    void Keep(Handle handle) {
        if (handle != nullptr) {
            kept.insert(handle);
        }
    }
    /// A handle with bytes of the input, or null.
    Handle AnyHandle(bool isHosts, std::size_t least = 0);
    GrafPort* AnyWindow() {
        const unsigned which = input.Choice(std::size(windows) + 1);
        return which < std::size(windows) ? &windows[which] : nullptr;
    }
    FDStringBlock AnyString();
    /// Mostly short ones, so that the first do not use the input up.
    std::string AnyText(std::size_t longest) {
        const unsigned kind = input.Choice(4);
        const std::size_t most = kind == 3 ? longest : std::min<std::size_t>(longest, 3 * kind);
        return input.ConsumeBytesAsString(
            input.ConsumeIntegralInRange<std::size_t>(kind == 3 ? 0 : most, most));
    }

  private:
    static long NIMBO_CDECL Classic(long selector, ParameterBlock* block) {
        const SelectorPair* service = FindSelector(selector, false);
        Require(service != nullptr, "no service has this number");
        Call call{service->name, *block, nullptr, block->valueText};
        return current->Answer(call);
    }
    static long NIMBO_CDECL Engine(long selector, FDEngineBlock* block) {
        const SelectorPair* service = FindSelector(selector, true);
        Require(service != nullptr, "no service has this number");
        Require(current->version >= 0x1100, "a host of this version has no engine calls");
        Call call{service->name, *block, block, block->valueText};
        return current->Answer(call);
    }
    long Answer(Call& call) {
        const long result = Serve(call);
        answered = call.fields;
        return result;
    }
    long Serve(Call& call);
    bool ServeMemory(Call& call);
    bool ServeString(Call& call);
    /// False for a string that the host does not have.
    bool Release(const FDStringBlock& string) {
        unsigned short* const units = string.units; // records are not aligned
        return units == nullptr || strings.erase(units) == 1;
    }
    void WriteWhereAsked(const Call& call, const CallFields& asked);
    void AnswerAddress(Call& call, const CallFields& asked);
    void FillArray(ArrayBlock& array, unsigned char type, int depth);
    /// A number that is not so large that whoever counts to it takes long.
    void Bound(long& number) { number %= 20; }

    static inline HostileHost* current = nullptr;
    Input& input;
    unsigned short version;
    bool isQuiet = false;
    std::set<Handle> kept;
    std::map<unsigned short*, std::unique_ptr<unsigned short[]>> strings;
    std::array<GrafPort, 3> windows{};
    GrafPort* firstWindow = windows.data();
    std::array<void*, 16> globals{};
};

inline Handle HostileHost::AnyHandle(bool isHosts, std::size_t least) {
    const unsigned kind = input.Choice(4);
    if (kind == 0) {
        return nullptr;
    }
    std::string bytes = AnyText(80);
    bytes.resize(std::max(bytes.size(), least));
    const auto size = static_cast<Size>(bytes.size());
    const Handle handle = kind == 1 && isHosts ? ToolboxNewHostHandle(size) : NewHandle(size);
    if (handle != nullptr) {
        bytes.copy(*handle, bytes.size());
        if (isHosts) {
            Keep(handle);
        }
    }
    return handle;
}

inline FDStringBlock HostileHost::AnyString() {
    const std::string bytes = AnyText(40);
    if (bytes.empty()) {
        return {input.ConsumeBool() ? 0 : -1, nullptr, {}};
    }
    const auto length = (bytes.size() + 1) / 2;
    auto units = std::make_unique<unsigned short[]>(length);
    bytes.copy(reinterpret_cast<char*>(units.get()), bytes.size());
    FDStringBlock string{static_cast<long>(length), units.get(), {}};
    strings.emplace(units.get(), std::move(units));
    return string;
}

inline void HostileHost::FillArray(ArrayBlock& array, unsigned char type, int depth) {
    const long count = static_cast<long>(input.Choice(6));
    const long elementSize = ArrayStorage::FixedElementSize(type);
    array = {input.ConsumeBool() ? count - 1 : input.Number(), nullptr,
             input.ConsumeIntegral<short>()};
    const bool holdsAddresses = type == ValueType::TextArray || type == ValueType::PictureArray ||
                                type == ValueType::ArrayOfArrays ||
                                type == ValueType::UnicodeTextArray;
    if (!holdsAddresses) {
        array.elements = AnyHandle(true);
        return;
    }
    const Handle elements = NewHandleClear(count * elementSize);
    array.elements = elements;
    if (elements == nullptr) {
        return;
    }
    Keep(elements);
    HLock(elements);
    for (long i = 0; i < count; ++i) {
        char* const place = *elements + i * elementSize;
        if (type == ValueType::TextArray) {
            auto* text = reinterpret_cast<TextBlock*>(place);
            *text = {input.ConsumeIntegral<short>(), AnyHandle(true)};
        } else if (type == ValueType::PictureArray) {
            *reinterpret_cast<Handle*>(place) = version < 0x1100 ? AnyHandle(true) : nullptr;
        } else if (type == ValueType::ArrayOfArrays && depth == 0) {
            auto* row = reinterpret_cast<ArrayRow*>(place);
            row->type = static_cast<unsigned char>(ValueType::ArrayOfArrays + input.Choice(10));
            FillArray(row->array, row->type, depth + 1);
        }
    }
    HUnlock(elements);
}

inline void HostileHost::FillValue(ValueBlock& value, bool isHosts, int type) {
    input.Fill(value);
    if (type < 0) {
        type = likelyType >= 0 && input.Choice(4) != 0 ? likelyType : value.type % 40;
    }
    value.type = static_cast<unsigned char>(type);
    switch (value.type) {
    case ValueType::Text:
        value.text.text = AnyHandle(isHosts);
        break;
    case ValueType::Picture:
        if (version >= 0x1100) {
            value.picture = nullptr;
            break;
        }
        [[fallthrough]];
    case ValueType::Blob:
        value.blob.data = AnyHandle(isHosts);
        break;
    case ValueType::Pointer:
        value.pointer = AnyHandle(true, sizeof(PointerRecord));
        break;
    case ValueType::UnicodeText:
        value.unicode = isHosts ? FDStringBlock{} : AnyString();
        break;
    case ValueType::ArrayOfArrays:
    case ValueType::RealArray:
    case ValueType::IntegerArray:
    case ValueType::LongArray:
    case ValueType::DateArray:
    case ValueType::TextArray:
    case ValueType::PictureArray:
    case ValueType::StringArray:
    case ValueType::BooleanArray:
    case ValueType::UnicodeTextArray:
        FillArray(value.array, value.type, 0);
        break;
    default:
        break;
    }
}

inline void HostileHost::Keep(const ValueBlock& value) {
    switch (value.type) {
    case ValueType::Text:
        return Keep(value.text.text);
    case ValueType::Picture:
        return version < 0x1100 ? Keep(value.blob.data) : void();
    case ValueType::Blob:
        return Keep(value.blob.data);
    case ValueType::Pointer:
        return Keep(value.pointer);
    case ValueType::UnicodeText:
        Require(Release(value.unicode), "a string that the host does not have is set");
        return;
    default: // what arrays hold was the host's before
        return;
    }
}

/// The memory service tells the truth: nobody else can say how large a host handle is.
inline bool HostileHost::ServeMemory(Call& call) {
    CallFields& fields = call.fields;
    switch (fields.param1) {
    case 1:
        fields.handle = ToolboxNewHostHandle(fields.param2);
        break;
    case 2:
        fields.error = ToolboxDisposeHostHandle(fields.handle);
        break;
    case 3:
        fields.error = ToolboxSetHostHandleSize(fields.handle, fields.param2);
        break;
    case 4:
        fields.param2 = ToolboxHostHandleSize(fields.handle);
        break;
    case 5:
        fields.error = ToolboxLockHostHandle(fields.handle);
        break;
    default:
        fields.error = ToolboxUnlockHostHandle(fields.handle);
        break;
    }
    return true;
}

/// So do the services of strings, apart from refusing.
inline bool HostileHost::ServeString(Call& call) {
    FDStringBlock& string = call.engine->string;
    if (call.service == "DisposeFDString") {
        Require(Release(string), "a string that the host does not have is released");
        return true;
    }
    if (input.IsOver() || input.Choice(8) == 0) {
        call.fields.error = -108;
        return true;
    }
    const auto* text = reinterpret_cast<const unsigned short*>(Handle{call.fields.handle});
    long length = 0;
    while (text[length] != 0) {
        ++length;
    }
    if (call.service == "SetFDString") {
        Require(Release(string), "a string that the host does not have is set");
    }
    auto units = std::make_unique<unsigned short[]>(static_cast<std::size_t>(length) + 1);
    std::copy_n(text, length, units.get());
    string = {length, units.get(), {}};
    strings.emplace(units.get(), std::move(units));
    return true;
}

/// What a call wants written elsewhere than into its record.
inline void HostileHost::WriteWhereAsked(const Call& call, const CallFields& asked) {
    const std::string_view service = call.service;
    const Handle place = asked.handle;
    if (service == "GetVariable" || service == "GetVariableIP" || service == "GetProcessVariable" ||
        service == "GetLongIPVar" || service == "DialogGetVar") {
        if (place != nullptr) {
            FillValue(*reinterpret_cast<ValueBlock*>(place), true);
        }
    } else if (service == "SetVariable" || service == "SetVariableIP" ||
               service == "SetProcessVariable" || service == "DialogSetVar") {
        if (place != nullptr && call.fields.error == 0) {
            Keep(*reinterpret_cast<const ValueBlock*>(place));
        }
    } else if (service == "ExecTokenizedFunc" || service == "ExecLongFunc" ||
               service == "ExecRealFunc") {
        auto& value = *reinterpret_cast<ValueBlock*>(asked.param1);
        if (call.fields.error == 0) {
            FillValue(value, false, value.type == ValueType::Undefined ? -1 : value.type);
        }
    } else if (service == "NextEvent") {
        input.Fill(*reinterpret_cast<EventRecord*>(place));
    } else if (service == "ConvertCharacters") {
        const auto length = std::strlen(reinterpret_cast<const char*>(asked.param3));
        const std::string text = input.Text(length);
        std::memcpy(reinterpret_cast<char*>(asked.param4), text.c_str(), text.size() + 1);
    } else if (service == "PrefsFolderPath") {
        const std::string text = input.Text(static_cast<std::size_t>(asked.param4));
        text.copy(reinterpret_cast<char*>(asked.param3), text.size());
    } else if (service == "PictureData" && place != nullptr) {
        SetHandleSize(place, static_cast<Size>(input.Choice(100)));
    } else if (service == "ExecuteOnMainThread" && call.engine != nullptr) {
        call.engine->mainThreadProc(call.engine->mainThreadArg);
    }
}

/// Handles, windows and strings, in whichever field a service answers one.
inline void HostileHost::AnswerAddress(Call& call, const CallFields& asked) {
    const std::string_view service = call.service;
    CallFields& fields = call.fields;
    const bool isAnswered = fields.error == 0;
    const auto handle = [&] { return isAnswered ? AnyHandle(false) : nullptr; };
    fields.handle = asked.handle;
    if (service == "MacGlobals") {
        fields.handle = reinterpret_cast<Handle>(input.Choice(4) != 0 ? globals.data() : nullptr);
    } else if (service == "SystemColors") {
        input.Fill(colors);
        fields.handle = reinterpret_cast<Handle>(input.ConsumeBool() ? &colors : nullptr);
    } else if (service == "FocusedWindow" || service == "FloatingWindow") {
        fields.handle = reinterpret_cast<Handle>(AnyWindow());
    } else if (service == "WindowFromDialog") {
        fields.param2 = reinterpret_cast<long>(AnyWindow());
    } else if (service == "TokenizeProc") {
        fields.param1 = reinterpret_cast<long>(handle());
    } else if (service == "TokenizeProcV12") {
        const Handle tokens = isAnswered ? ToolboxNewHostHandle(input.Choice(40)) : nullptr;
        fields.param1 = reinterpret_cast<long>(tokens);
    } else if (service == "DetokenizeProc") {
        const Handle record = isAnswered ? NewHandleClear(sizeof(TERec)) : nullptr;
        fields.handle = record;
        if (record != nullptr) {
            const Handle text = AnyHandle(false);
            auto* edit = reinterpret_cast<TERec*>(*record);
            edit->hText = text;
            edit->teLength = input.ConsumeIntegral<short>();
        }
    } else if (service == "EditPicture" || service == "EditFormula") {
        const bool isAccepted = isAnswered && fields.param1 != 0;
        if ((isAccepted || service == "EditFormula") && input.ConsumeBool()) { // another one
            if (asked.handle != nullptr) {
                DisposeHandle(asked.handle);
            }
            fields.handle = AnyHandle(false);
        }
    } else if (service == "DialogGetTextVar" || service == "DialogGetArrayElementText" ||
               service == "CreateNativeBitmapImage") {
        if (call.engine == nullptr || service == "CreateNativeBitmapImage") {
            fields.handle = AnyHandle(false);
        } else {
            call.engine->string = AnyString();
        }
    } else if (service == "StructureFolderPath" || service == "HostFolderPath" ||
               (service == "PictureData" && asked.handle == nullptr)) {
        if (call.engine != nullptr && (isAnswered || service == "StructureFolderPath")) {
            call.engine->string = AnyString();
        }
    } else if (service == "GetFieldData") {
        fields.param1 = static_cast<long>(input.Choice(40));
        fields.handle = handle();
    } else if (service == "GetPackedRecord" || service == "PrintInfo" || service == "GetRes" ||
               service == "ResTypeList" || service == "ResIDList" || service == "ReadOnServer") {
        fields.handle = handle();
    } else if (service == "DialogGetUserData") {
        fields.handle = nullptr;
    }
}

inline long HostileHost::Serve(Call& call) {
    if (call.service == "HandleOperation") {
        return ServeMemory(call);
    }
    if (call.service == "CreateFDString" || call.service == "SetFDString" ||
        call.service == "DisposeFDString") {
        return ServeString(call);
    }
    if (onCall && onCall(call)) {
        return 0;
    }
    CallFields& fields = call.fields;
    if (input.IsOver()) {
        fields.error = -1;
        return -1;
    }
    const CallFields asked = fields;
    if (isQuiet) {
        if (call.service == "MacGlobals") {
            fields.handle = reinterpret_cast<Handle>(globals.data());
        }
        return 0;
    }
    switch (input.Choice(4)) {
    case 0:
        input.Fill(fields);
        break;
    case 1: {
        const std::string name = AnyText(64);
        fields.name[0] = static_cast<unsigned char>(input.ConsumeBool() ? name.size() : 255);
        std::copy(name.begin(), name.end(), fields.name + 1);
        const std::string text = AnyText(call.text.size());
        std::copy(text.begin(), text.end(), call.text.begin());
        if (call.engine != nullptr) {
            for (unsigned short* units : {call.engine->uniName, call.engine->uniText}) {
                const std::string bytes = AnyText(sizeof call.engine->uniName);
                bytes.copy(reinterpret_cast<char*>(units), bytes.size());
            }
        }
        break;
    }
    default:
        fields.param1 = input.Number();
        fields.param2 = input.Number();
        fields.value.real.value = static_cast<double>(fields.param1);
        break;
    }
    fields.error = input.Choice(4) == 0 ? input.ConsumeIntegral<short>() : short{0};
    if (call.service == "ProcessCounts" || call.service == "DialogGetArraySize") {
        Bound(fields.param1);
        Bound(fields.param2);
    }
    AnswerAddress(call, asked);
    WriteWhereAsked(call, asked);
    return fields.error;
}
