#include "recording/Places.h"

#include "host/boundary/AreaEvents.h"
#include "host/boundary/Calls.h"
#include "host/boundary/Fields.h"
#include "platform/Types.h"
#include "testhost/plugins/Arguments.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <string_view>

namespace {
using namespace Recording;

// --- What calls into the host lead to ---------------------------------------------------------

enum When : unsigned char {
    Sent = 1,
    Answered = 2,
    Both = 3,
    Slot = 4, ///< answered; when it is sent, it is where the answer goes
};
enum Record : unsigned char { ClassicRecord = 1, EngineRecord = 2, AnyRecord = 3 };

NIMBO_ALLOW_OFFSETS_BEHIND_BASES

// Where in a record, as offsets: of the fields that both records share, from the first of them.
enum Where : unsigned short {
    InHandle = offsetof(ParameterBlock, handle),
    InParam1 = offsetof(ParameterBlock, param1),
    InParam2 = offsetof(ParameterBlock, param2),
    InParam3 = offsetof(ParameterBlock, param3),
    InParam4 = offsetof(ParameterBlock, param4),
};
constexpr size_t sharedInEngine = offsetof(FDEngineBlock, table);
constexpr size_t stringInEngine = offsetof(FDEngineBlock, string);
constexpr size_t pictureInEngine = offsetof(FDEngineBlock, picture);
constexpr size_t mainThreadProc = offsetof(FDEngineBlock, mainThreadProc);
constexpr size_t mainThreadArg = offsetof(FDEngineBlock, mainThreadArg);

NIMBO_ALLOWED

struct CallPlace {
    std::string_view service;
    When when;
    Record record;
    Where where;
    Target target;
    Form form = Form::None;
    unsigned short size = 0;
};

constexpr Target Mem = Target::Memory;

// Every address in the fields that all calls share, service by service. What a dialog's calls have
// in param1, and what host strings and pictures lead to, is seen to apart.
constexpr CallPlace callPlaces[] = {
    // Values
    {"GetProcessVariable", Slot, AnyRecord, InHandle, Mem, Form::Value, sizeof(ValueBlock)},
    {"GetVariable", Slot, AnyRecord, InHandle, Mem, Form::Value, sizeof(ValueBlock)},
    {"GetVariableIP", Slot, AnyRecord, InHandle, Mem, Form::Value, sizeof(ValueBlock)},
    {"GetLongIPVar", Slot, AnyRecord, InHandle, Mem, Form::Value, sizeof(ValueBlock)},
    {"DialogGetVar", Slot, AnyRecord, InHandle, Mem, Form::Value, sizeof(ValueBlock)},
    {"SetProcessVariable", Sent, AnyRecord, InHandle, Mem, Form::Value, sizeof(ValueBlock)},
    {"SetVariable", Sent, AnyRecord, InHandle, Mem, Form::Value, sizeof(ValueBlock)},
    {"SetVariableIP", Sent, AnyRecord, InHandle, Mem, Form::Value, sizeof(ValueBlock)},
    {"DialogSetVar", Sent, AnyRecord, InHandle, Mem, Form::Value, sizeof(ValueBlock)},

    // Records and fields
    {"GetFieldData", Answered, AnyRecord, InHandle, Target::Handle, Form::Bytes},
    {"SetFieldData", Sent, AnyRecord, InHandle, Target::Handle, Form::Bytes},
    {"GetPackedRecord", Answered, AnyRecord, InHandle, Target::Handle, Form::Bytes},
    {"SetPackedRecord", Sent, AnyRecord, InHandle, Target::Handle, Form::Bytes},

    // Environment
    {"PrefsFolderPath", Slot, AnyRecord, InParam3, Mem, Form::Bytes},
    {"MacGlobals", Answered, AnyRecord, InHandle, Mem, Form::Globals, 128},
    {"SystemColors", Answered, AnyRecord, InHandle, Mem, Form::Bytes, 24},
    {"ConvertCharacters", Sent, AnyRecord, InParam3, Mem, Form::CString},
    {"ConvertCharacters", Slot, AnyRecord, InParam4, Mem, Form::CString},

    // Statements, expressions and methods
    {"ExecProc", Sent, ClassicRecord, InHandle, Target::Handle, Form::Bytes},
    {"ExecLongFunc", Sent, AnyRecord, InHandle, Target::Handle, Form::Bytes},
    {"ExecLongFunc", Slot, AnyRecord, InParam1, Mem, Form::Value, sizeof(ValueBlock)},
    {"ExecRealFunc", Sent, AnyRecord, InHandle, Target::Handle, Form::Bytes},
    {"ExecRealFunc", Slot, AnyRecord, InParam1, Mem, Form::Value, sizeof(ValueBlock)},
    {"TokenizeProc", Sent, AnyRecord, InHandle, Target::Handle, Form::Bytes},
    {"TokenizeProc", Answered, AnyRecord, InParam1, Target::Handle, Form::Bytes},
    {"TokenizeProcV12", Answered, AnyRecord, InParam1, Target::HostHandle, Form::Bytes},
    {"ExecTokenizedProc", Sent, AnyRecord, InHandle, Target::Handle, Form::Bytes},
    {"ExecTokenizedFunc", Sent, ClassicRecord, InHandle, Target::Handle, Form::Bytes},
    {"ExecTokenizedFunc", Sent, EngineRecord, InHandle, Target::HostHandle, Form::Bytes},
    {"ExecTokenizedFunc", Slot, AnyRecord, InParam1, Mem, Form::Value, sizeof(ValueBlock)},
    {"DetokenizeProc", Sent, AnyRecord, InParam1, Target::Handle, Form::Bytes},
    {"DetokenizeProc", Answered, AnyRecord, InHandle, Target::Handle, Form::TextEdit},
    {"ByteSwapTokens", Both, AnyRecord, InHandle, Target::Handle, Form::Bytes},
    {"CallMethodID", Sent, AnyRecord, InHandle, Target::Handle, Form::Bytes},
    {"EditFormula", Both, AnyRecord, InHandle, Target::Handle, Form::Bytes},
    {"Alert", Sent, ClassicRecord, InParam1, Mem, Form::PascalString},
    {"Confirm", Sent, ClassicRecord, InParam1, Mem, Form::PascalString},

    // Memory, texts and pictures
    {"HandleOperation", Both, AnyRecord, InHandle, Target::HostHandle, Form::Bytes},
    {"CreateFDString", Sent, EngineRecord, InHandle, Mem, Form::Units},
    {"SetFDString", Sent, EngineRecord, InHandle, Mem, Form::Units},
    {"PictureData", Both, AnyRecord, InHandle, Target::Handle, Form::Bytes},
    {"CreateNativeBitmapImage", Answered, AnyRecord, InHandle, Target::Thing},
    {"EditPicture", Both, AnyRecord, InHandle, Target::Handle, Form::Bytes},
    {"PrintInfo", Answered, AnyRecord, InHandle, Target::Handle, Form::Bytes},

    // Processes, the server
    {"NextEvent", Slot, AnyRecord, InHandle, Mem, Form::Event, sizeof(EventRecord)},
    {"PostProcessEvent", Sent, AnyRecord, InHandle, Mem, Form::Event, sizeof(EventRecord)},
    {"NewProcess", Sent, AnyRecord, InHandle, Target::Code},
    {"ReadOnServer", Answered, AnyRecord, InHandle, Target::Handle, Form::Bytes},
    {"WriteOnServer", Sent, AnyRecord, InHandle, Target::Handle, Form::Bytes},

    // Windows
    {"WindowProcess", Sent, AnyRecord, InHandle, Target::Thing},
    {"SetWindowProcess", Sent, AnyRecord, InHandle, Target::Thing},
    {"NativeWindow", Sent, AnyRecord, InHandle, Target::Thing},
    {"NativeWindow", Answered, AnyRecord, InParam1, Target::Thing},
    {"UpdateDrawingContext", Answered, AnyRecord, InParam1, Target::Thing},
    {"SetWindowFocused", Sent, AnyRecord, InHandle, Target::Thing},
    {"IsWindowFocused", Sent, AnyRecord, InHandle, Target::Thing},
    {"SetWindowFocusable", Sent, AnyRecord, InHandle, Target::Thing},
    {"IsWindowFocusable", Sent, AnyRecord, InHandle, Target::Thing},
    {"SetExternalWindowTitle", Sent, AnyRecord, InParam1, Target::Thing},
    {"FloatingWindow", Answered, AnyRecord, InHandle, Mem, Form::Window, sizeof(GrafPort)},
    {"FloatingWindow", Answered, AnyRecord, InHandle, Target::Thing},
    {"FocusedWindow", Answered, AnyRecord, InHandle, Mem, Form::Window, sizeof(GrafPort)},
    {"FocusedWindow", Answered, AnyRecord, InHandle, Target::Thing},
    {"MethodEditorText", Sent, AnyRecord, InHandle, Target::Thing},
    {"MethodEditorText", Answered, AnyRecord, InParam1, Target::Handle, Form::TextEdit},
    {"MethodEditorLine", Sent, AnyRecord, InHandle, Target::Thing},
    {"CurrentTextEdit", Answered, AnyRecord, InParam1, Target::Handle, Form::TextEdit},

    // Dialogs
    {"CreateFourDDialog", Sent, AnyRecord, InHandle, Mem, Form::Rect, sizeof(Rect)},
    {"CreateFourDDialog", Both, AnyRecord, InParam1, Target::Thing},
    {"CreateFourDDialogContext", Answered, AnyRecord, InParam1, Target::Thing},
    {"ModalDialog", Both, AnyRecord, InParam1, Target::Thing},
    {"ModalDialog", Sent, ClassicRecord, InHandle, Target::Code},
    {"DialogSetAreaHandler", Sent, AnyRecord, InParam3, Target::Code},
    {"DialogSetAreaHandler", Sent, AnyRecord, InParam4, Target::Code},
    {"DialogSetAreaHandler", Sent, AnyRecord, InHandle, Target::Token},
    {"DialogSetUserData", Sent, AnyRecord, InHandle, Target::Token},
    {"DialogGetUserData", Answered, AnyRecord, InHandle, Target::Token},
    {"DialogSwitchTo4DContext", Answered, AnyRecord, InParam2, Target::Thing},
    {"DialogSwitchToDlogContext", Sent, AnyRecord, InParam2, Target::Thing},
    {"DialogFromWindow", Sent, AnyRecord, InParam2, Target::Thing},
    {"DialogFromWindow", Answered, AnyRecord, InParam1, Target::Thing},
    {"WindowFromDialog", Sent, AnyRecord, InParam1, Target::Thing},
    {"WindowFromDialog", Answered, AnyRecord, InParam2, Mem, Form::Window, sizeof(GrafPort)},
    {"WindowFromDialog", Answered, AnyRecord, InParam2, Target::Thing},
    {"DialogSetTextVar", Sent, ClassicRecord, InHandle, Target::Handle, Form::Bytes},
    {"DialogGetTextVar", Answered, ClassicRecord, InHandle, Target::Handle, Form::Bytes},
    {"DialogSetPictureVar", Sent, AnyRecord, InHandle, Target::Handle, Form::Bytes},
    {"DialogSetArrayElementText", Sent, AnyRecord, InHandle, Target::Handle, Form::Bytes},
    {"DialogSetArrayElementPicture", Sent, AnyRecord, InHandle, Target::Handle, Form::Bytes},
    {"DialogGetArrayElementText", Answered, ClassicRecord, InHandle, Target::Handle, Form::Bytes},
    {"DialogLoadTextArrayFromTTR", Sent, AnyRecord, InHandle, Target::Handle, Form::Bytes},

    // The structure's resources
    {"ResIDList", Answered, AnyRecord, InHandle, Target::Handle, Form::Bytes},
    {"ResTypeList", Answered, AnyRecord, InHandle, Target::Handle, Form::Bytes},
    {"GetRes", Answered, AnyRecord, InHandle, Target::Handle, Form::Bytes},
    {"SetRes", Sent, AnyRecord, InHandle, Target::Handle, Form::Bytes},
    {"AddRes", Sent, AnyRecord, InHandle, Target::Handle, Form::Bytes},
};

// Whether a service has its dialog in param1, which the table above does not say of each.
constexpr bool IsOfDialog(std::string_view service) {
    return service.starts_with("Dialog") && service != "DialogFromWindow";
}

constexpr bool Names(const CallPlace& place) {
    return std::ranges::any_of(
        SelectorTable, [&](const SelectorPair& pair) { return pair.name == place.service; });
}
static_assert(std::ranges::all_of(callPlaces, Names), "a place of a service that there is not");

// The places of a service stand together: the first of them, and how many there are.
struct Run {
    unsigned short first = 0;
    unsigned short count = 0;
};

constexpr auto runs = [] {
    std::array<Run, std::size(SelectorTable)> all{};
    for (size_t selector = 0; selector < all.size(); ++selector) {
        for (size_t place = 0; place < std::size(callPlaces); ++place) {
            if (callPlaces[place].service == SelectorTable[selector].name) {
                all[selector].first = all[selector].count == 0 ? static_cast<unsigned short>(place)
                                                               : all[selector].first;
                ++all[selector].count;
            }
        }
    }
    return all;
}();

constexpr bool StandTogether(const Run& run) {
    for (size_t place = run.first; place < size_t{run.first} + run.count; ++place) {
        if (callPlaces[place].service != callPlaces[run.first].service) {
            return false;
        }
    }
    return true;
}
static_assert(std::ranges::all_of(runs, StandTogether));

// Selectors are small: a table that is as long as they reach finds them at once.
constexpr long farthestSelector = 1024;
using SelectorIndex = std::array<short, 2 * farthestSelector>;

constexpr SelectorIndex IndexOf(bool engine) {
    SelectorIndex index{};
    index.fill(-1);
    for (size_t place = 0; place < std::size(SelectorTable); ++place) {
        const long number = engine ? SelectorTable[place].engine : SelectorTable[place].classic;
        if (number != 0) {
            index.at(static_cast<size_t>(number + farthestSelector)) = static_cast<short>(place);
        }
    }
    return index;
}
constexpr SelectorIndex classicIndex = IndexOf(false);
constexpr SelectorIndex engineIndex = IndexOf(true);

// Where in SelectorTable the call stands; -1: nowhere.
int FindService(long selector, bool engine) {
    if (selector < -farthestSelector || selector >= farthestSelector) {
        return -1;
    }
    const auto place = static_cast<size_t>(selector + farthestSelector);
    return engine ? engineIndex[place] : classicIndex[place];
}

// --- What is read out of bytes ----------------------------------------------------------------

using Bytes = std::span<const unsigned char>;

// 0 where they do not reach.
template <typename Number>
Number Load(Bytes bytes, size_t offset) {
    Number number = 0;
    if (offset <= bytes.size() && bytes.size() - offset >= sizeof number) {
        std::memcpy(&number, &bytes[offset], sizeof number);
    }
    return number;
}

// --- What the plug-in is called with ------------------------------------------------------------

namespace Entry {
enum : long {
    Init = -1,
    InitEx = -200,
    ClientConnect = -201,
    ClientDisconnect = -202,
    ServerRead = -205,
    ServerWrite = -206,
    ServerCleanup = -207,
};
}
constexpr size_t paramsWord = 4; // behind the selector
constexpr size_t dataWord = 8;
constexpr size_t resultWord = 12;
constexpr size_t wordSize = 4;
constexpr size_t requestSize = 18;
constexpr size_t lateConnectSize = 20; // of hosts from 11.3 to 12.1
constexpr size_t requestDataSize = 6;  // where in a request
constexpr int mostWindows = 32;

constexpr unsigned short engineVersion = 0x1100;

constexpr size_t pointerBlockSize = offsetof(ValueBlock, pointer) + sizeof(Handle);

// Whether this looks like a pointer as compiled databases hand it over: not like the number of its
// type, behind which there would be zeros.
bool IsPointerBlock(Bytes bytes) {
    return bytes.size() >= pointerBlockSize && bytes[0] == ValueType::Pointer && bytes[1] == 0 &&
           Load<unsigned short>(bytes, offsetof(ValueBlock, pointer)) != 0;
}

class Walk {
  public:
    Walk(const Crossing& itsCrossing, const Surroundings& itsSurroundings, Visitor& itsVisitor)
        : crossing(itsCrossing), surroundings(itsSurroundings), visitor(itsVisitor) {}

