#pragma once

#include "platform/Compiler.h"

#include <optional>
#include <string>

struct _EXCEPTION_RECORD;

// What is said of a crash.

/// Raised where the program is told to abort, so that whoever looks at it finds the caller.
constexpr unsigned long abortException = 0xE0AB0127;

/// "Plug.dll+0x1234", or the bare address outside every module.
std::string AddressText(const std::string& module, unsigned long base, unsigned long address);
/// The same for an address of this process.
std::string AddressText(const void* address);

/// "Plug.dll+0x1234 read 0x00000000": `place` is the text of the address where it happened.
std::string DescribeFault(const _EXCEPTION_RECORD& fault, const std::string& place);
/// Whether this is a fault, which is a crash unless someone handles it; texts for the debugger are
/// none.
bool IsFault(unsigned long exceptionCode);

/// Remembers the last fault within this thread while it lives: the loader of libraries keeps what
/// happens in DllMain and in static objects to itself.
class FaultRecorder {
  public:
    enum class Where {
        Anywhere,
        OutsideOfWindows, ///< what plug-ins ask of Windows may fault and be handled there
    };
    explicit FaultRecorder(Where itsPlaces);
    ~FaultRecorder();
    FaultRecorder(const FaultRecorder&) = delete;
    FaultRecorder& operator=(const FaultRecorder&) = delete;

    /// What happened, as DescribeFault says it.
    const std::optional<std::string>& Last() const { return last; }

  private:
    static NIMBO_STDCALL long Record(struct _EXCEPTION_POINTERS* pointers);
    static FaultRecorder* current;

    Where places;
    void* handler;
    unsigned long thread;
    std::optional<std::string> last;
};
