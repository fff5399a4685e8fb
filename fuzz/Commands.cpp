// Commands: their numbers, parameters and results.

#include "fuzz/HostileHost.h"

#include <climits>
#include <stdexcept>

namespace {
constexpr unsigned long compiled = 1UL << 27;

struct Commands;
Commands* current = nullptr;

/// Bytes that lie as unaligned as a host's may, with nothing behind them.
struct Lent {
    explicit Lent(const std::string& contents)
        : bytes(new char[contents.size() + 1]), size(contents.size()) {
        contents.copy(bytes.get() + 1, size);
    }
    void* Address() const { return bytes.get() + 1; }
    std::string Contents() const { return {bytes.get() + 1, size}; }

    std::unique_ptr<char[]> bytes;
    std::size_t size;
};

/// A way to read a parameter, and one to write it; either may be missing.
struct Accessor {
    std::size_t size;
    void (*get)(const CXParam& param, void* out);
    void (*set)(CXParam& param, const void* from);
};

template <auto Get>
void Read(const CXParam& param, void* out) {
    const auto value = (param.*Get)();
    std::memcpy(out, &value, sizeof value);
}
template <typename Value, void (CXParam::*Get)(Value*) const>
void Fill(const CXParam& param, void* out) {
    (param.*Get)(static_cast<Value*>(out));
}
template <typename Value, void (CXParam::*Get)(Value&) const>
void FillReference(const CXParam& param, void* out) {
    (param.*Get)(*static_cast<Value*>(out));
}
template <typename Value, void (CXParam::*Set)(Value)>
void Write(CXParam& param, const void* from) {
    Value value;
    std::memcpy(&value, from, sizeof value);
    (param.*Set)(value);
}

constexpr Accessor accessors[] = {
    {2, Read<&CXParam::GetShort>, Write<short, &CXParam::SetShort>},
    {4, Read<&CXParam::GetLong>, Write<long, &CXParam::SetLong>},
    {1, Read<&CXParam::GetBoolean>, Write<unsigned char, &CXParam::SetBoolean>},
    {8, Read<&CXParam::GetNativeReal>, Write<double, &CXParam::SetNativeReal>},
    {4, Read<&CXParam::GetPicHandle>, nullptr},
    {4, Read<&CXParam::GetHandle>, nullptr},
    {10, Fill<REAL_U, &CXParam::GetREAL>, nullptr},
    {16, Fill<EventRecord, &CXParam::GetEvent>, nullptr},
    {8, FillReference<Rect, &CXParam::GetRect>, nullptr},
    {6, FillReference<DateBlock, &CXParam::GetDate4D>,
     [](CXParam& param, const void* from) {
         param.SetDate4D(static_cast<const DateBlock*>(from));
     }},
    {260, FillReference<ValueBlock, &CXParam::GetVarRec>, nullptr},
};

struct Commands {
    explicit Commands(Input& bytes) : input(bytes), host(bytes, HostileHost::AnyVersion(bytes)) {
        current = this;
        host.onCall = [this](HostileHost::Call& call) {
            call.fields.param1 = static_cast<long>(programInfo);
            return true;
        };
        host.Start();
    }
    ~Commands() { HostileHost::Stop(); }
    Commands(const Commands&) = delete;
    Commands& operator=(const Commands&) = delete;

    static void Handle(CXParam* params, CXResult* result) { current->Run(params, result); }

    void Call();
    void Run(CXParam* params, CXResult* result);
    void UseParameter(CXParam& param);
    void UseString(CXParam& param);
    void UsePointer(CXParam& param);
    void UseResult(CXResult& result);