    void Call() {
        const bool engine = crossing.way == Way::Engine;
        const size_t shared = engine ? sharedInEngine : 0;
        const int service = FindService(crossing.selector, engine);
        if (engine) {
            HostString({0, crossing.root}, stringInEngine);
            See({.offset = pictureInEngine, .target = Target::Thing});
        }
        if (service < 0) {
            return;
        }
        const std::string_view name = SelectorTable[service].name;
        if (IsOfDialog(name)) {
            See({.offset = shared + InParam1, .target = Target::Thing});
        }
        if (name == "ExecuteOnMainThread" && engine && !crossing.isOver) {
            See({.offset = mainThreadProc, .target = Target::Code});
            See({.offset = mainThreadArg, .target = Target::Token});
        }
        const Run run = runs[static_cast<size_t>(service)];
        Parent former; // what the place before this one leads to
        for (const CallPlace& place : std::span(callPlaces).subspan(run.first, run.count)) {
            const Record record = engine ? EngineRecord : ClassicRecord;
            const bool isSlot = place.when == Slot && !crossing.isOver;
            const unsigned char when = crossing.isOver ? Answered : Sent;
            if ((place.record & record) == 0) {
                continue;
            }
            if (IsLeftOver(place, name, shared)) {
                See({.offset = shared + place.where, .target = Target::Token});
                continue;
            }
            if (place.when != Slot && (place.when & when) == 0) {
                continue;
            }
            size_t size = place.size;
            if (name == "PrefsFolderPath") {
                size = BufferSize(shared);
            } else if (isSlot && place.form == Form::CString) {
                size = former.bytes.size(); // a converted text is as long as it was
            }
            former = See({.offset = shared + place.where,
                          .target = place.target,
                          .form = place.form,
                          .size = size,
                          .isSlot = isSlot});
        }
    }

