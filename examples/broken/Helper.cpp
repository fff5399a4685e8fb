// A library without a fault, which LibraryStays loads.

extern "C" __declspec(dllexport) long Help() {
    return 1;
}
