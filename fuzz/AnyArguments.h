#pragma once

#include "data/blocks/TextBlock.h"
#include "fuzz/HostileHost.h"
#include "platform/ResultCodes.h"

#include <deque>
#include <tuple>
#include <type_traits>

/// What one call of a function is given, by the types of its parameters: plausible, or null. Texts
/// are exactly as long as they say, places as large as the contract wants them; a place that may
/// hold a text does. Handles, and those that come back, are the caller's, and go with this.
class AnyArguments {
  public:
    AnyArguments(Input& bytes, HostileHost& itsHost) : input(bytes), host(itsHost) {}
    ~AnyArguments() {
        ToolboxFailAllocation(0);
        for (const Handle& handle : handles) {
            Dispose(handle);
        }
        for (const TextBlock& text : texts) {
            Dispose(text.text);
        }
        for (FDStringBlock& string : strings) {
            FourD::DisposeFDStringBlock(&string);
        }
    }
    AnyArguments(const AnyArguments&) = delete;
    AnyArguments& operator=(const AnyArguments&) = delete;

    template <typename Result, typename... Parameters>
    void Call(Result (*function)(Parameters...)) {
        CallThen(function, [&](Result result, const auto&) {
            if constexpr (std::is_same_v<Result, Handle>) {
                Own(result);
            }
        });
    }
    template <typename... Parameters>
    void Call(void (*function)(Parameters...)) {
        const std::tuple<Parameters...> made{Make<Parameters>()...}; // from left to right
        FailSometimes();
        std::apply(function, made);
    }

    /// `check` is called with the result and a tuple of the arguments.
    template <typename Result, typename... Parameters, typename Check>
    void CallThen(Result (*function)(Parameters...), Check check) {
        const std::tuple<Parameters...> made{Make<Parameters>()...};
        FailSometimes();
        host.answered.reset();
        check(std::apply(function, made), made);
    }

    template <typename Class, typename Base, typename Result, typename... Parameters>
    void CallOn(Class& object, Result (Base::*function)(Parameters...)) {
        const std::tuple<Parameters...> made{Make<Parameters>()...};
        FailSometimes();
        std::apply([&](auto... each) { (object.*function)(each...); }, made);
    }

    template <typename Parameter>
    Parameter Make() {
        if constexpr (std::is_same_v<Parameter, double>) {
            return input.ConsumeBool() ? static_cast<double>(input.Number())
                                       : input.ConsumeFloatingPoint<double>();
        } else if constexpr (std::is_arithmetic_v<Parameter>) {
            return static_cast<Parameter>(input.Number());
        } else if constexpr (!std::is_pointer_v<Parameter>) {
            Parameter record;
            input.Fill(record);
            return record;
        } else if constexpr (std::is_same_v<Parameter, GrafPort*>) {
            return host.AnyWindow();
        } else if constexpr (std::is_same_v<Parameter, void (*)(void*)>) {
            return [](void*) {};
        } else {
            return input.Choice(12) != 0 ? Pointer<Parameter>() : nullptr;
        }
    }
    /// So many bytes of the input, with nothing behind them.
    char* Bytes(std::string text, std::size_t size) {
        text.resize(size);
        room.emplace_back(new char[size]);
        text.copy(room.back().get(), size);
        return room.back().get();
    }

    /// A handle that came back is the caller's.
    void Own(Handle handle) { handles.push_back(handle); }

    Input& input;
    HostileHost& host;