    void Pack() {
        See({.offset = dataWord, .form = Form::None});
        if (crossing.selector > 0) {
            return Command();
        }
        switch (crossing.selector) {
        case Entry::Init:
        case Entry::InitEx:
            See({.offset = paramsWord,
                 .form = Form::Init,
                 .size = surroundings.version >= engineVersion
                             ? sizeof(PackInitBlock)
                             : offsetof(PackInitBlock, engineCallBack)});
            break;
        case Entry::ClientConnect:
            See({.offset = paramsWord,
                 .form = Form::Request,
                 .size = surroundings.version >= 0x1130 && surroundings.version < 0x1220
                             ? lateConnectSize
                             : requestSize});
            See({.offset = resultWord, .form = Form::Bytes, .size = wordSize});
            break;
        case Entry::ClientDisconnect:
            Request();
            break;
        case Entry::ServerRead:
        case Entry::ServerWrite:
        case Entry::ServerCleanup:
            ServerMessage();
            break;
        default: // numbers, or nothing
            break;
        }
    }

    /// To be called at the end.
    void Rest() {
        for (size_t place = 0; place < postponedCount;
             ++place) { // and those that come up meanwhile
            Elements(postponed[place].storage, postponed[place].type);
        }
    }

    void MainThread() { See({.offset = 0, .target = Target::Token}); }

