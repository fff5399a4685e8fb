#include "testhost/watch/SharedProgress.h"

#include <cwchar>
#include <iterator>
#include <new>
#include <stdexcept>

#include <windows.h>

namespace {
void* MakeMapping() {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    return CreateFileMappingW(INVALID_HANDLE_VALUE, &inherited, PAGE_READWRITE, 0, sizeof(Progress),
                              nullptr);
}

void* View(void* mapping) {
    return MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, sizeof(Progress));
}
} // namespace

SharedProgress::SharedProgress() : mapping(MakeMapping()) {
    void* const view = View(mapping);
    if (view == nullptr) {
        throw std::runtime_error("testhost: there is no memory to share with the session");
    }
    progress = new (view) Progress;
}

SharedProgress::~SharedProgress() {
    UnmapViewOfFile(progress);
    CloseHandle(mapping);
}

std::wstring SharedProgress::Handle() const {
    return std::to_wstring(reinterpret_cast<unsigned long>(mapping));
}

Progress* SharedWithWatcher() {
    wchar_t text[16] = L"";
    const DWORD length = GetEnvironmentVariableW(SharedProgress::variable, text, std::size(text));
    if (length == 0 || length >= std::size(text)) {
        return nullptr;
    }
    // Not for programs that the plug-in starts.
    SetEnvironmentVariableW(SharedProgress::variable, nullptr);
    return static_cast<Progress*>(View(reinterpret_cast<HANDLE>(std::wcstoul(text, nullptr, 10))));
}
