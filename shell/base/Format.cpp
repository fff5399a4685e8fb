#include "shell/base/Format.h"

int FormatText(char* out, std::size_t capacity, const char* format, ...) {
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    va_start(arguments, format);
    const int length = FormatTextV(out, capacity, format, arguments);
    va_end(arguments);
    return length;
}

int FormatTextV(char* out, std::size_t capacity, const char* format, std::va_list arguments) {
    const int length = _vsnprintf(out, capacity, format, arguments);
    if (length >= 0 && static_cast<std::size_t>(length) < capacity) {
        return length;
    }
    out[capacity - 1] = '\0';
    return -1;
}

void WriteFormat(std::FILE* file, const char* format) {
    // By way of a pointer that has nothing to say about formats: compilers warn of any that is not
    // written where it is used.
    int (*const print)(std::FILE*, const char*, ...) = __ms_fprintf;
    print(file, format);
}