    void Filter() {
        See({.offset = 0, .target = Target::Thing});
        See({.offset = 4, .form = Form::Event, .size = sizeof(EventRecord)});
        See({.offset = 8, .form = Form::PascalString});
    }

    void Area() {
        Token({0, crossing.root}, 0);
        See({.offset = 4, .form = Form::PascalString});
        See({.offset = 8, .form = Form::Rect, .size = sizeof(Rect)});
        See({.offset = 12, .form = Form::AreaEvent, .size = sizeof(EventRecord)});
    }

  private:
    // Bytes in which further addresses stand, and the number under which the visitor has them.
    struct Parent {
        unsigned item = 0;
        Bytes bytes;
    };

    Parent See(Place place) { return See({0, crossing.root}, place); }

    Parent See(const Parent& parent, Place place) {
        const auto address = Load<std::uint32_t>(parent.bytes, place.offset);
        if (address == 0) {
            return {};
        }
        place.parent = parent.item;
        const Visitor::Found found = visitor.Visit(place, address);
        const Parent there{found.item, found.bytes};
        if (place.isSlot || there.bytes.empty()) {
            return there;
        }
        // Of very many elements a visitor may leave some out: other things come before them.
        if (place.form == Form::Elements && postponedCount < postponed.size()) {
            postponed[postponedCount++] = {there, place.detail};
        } else {
            Descend(place, there);
        }
        return there;
    }