    Input& input;
    FuzzPlug plug{std::vector<CommandEntry>{
        {"First", "", Handle}, {"None", "", nullptr}, {"Last", "", Handle}}};
    HostileHost host;
    unsigned long programInfo = 0;
    CXParam* expected = nullptr;
    int runs = 0;
    int depth = 0;
};

void Commands::Call() {
    static_assert(sizeof(CXParam) == sizeof(void*));
    void* storage[1] = {};
    auto* const params = reinterpret_cast<CXParam*>(storage);
    long cell = 0;
    // Not what starts, stops, or asks for a record in place of the parameters.
    const long number = input.ConsumeBool() ? input.Choice(5) : input.Number() & LONG_MAX;
    CXParam* const formerExpected = std::exchange(expected, params);
    const int formerRuns = std::exchange(runs, 0);
    ++depth;
    (input.ConsumeBool() ? FourDPack : FourDPackex)(number, params, nullptr, &cell);
    --depth;
    Require(runs == (number == 1 || number == 3 ? 1 : 0), "a command runs once, others never");
    runs = formerRuns;
    expected = formerExpected;
}

void Commands::Run(CXParam* params, CXResult* result) {
    Require(params == expected, "other parameters");
    ++runs;
    switch (input.Choice(6)) {
    case 0:
        return UseString(*params);
    case 1:
        return UsePointer(*params);
    case 2:
        return UseResult(*result);
    case 3:
        if (depth < 4) {
            Call();
        }
        throw std::runtime_error("kept inside");
    default:
        return UseParameter(*params);
    }
}

void Commands::UseParameter(CXParam& param) {
    const Accessor& accessor = accessors[input.Choice(std::size(accessors))];
    std::string bytes = input.ConsumeBytesAsString(accessor.size);
    bytes.resize(accessor.size);
    const Lent lent(std::string(accessor.size, 'x'));
    reinterpret_cast<void*&>(param) = lent.Address();
    if (accessor.set != nullptr) {
        alignas(8) char from[16];
        bytes.copy(from, sizeof from);
        accessor.set(param, from);
    } else {
        bytes.copy(static_cast<char*>(lent.Address()), bytes.size());
    }
    Require(lent.Contents() == bytes, "other bytes were stored");
    alignas(8) char out[sizeof(ValueBlock)];
    accessor.get(param, out);
    Require(bytes == std::string(out, bytes.size()), "other bytes were read");
}

void Commands::UseString(CXParam& param) {
    const std::string text = input.Text(255);
    const std::string string = static_cast<char>(text.size()) + text;
    const Lent source(string);
    const Lent target(std::string(string.size(), 'x'));
    reinterpret_cast<void*&>(param) = target.Address();
    param.SetString(static_cast<const unsigned char*>(source.Address()));
    Require(target.Contents() == string, "another string was stored");
    const Lent copy(std::string(string.size(), 'x'));
    param.GetString(static_cast<unsigned char*>(copy.Address()));
    Require(copy.Contents() == string, "another string was read");
}

/// In a compiled database the parameter holds a pointer's handle.
void Commands::UsePointer(CXParam& param) {
    programInfo = input.ConsumeIntegral<unsigned long>();
    ValueBlock value;
    input.Fill(value);
    value.type = input.ConsumeBool() ? +ValueType::Pointer : value.type;
    value.pointer = host.AnyHandle(true);
    const Lent lent(std::string(reinterpret_cast<const char*>(&value), sizeof value));
    reinterpret_cast<void*&>(param) = lent.Address();
    const unsigned long bits = gHost.HasEngine() ? compiled | 1UL << 23 : compiled;
    const void* target = lent.Address();
    if ((programInfo & bits) != 0) {
        target =
            value.type == ValueType::Pointer && value.pointer != nullptr ? *value.pointer : nullptr;
    }
    Require(param.GetPointerPtr() == target, "another target");
}

void Commands::UseResult(CXResult& result) {
    auto& cell = reinterpret_cast<long&>(result);
    const long number = input.Number();
    switch (input.Choice(5)) {
    case 0:
        result.SetShort(static_cast<short>(number));
        return Require(cell == static_cast<short>(number), "another short");
    case 1:
        result.SetLong(number);
        return Require(cell == number, "another long");
    case 2:
        result.SetBoolean(static_cast<unsigned char>(number));
        return Require(cell == ((number & 0xFF) != 0 ? 1 : 0), "another truth");
    case 3: {
        REAL_U real;
        input.Fill(real);
        const Lent lent(std::string(sizeof real, 'x'));
        cell = reinterpret_cast<long>(lent.Address());
        result.SetExtended(&real);
        return Require(std::memcmp(lent.Address(), &real, sizeof real) == 0, "another real");
    }
    default: {
        const std::string text = input.Text(255);
        const std::string string = static_cast<char>(text.size()) + text;
        const Lent lent(std::string(string.size(), 'x'));
        cell = reinterpret_cast<long>(lent.Address());
        result.SetString(reinterpret_cast<const unsigned char*>(string.data()));
        return Require(lent.Contents() == string, "another string");
    }
    }
}
} // namespace

void Fuzz(Input& input) {
    Commands commands(input);
    while (!input.IsOver()) {
        commands.Call();
    }
}
