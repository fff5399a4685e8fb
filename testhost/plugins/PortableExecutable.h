#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

/// What a PE file says about itself. Nothing outside the file's bytes is ever read.
struct PortableExecutable {
    struct Import {
        std::string library;
        std::string function; ///< empty when imported by ordinal
    };

    unsigned short machine = 0; ///< 0x014C is 32-bit x86
    bool isLibrary = false;
    std::vector<Import> imports;
    std::vector<std::string> exports; ///< names

    /// Reads the bytes of a whole file; nothing when they are no PE file.
    static std::optional<PortableExecutable> Parse(std::span<const unsigned char> file);
    /// Name of the function at an address relative to the loaded image, as its author wrote it;
    /// empty when the file has no symbol table, as one that was stripped.
    static std::string FunctionAt(std::span<const unsigned char> file, unsigned long address);
};