    void Descend(const Place& place, const Parent& there) {
        switch (place.form) {
        case Form::Value:
            return Value(there, ValueKind::None);
        case Form::Elements:
            return Elements(there, place.detail);
        case Form::AreaEvent:
            return AreaMessage(there);
        case Form::Init:
            return InitRecord(there);
        case Form::TextEdit:
            See(there, {.offset = offsetof(TERec, hText), .target = Target::Handle});
            return;
        case Form::Window:
            return Window(there);
        case Form::Globals:
            return Globals(there);
        case Form::Parameters:
            return Parameters(there);
        case Form::Parameter:
        case Form::Target:
            return Stored(there, static_cast<ValueKind>(place.detail), targetKind);
        case Form::Result:
            return Result(there, static_cast<ValueKind>(place.detail));
        default:
            return;
        }
    }

    // --- Calls -----------------------------------------------------------------------------------

    // Whether what stands there is what the plug-in had left in the record, at which the host does
    // not look: where the answer will be, or would have been; or no handle, as a field's type says.
    bool IsLeftOver(const CallPlace& place, std::string_view name, size_t shared) const {
        const size_t offset = shared + place.where;
        if (name == "SetFieldData") {
            const auto type =
                static_cast<short>(Load<std::int32_t>(crossing.root, shared + InParam1));
            return CarrierOf(type) != FieldCarrier::Bytes;
        }
        return place.when == Answered &&
               (!crossing.isOver ||
                (!crossing.sent.empty() && Load<std::uint32_t>(crossing.sent, offset) ==
                                               Load<std::uint32_t>(crossing.root, offset)));
    }

    // What of the folder's buffer there is: before it, what was sent says so.
    size_t BufferSize(size_t shared) const {
        const auto size = Load<std::int32_t>(crossing.root, shared + InParam4);
        return size > 0 ? static_cast<size_t>(size) : 0;
    }

    // Its characters are the host's, which knows the string by their address and its own words.
    void HostString(const Parent& parent, size_t offset) {
        const auto length = Load<std::int32_t>(parent.bytes, offset);
        const size_t units = offset + offsetof(FDStringBlock, units);
        if (length > 0) {
            See(parent, {.offset = units,
                         .form = Form::Units,
                         .size = static_cast<size_t>(length) * sizeof(short)});
        }
        See(parent, {.offset = units, .target = Target::Thing});
        const size_t own = offset + offsetof(FDStringBlock, hostPrivate);
        See(parent, {.offset = own, .target = Target::Thing});
        See(parent, {.offset = own + wordSize, .target = Target::Thing});
    }

    // --- Values ----------------------------------------------------------------------------------

    void BytesHandle(const Parent& parent, size_t offset) {
        See(parent, {.offset = offset, .target = Target::Handle});
    }

    void SeeArray(const Parent& parent, size_t offset, unsigned char type) {
        See(parent, {.offset = offset + offsetof(ArrayBlock, elements),
                     .target = Target::Handle,
                     .form = Form::Elements,
                     .detail = type});
    }

    bool HasEngine() const { return surroundings.version >= engineVersion; }

