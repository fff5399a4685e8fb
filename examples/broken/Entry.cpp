// The entry point of those that have no other.

#include "examples/broken/Plugin.h"

void FourDPack(long selector, void* params, void*, void** result) {
    Dispatch(selector, params, result);
}
