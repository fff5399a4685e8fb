#include "testhost/plugins/PortableExecutable.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>
#include <memory>

#include <windows.h>

namespace {
// More than any real file has; they end tables and names that lead nowhere.
constexpr size_t maxImports = 20000;
constexpr size_t maxExports = 20000;
constexpr size_t maxName = 1024;

class Reader {
  public:
    explicit Reader(std::span<const unsigned char> bytes) : file(bytes) {}

    // Answers false, and leaves the record zeroed, when it does not lie within the file.
    template <typename T>
    bool Read(size_t offset, T& record) const {
        std::memset(&record, 0, sizeof record);
        if (offset > file.size() || file.size() - offset < sizeof record) {
            return false;
        }
        std::memcpy(&record, &file[offset], sizeof record);
        return true;
    }

    std::string Text(size_t offset) const {
        std::string text;
        while (offset < file.size() && file[offset] != 0 && text.size() < maxName) {
            text += static_cast<char>(file[offset++]);
        }
        return text;
    }

    // Place in the file of an address relative to the loaded image; past the end if none.
    size_t FileOffset(size_t address) const {
        for (const IMAGE_SECTION_HEADER& section : sections) {
            if (address >= section.VirtualAddress &&
                address - section.VirtualAddress < section.SizeOfRawData) {
                return address - section.VirtualAddress + section.PointerToRawData;
            }
        }
        return file.size();
    }

    std::vector<IMAGE_SECTION_HEADER> sections;

  private:
    std::span<const unsigned char> file;
};

void ReadImportsOf(const Reader& reader, const IMAGE_IMPORT_DESCRIPTOR& descriptor,
                   std::vector<PortableExecutable::Import>& imports) {
    std::string library = reader.Text(reader.FileOffset(descriptor.Name));
    DWORD table =
        descriptor.OriginalFirstThunk != 0 ? descriptor.OriginalFirstThunk : descriptor.FirstThunk;
    IMAGE_THUNK_DATA32 thunk;
    for (size_t offset = reader.FileOffset(table);
         imports.size() < maxImports && reader.Read(offset, thunk) && thunk.u1.Ordinal != 0;
         offset += sizeof thunk) {
        bool byOrdinal = (thunk.u1.Ordinal & IMAGE_ORDINAL_FLAG32) != 0;
        size_t name = reader.FileOffset(thunk.u1.AddressOfData) + sizeof(WORD); // after the hint
        imports.push_back({library, byOrdinal ? std::string() : reader.Text(name)});
    }
}

void ReadExports(const Reader& reader, DWORD address, std::vector<std::string>& exports) {
    IMAGE_EXPORT_DIRECTORY directory;
    if (address == 0 || !reader.Read(reader.FileOffset(address), directory)) {
        return;
    }
    const size_t names = reader.FileOffset(directory.AddressOfNames);
    DWORD name = 0;
    for (size_t number = 0; number < std::min<size_t>(directory.NumberOfNames, maxExports) &&
                            reader.Read(names + number * sizeof name, name);
         ++number) {
        exports.push_back(reader.Text(reader.FileOffset(name)));
    }
}

struct Headers {
    IMAGE_FILE_HEADER file;
    size_t optionalStart;
};

// Nothing when the bytes are no PE file. Adds the sections to the reader.
std::optional<Headers> ReadHeaders(Reader& reader) {
    IMAGE_DOS_HEADER dos;
    DWORD signature = 0;
    Headers headers{};
    if (!reader.Read(0, dos) || dos.e_magic != IMAGE_DOS_SIGNATURE || dos.e_lfanew < 0) {
        return std::nullopt;
    }
    auto start = static_cast<size_t>(dos.e_lfanew);
    if (!reader.Read(start, signature) || signature != IMAGE_NT_SIGNATURE ||
        !reader.Read(start + sizeof signature, headers.file)) {
        return std::nullopt;
    }
    headers.optionalStart = start + sizeof signature + sizeof headers.file;
    const size_t sectionStart = headers.optionalStart + headers.file.SizeOfOptionalHeader;
    for (size_t number = 0; number < headers.file.NumberOfSections; ++number) {
        IMAGE_SECTION_HEADER section;
        if (!reader.Read(sectionStart + number * sizeof section, section)) {
            break;
        }
        reader.sections.push_back(section);
    }
    return headers;
}

// What the symbol is called: in the record, or in the strings behind the table.
std::string SymbolName(const Reader& reader, const IMAGE_SYMBOL& symbol, size_t strings) {
    if (symbol.N.Name.Short == 0) {
        return reader.Text(strings + symbol.N.Name.Long);
    }
    const auto* name = reinterpret_cast<const char*>(symbol.N.ShortName);
    return {name, strnlen(name, sizeof symbol.N.ShortName)};
}

// As its author wrote it: without the underscore of C and the arguments' size of stdcall, in C++'s
// own spelling.
std::string Readable(std::string symbol) {
    symbol.erase(0, symbol.starts_with('_') ? 1 : 0);
    symbol.erase(std::min(symbol.find('@', 1), symbol.size()));
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> demangled(
        abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status), std::free);
    return demangled != nullptr ? demangled.get() : symbol;
}
} // namespace