    // A value block; `target` is what a pointer leads to.
    void Value(const Parent& block, ValueKind target) {
        constexpr size_t contents = offsetof(ValueBlock, real);
        const unsigned char type = block.bytes[0];
        switch (type) {
        case ValueType::Text:
            return BytesHandle(block, contents + offsetof(TextBlock, text));
        case ValueType::Picture:
            if (HasEngine()) {
                See(block, {.offset = contents, .target = Target::Thing});
                return;
            }
            [[fallthrough]];
        case ValueType::Blob:
            return BytesHandle(block, contents + offsetof(BlobBlock, data));
        case ValueType::UnicodeText:
            return HostString(block, contents);
        case ValueType::Pointer:
            See(block, {.offset = contents,
                        .target = Target::Handle,
                        .form = Form::Target,
                        .detail = static_cast<std::uint8_t>(target)});
            return;
        default:
            if (IsArrayType(type)) {
                SeeArray(block, contents, type);
            }
        }
    }

    static bool IsArrayType(unsigned char type) {
        return (type >= ValueType::ArrayOfArrays && type <= ValueType::BooleanArray &&
                type != 20) ||
               type == ValueType::UnicodeTextArray;
    }

    void Elements(const Parent& storage, unsigned char type) {
        const auto each = [&](size_t size, auto see) {
            for (size_t offset = 0; offset + size <= storage.bytes.size(); offset += size) {
                see(offset);
            }
        };
        switch (type) {
        case ValueType::TextArray:
            return each(sizeof(TextBlock), [&](size_t offset) {
                BytesHandle(storage, offset + offsetof(TextBlock, text));
            });
        case ValueType::PictureArray:
            return each(sizeof(Handle), [&](size_t offset) { BytesHandle(storage, offset); });
        case ValueType::UnicodeTextArray:
            return each(sizeof(FDStringBlock), [&](size_t offset) { HostString(storage, offset); });
        case ValueType::ArrayOfArrays:
            return each(sizeof(ArrayRow), [&](size_t offset) {
                // Rows have no rows of their own.
                if (const unsigned char row = storage.bytes[offset];
                    IsArrayType(row) && row != ValueType::ArrayOfArrays) {
                    SeeArray(storage, offset + offsetof(ArrayRow, array), row);
                }
            });
        default:
            return;
        }
    }

    // What lies in storage of a kind, without what a value block around it would say.
    void Stored(const Parent& storage, ValueKind kind, ValueKind target) {
        switch (kind) {
        case ValueKind::Text:
            return BytesHandle(storage, offsetof(TextBlock, text));
        case ValueKind::Picture:
        case ValueKind::HandleBytes:
            return BytesHandle(storage, 0);
        default:
            if (IsBlock(kind)) {
                Value(storage, target);
            }
        }
    }

    static bool IsBlock(ValueKind kind) {
        return kind == ValueKind::Value || kind == ValueKind::Pointer || IsArray(kind);
    }

    // --- Records of the host
    // -----------------------------------------------------------------------

    void AreaMessage(const Parent& event) {
        constexpr size_t message = offsetof(EventRecord, message);
        switch (Load<unsigned short>(event.bytes, 0)) {
        case AreaEvent::CreateWithBlock:
            See(event, {.offset = message, .form = Form::AreaInit, .size = sizeof(AreaInitBlock)});
            break;
        case AreaEvent::ShowProperties:
        case AreaEvent::DisposeProperties:
        case AreaEvent::SetupMenus:
        case AreaEvent::CanAcceptDrag:
        case AreaEvent::Drop: // a record of which nothing is known
            See(event, {.offset = message, .target = Target::Thing});
            break;
        default:
            break;
        }
    }

    void InitRecord(const Parent& record) {
        constexpr size_t own = offsetof(PackInitBlock, hostPrivate);
        See(record, {.offset = own, .target = Target::Thing});
        See(record, {.offset = own + wordSize, .target = Target::Thing});
        See(record, {.offset = offsetof(PackInitBlock, classicCallBack), .target = Target::Code});
        See(record, {.offset = offsetof(PackInitBlock, engineCallBack), .target = Target::Code});
    }

    void Window(const Parent& window) {
        if (++windows > mostWindows) {
            return;
        }
        const Parent region = See(
            window, {.offset = offsetof(GrafPort, contRgn), .form = Form::Word, .size = wordSize});
        if (!region.bytes.empty()) {
            See(region, {.offset = 0, .form = Form::Bytes, .size = sizeof(Region)});
        }
        constexpr size_t next = offsetof(GrafPort, nextWindow);
        See(window, {.offset = next, .form = Form::Window, .size = sizeof(GrafPort)});
        See(window, {.offset = next, .target = Target::Thing});
    }

    Parent Request() {
        return See({.offset = paramsWord, .form = Form::Request, .size = requestSize});
    }

    // Plug-ins find the foremost window there, and go on from it.
    void Globals(const Parent& globals) {
        constexpr size_t windowList = 11 * wordSize;
        const Parent list =
            See(globals, {.offset = windowList, .form = Form::Word, .size = wordSize});
        if (!list.bytes.empty()) {
            See(list, {.offset = 0, .form = Form::Window, .size = sizeof(GrafPort)});
            See(list, {.offset = 0, .target = Target::Thing});
        }
    }

