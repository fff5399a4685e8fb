// A library without a fault, which LibraryStays loads.

#include "platform/Compiler.h"

extern "C" NIMBO_EXPORT long Help() {
    return 1;
}