  private:
    void FailSometimes() {
        if (input.Choice(4) == 0) {
            input.FailAnAllocation();
        }
    }
    template <typename Parameter>
    Parameter Pointer() {
        using Target = std::remove_const_t<std::remove_pointer_t<Parameter>>;
        constexpr std::size_t longestPath = 261;
        if constexpr (std::is_same_v<Target, unsigned char>) {
            const std::string text = host.AnyText(255);
            const bool isIn = std::is_const_v<std::remove_pointer_t<Parameter>>;
            return reinterpret_cast<Parameter>(
                Bytes(static_cast<char>(text.size()) + text, isIn ? text.size() + 1 : 256));
        } else if constexpr (std::is_same_v<Target, char>) {
            const std::string text = host.AnyText(longestPath - 1);
            const bool isIn = std::is_const_v<std::remove_pointer_t<Parameter>>;
            return Bytes(text, isIn ? std::strlen(text.c_str()) + 1 : longestPath);
        } else if constexpr (std::is_same_v<Target, unsigned short>) {
            return reinterpret_cast<Parameter>(Bytes(host.AnyText(100), 4 * longestPath));
        } else if constexpr (std::is_same_v<Parameter, Handle> ||
                             std::is_same_v<Parameter, Picture**>) {
            handles.push_back(host.AnyHandle(false));
            return reinterpret_cast<Parameter>(handles.back());
        } else if constexpr (std::is_same_v<Parameter, Handle*>) {
            return &handles.emplace_back(nullptr);
        } else if constexpr (std::is_same_v<Target, FDStringBlock>) {
            return &strings.emplace_back(host.AnyString());
        } else if constexpr (std::is_same_v<Target, TextBlock> ||
                             std::is_same_v<Target, CTextBlock>) {
            const auto length = static_cast<short>(input.Number());
            return reinterpret_cast<Parameter>(
                &texts.emplace_back(TextBlock{length, host.AnyHandle(false)}));
        } else if constexpr (std::is_same_v<Target, ValueBlock>) {
            Parameter value = reinterpret_cast<Parameter>(Bytes("", sizeof(ValueBlock)));
            host.FillValue(*value, true);
            return value;
        } else if constexpr (std::is_void_v<Target> || std::is_same_v<Target, FDPictureBlock> ||
                             std::is_same_v<Target, FourDDialog>) {
            return reinterpret_cast<Parameter>(this); // looked into by nobody
        } else {
            return reinterpret_cast<Parameter>(
                Bytes(input.ConsumeBytesAsString(sizeof(Target)), sizeof(Target)));
        }
    }
    static void Dispose(Handle handle) {
        if (ToolboxHandleOwner(handle) == HandleOwner::Host) {
            ToolboxDisposeHostHandle(handle);
        } else if (ToolboxHandleOwner(handle) == HandleOwner::Toolbox) {
            DisposeHandle(handle);
        }
    }

    std::deque<Handle> handles;
    std::deque<FDStringBlock> strings;
    std::deque<TextBlock> texts;
    std::deque<std::unique_ptr<char[]>> room;
};

/// One of several functions of the same name.
template <typename Signature>
constexpr Signature* Pick(Signature* function) {
    return function;
}

/// A call of this function with any arguments.
template <auto Function>
void CallWithAny(AnyArguments& arguments) {
    arguments.Call(Function);
}

/// Where the host answers a number, or an address.
using Place = long (*)(const CallFields&);
inline long Param1(const CallFields& fields) {
    return fields.param1;
}
inline long Param2(const CallFields& fields) {
    return fields.param2;
}

inline long Truth(const CallFields& fields) {
    return fields.param1 != 0 ? 1 : 0;
}

inline void RequireError(const HostileHost& host, long error) {
    Require(error == (host.answered ? host.answered->error : ResultCode::BadParameter),
            "another result code");
}

/// The same for a function that makes one call to the host, or none, and answers its result code.
template <auto Function>
void CallForError(AnyArguments& arguments) {
    arguments.CallThen(Function,
                       [&](long error, const auto&) { RequireError(arguments.host, error); });
}

/// The same where the last argument is the place for what the host answers; without success it is
/// `failed`.
template <auto Function, Place Answered = Param1, long failed = 0>
void CallForNumber(AnyArguments& arguments) {
    arguments.CallThen(Function, [&](long error, const auto& made) {
        RequireError(arguments.host, error);
        auto* const place = std::get<std::tuple_size_v<std::decay_t<decltype(made)>> - 1>(made);
        if (place == nullptr) {
            return;
        }
        const long expected = error == 0 ? Answered(*arguments.host.answered) : failed;
        if constexpr (std::is_pointer_v<std::decay_t<decltype(*place)>>) {
            Require(reinterpret_cast<long>(*place) == expected, "another address");
        } else {
            Require(*place == static_cast<std::decay_t<decltype(*place)>>(expected),
                    "another number");
        }
    });
}

/// The same for a function that answers such a number itself, whatever the result code.
template <auto Function, Place Answered = Param1>
void CallForAnswer(AnyArguments& arguments) {
    arguments.CallThen(Function, [&](long number, const auto&) {
        const auto& answered = arguments.host.answered;
        Require(answered && number == Answered(*answered), "another answer");
    });
}