    // The result cell holds the address of the data: what came with a write, and what a read
    // answers, by which the plug-in knows it when it is cleaned up.
    void ServerMessage() {
        const Parent request = Request();
        const Parent cell = See({.offset = resultWord, .form = Form::Word, .size = wordSize});
        if (cell.bytes.empty()) {
            return;
        }
        const auto size = Load<std::int32_t>(request.bytes, requestDataSize);
        const bool isRead = crossing.selector == Entry::ServerRead;
        if (size > 0 && (isRead ? crossing.isOver : crossing.selector == Entry::ServerWrite)) {
            See(cell, {.offset = 0, .form = Form::Bytes, .size = static_cast<size_t>(size)});
        }
        if (isRead ? crossing.isOver : crossing.selector == Entry::ServerCleanup) {
            See(cell, {.offset = 0, .target = Target::Token});
        }
    }

    // --- Commands --------------------------------------------------------------------------------

    void Command() {
        const Usage* usage = crossing.usage;
        if (usage == nullptr) {
            return;
        }
        if (!usage->parameters.empty()) {
            See({.offset = paramsWord,
                 .form = Form::Parameters,
                 .size = usage->parameters.size() * wordSize});
        }
        if (usage->result != ValueKind::None) {
            See({.offset = resultWord,
                 .form = Form::Result,
                 .size = wordSize,
                 .detail = static_cast<std::uint8_t>(usage->result)});
        }
    }

    void Parameters(const Parent& array) {
        for (size_t number = 0; number < crossing.usage->parameters.size(); ++number) {
            const Usage::Parameter& parameter = crossing.usage->parameters[number];
            const size_t offset = number * wordSize;
            if (crossing.usage->isArea && parameter.kind == ValueKind::Event) {
                See(array,
                    {.offset = offset, .form = Form::AreaEvent, .size = sizeof(EventRecord)});
            } else if (crossing.usage->isArea && parameter.kind == ValueKind::Long) {
                Token(array, offset);
            } else {
                targetKind = parameter.target;
                SeePointer(parameter, See(array, PlaceOf(parameter, offset)));
            }
        }
    }

    // Before the host has said whether it is compiled only the value itself tells that it is a
    // block. A text has a handle in the same place, and may have as many characters as the type's
    // number.
    void SeePointer(const Usage::Parameter& parameter, const Parent& storage) {
        if (parameter.kind == ValueKind::Pointer && !surroundings.knowsCompiled &&
            parameter.target != ValueKind::Text && IsPointerBlock(storage.bytes)) {
            See(storage, {.offset = offsetof(ValueBlock, pointer),
                          .target = Target::Handle,
                          .form = Form::Target,
                          .detail = static_cast<std::uint8_t>(parameter.target)});
        }
    }

    Place PlaceOf(const Usage::Parameter& parameter, size_t offset) const {
        ValueKind kind = parameter.kind;
        Form form = Form::Parameter;
        if (kind == ValueKind::Pointer && !surroundings.compiled) {
            kind = parameter.target;
            form = Form::Target;
        }
        if (kind == ValueKind::None) { // what it leads to is its plug-in's affair
            return {.offset = offset, .form = Form::Bytes, .size = sizeof(ValueBlock)};
        }
        const size_t least = form == Form::Target ? pointerBlockSize : 0;
        const size_t size = ScalarSize(kind);
        return {.offset = offset,
                .form = form,
                .size = size != 0 ? std::max(size, least) : sizeof(ValueBlock),
                .detail = static_cast<std::uint8_t>(kind)};
    }

    void Result(const Parent& cell, ValueKind kind) {
        if (kind == ValueKind::Picture) {
            BytesHandle(cell, 0);
        } else if (ResultCell::NeedsStorage(kind)) {
            See(cell, {.offset = 0,
                       .form = Form::Parameter,
                       .size = ScalarSize(kind),
                       .detail = static_cast<std::uint8_t>(kind)});
        }
    }

    // A word that the host keeps for the plug-in, at the address that stands there.
    void Token(const Parent& parent, size_t offset) {
        const Parent place = See(parent, {.offset = offset, .form = Form::Word, .size = wordSize});
        if (!place.bytes.empty()) {
            See(place, {.offset = 0, .target = Target::Token});
        }
    }

    struct Postponed {
        Parent storage;
        unsigned char type = 0; ///< of the array
    };

