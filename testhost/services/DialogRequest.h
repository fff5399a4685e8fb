#pragma once

#include "testhost/services/Service.h"
#include "testhost/toolbox/Control.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>

/// A dialog operation while it is served: its dialog, and its values wherever they lie in the
/// record.
class DialogRequest {
  public:
    DialogRequest(ServiceCall& servedCall, Dialog& itsDialog)
        : call(servedCall), dialog(itsDialog) {}

    std::string Name() const {
        if (call.IsEngine()) {
            return AnsiText(call.engine->uniName);
        }
        const auto* name = reinterpret_cast<const char*>(call.fields.name);
        return {name, strnlen(name, sizeof call.fields.name)};
    }
    void AnswerName(std::string_view name) {
        if (call.IsEngine()) {
            return StoreUtf16(call.engine->uniName, name);
        }
        name = name.substr(0, sizeof call.fields.name - 1);
        std::memset(call.fields.name, 0, sizeof call.fields.name);
        std::memcpy(call.fields.name, name.data(), name.size());
    }
    std::string String() const {
        if (call.IsEngine()) {
            return AnsiText(call.engine->uniText);
        }
        const size_t length = std::min<size_t>(call.valueText[0], call.valueText.size() - 1);
        return {reinterpret_cast<const char*>(&call.valueText[1]), length};
    }
    double Real() const {
        if (call.IsEngine()) {
            return call.fields.value.real.value;
        }
        long double extended = 0;
        std::memcpy(&extended, &call.fields.value.real, sizeof(REAL_U));
        return static_cast<double>(extended);
    }
    void AnswerReal(double real) {
        if (call.IsEngine()) {
            call.fields.value.real.value = real;
            return;
        }
        const long double extended = real;
        std::memcpy(&call.fields.value.real, &extended, sizeof(REAL_U));
    }
    std::string Text() const {
        return call.IsEngine() ? call.host.strings.Text(call.engine->string) : Bytes();
    }
    void AnswerText(std::string_view text) {
        if (call.IsEngine()) {
            call.engine->string = call.host.strings.Create(text);
        } else {
            call.fields.handle = NewHandleWith(text);
        }
    }
    // Bytes of the handle that came along: no others than those of a live toolbox handle.
    std::string Bytes() const {
        if (call.fields.handle != nullptr &&
            ToolboxHandleOwner(call.fields.handle) != HandleOwner::Toolbox) {
            call.host.Report("A dialog's value came in a handle that is none of the toolbox's.");
            return {};
        }
        return call.fields.handle == nullptr ? std::string() : HandleContents(call.fields.handle);
    }
    bool Flag() const { return call.fields.param2 != 0; }

    void Set(const TypedValue& value) { Check(dialog.Write(Name(), value), "variable"); }
    TypedValue Get(ValueKind kind) { return dialog.Read(Name(), kind); }
    void SetElement(const TypedValue& value) {
        Check(dialog.SetElement(Name(), call.fields.param2, value), "array element");
    }
    void ForEach(Dialog::By by, const std::function<void(DialogObject&)>& act) {
        Check(dialog.ForEach(Name(), by, act), "object");
    }
    // The host goes on without a word to the plug-in.
    void Check(bool good, const char* what) {
        if (!good) {
            call.remark = Quoted(Name()) + ": no such " + what + ", or not for this value";
        }
    }

    ServiceCall& call;
    Dialog& dialog;
};
