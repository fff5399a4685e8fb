// The entry point leaves its arguments on the stack, as functions of C do: somebody forgot the
// calling convention. Each call of the host then shifts its stack by 16 bytes, until it returns
// somewhere. CallerCleans.def hands out the wrong function.

#include "examples/broken/Plugin.h"

extern "C" NIMBO_REALIGN void PackWithoutConvention(long selector, void* params, void*,
                                                    void** result) {
    Dispatch(selector, params, result);
}

namespace {
void Double(CXParam* parameters, CXResult* result) {
    result->SetLong(static_cast<long>(parameters[0].As<unsigned long>() * 2));
}

constexpr CommandEntry Commands[] = {{"Double", "(long) -> long", Double}};
} // namespace

const Plugin plugin = Describe("CallerCleans", Commands);