    const Crossing& crossing;
    const Surroundings& surroundings;
    Visitor& visitor;
    std::array<Postponed, 32> postponed{}; ///< whose elements are yet to be seen
    size_t postponedCount = 0;
    ValueKind targetKind = ValueKind::None; ///< of the parameter that is looked at
    int windows = 0;
};

bool IsCall(Way way) {
    return way == Way::Classic || way == Way::Engine;
}

void Blank(std::span<unsigned char> bytes, size_t from) {
    if (from < bytes.size()) {
        std::ranges::fill(bytes.subspan(from), static_cast<unsigned char>(0));
    }
}

// Bytes of a value block that count.
size_t ValueSize(std::span<const unsigned char> block) {
    constexpr size_t contents = offsetof(ValueBlock, real);
    switch (block[0]) {
    case ValueType::Real:
        return contents + sizeof(double);
    case ValueType::Text:
        return contents + sizeof(TextBlock);
    case ValueType::Date:
        return contents + sizeof(DateBlock);
    case ValueType::Undefined:
        return 1;
    case ValueType::Boolean:
        return contents + 1;
    case ValueType::Long:
    case ValueType::Time:
    case ValueType::Pointer:
        return contents + sizeof(std::uint32_t);
    case ValueType::Picture:
    case ValueType::Blob:
        return contents + sizeof(BlobBlock);
    case ValueType::String: {
        constexpr size_t text = offsetof(ValueBlock, string) + offsetof(StringBlock, string);
        return block.size() > text ? text + 1 + block[text] : block.size();
    }
    case ValueType::UnicodeText:
        return contents + sizeof(FDStringBlock);
    default:
        return contents + sizeof(ArrayBlock);
    }
}
} // namespace

void Recording::VisitPlaces(const Crossing& crossing, const Surroundings& surroundings,
                            Visitor& visitor) {
    Walk walk(crossing, surroundings, visitor);
    switch (crossing.way) {
    case Way::Classic:
    case Way::Engine:
        walk.Call();
        break;
    case Way::Pack:
    case Way::PackEx:
        walk.Pack();
        break;
    case Way::Process:
        break;
    case Way::MainThread:
        walk.MainThread();
        break;
    case Way::DialogFilter:
        walk.Filter();
        break;
    case Way::AreaHandler:
        walk.Area();
        break;
    }
    walk.Rest();
}

void Recording::Learn(const Crossing& crossing, std::span<const unsigned char> init,
                      Surroundings& surroundings) {
    constexpr unsigned long hostCompiled = 1UL << 23;
    constexpr unsigned long callerCompiled = 1UL << 27;
    if (!IsCall(crossing.way)) {
        if ((crossing.selector == Entry::Init || crossing.selector == Entry::InitEx) &&
            !crossing.isOver) {
            surroundings.version = Load<unsigned short>(init, offsetof(PackInitBlock, hostVersion));
        }
        return;
    }
    const bool engine = crossing.way == Way::Engine;
    constexpr SelectorPair programInfo = Select("ProgramInfo");
    if (crossing.isOver &&
        crossing.selector == (engine ? programInfo.engine : programInfo.classic)) {
        const auto word =
            Load<std::uint32_t>(crossing.root, (engine ? sharedInEngine : 0) + InParam1);
        surroundings.compiled =
            (word & callerCompiled) != 0 ||
            ((word & hostCompiled) != 0 && surroundings.version >= engineVersion);
    }
}

Recording::ItemHead Recording::HeadOf(const Place& place, std::uint32_t address) {
    return {.parent = static_cast<std::uint16_t>(place.parent),
            .target = place.target,
            .form = place.form,
            .offset = static_cast<std::uint32_t>(place.offset),
            .address = address,
            .size = 0,
            .stored = 0,
            .detail = place.detail,
            .isSlot = static_cast<std::uint8_t>(place.isSlot ? 1 : 0)};
}

size_t Recording::TextSize(Form form, std::span<const unsigned char> readable) {
    switch (form) {
    case Form::PascalString:
        return readable.empty() ? 0 : std::min<size_t>(readable.size(), 1U + readable[0]);
    case Form::CString: {
        const auto end = std::ranges::find(readable, static_cast<unsigned char>(0));
        const auto length = static_cast<size_t>(end - readable.begin());
        return std::min(readable.size(), length + 1);
    }
    case Form::Units: {
        size_t size = 0;
        while (size + 2 <= readable.size() && (readable[size] != 0 || readable[size + 1] != 0)) {
            size += 2;
        }
        return std::min(readable.size() & ~size_t{1}, size + 2);
    }
    default:
        return readable.size();
    }
}

void Recording::BlankUnused(Form form, std::uint8_t detail, std::span<unsigned char> bytes) {
    if (bytes.empty()) {
        return;
    }
    const auto kind = static_cast<ValueKind>(detail);
    const bool isStorage = form == Form::Parameter || form == Form::Target;
    if (form == Form::PascalString || (isStorage && kind == ValueKind::String)) {
        Blank(bytes, 1U + bytes[0]);
    } else if (form == Form::Value ||
               (isStorage && kind != ValueKind::None && ScalarSize(kind) == 0)) {
        Blank(bytes, ValueSize(bytes));
    } else if (form == Form::Target && kind != ValueKind::None && !IsPointerBlock(bytes)) {
        Blank(bytes, ScalarSize(kind));
    }
}