std::string PortableExecutable::FunctionAt(std::span<const unsigned char> file,
                                           unsigned long address) {
    Reader reader(file);
    const std::optional<Headers> headers = ReadHeaders(reader);
    if (!headers) {
        return {};
    }
    const size_t table = headers->file.PointerToSymbolTable;
    const size_t count =
        std::min<size_t>(headers->file.NumberOfSymbols, file.size() / sizeof(IMAGE_SYMBOL));
    const size_t strings = table + count * sizeof(IMAGE_SYMBOL);
    constexpr WORD function = IMAGE_SYM_DTYPE_FUNCTION << 4;
    std::string name;
    unsigned long nearest = 0;
    IMAGE_SYMBOL symbol;
    for (size_t number = 0; number < count; number += 1U + symbol.NumberOfAuxSymbols) {
        if (!reader.Read(table + number * sizeof symbol, symbol)) {
            break;
        }
        const auto section = static_cast<size_t>(symbol.SectionNumber) - 1;
        // Assembler sources do not say what is a function.
        const bool isCode =
            symbol.Type == function || symbol.StorageClass == IMAGE_SYM_CLASS_EXTERNAL;
        if (!isCode || section >= reader.sections.size()) {
            continue;
        }
        const unsigned long start = reader.sections[section].VirtualAddress + symbol.Value;
        if (start <= address && start >= nearest) {
            nearest = start;
            name = SymbolName(reader, symbol, strings);
        }
    }
    return Readable(name);
}

std::optional<PortableExecutable> PortableExecutable::Parse(std::span<const unsigned char> file) {
    Reader reader(file);
    const std::optional<Headers> headers = ReadHeaders(reader);
    if (!headers) {
        return std::nullopt;
    }
    PortableExecutable result;
    result.machine = headers->file.Machine;
    result.isLibrary = (headers->file.Characteristics & IMAGE_FILE_DLL) != 0;
    IMAGE_OPTIONAL_HEADER32 optional;
    if (result.machine != IMAGE_FILE_MACHINE_I386 ||
        !reader.Read(headers->optionalStart, optional)) {
        return result;
    }
    IMAGE_IMPORT_DESCRIPTOR descriptor;
    size_t offset =
        reader.FileOffset(optional.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
    while (result.imports.size() < maxImports && reader.Read(offset, descriptor) &&
           descriptor.Name != 0) {
        ReadImportsOf(reader, descriptor, result.imports);
        offset += sizeof descriptor;
    }
    ReadExports(reader, optional.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress,
                result.exports);
    return result;
}
