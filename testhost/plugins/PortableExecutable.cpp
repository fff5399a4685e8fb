#include "testhost/plugins/PortableExecutable.h"

#include <algorithm>
#include <cstring>

#include <windows.h>

namespace {
// More than any real file has; they end tables and names that lead nowhere.
constexpr size_t maxImports = 20000;
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
} // namespace

std::optional<PortableExecutable> PortableExecutable::Parse(std::span<const unsigned char> file) {
    Reader reader(file);
    IMAGE_DOS_HEADER dos;
    DWORD signature = 0;
    IMAGE_FILE_HEADER header;
    if (!reader.Read(0, dos) || dos.e_magic != IMAGE_DOS_SIGNATURE || dos.e_lfanew < 0) {
        return std::nullopt;
    }
    auto start = static_cast<size_t>(dos.e_lfanew);
    if (!reader.Read(start, signature) || signature != IMAGE_NT_SIGNATURE ||
        !reader.Read(start + sizeof signature, header)) {
        return std::nullopt;
    }
    PortableExecutable result;
    result.machine = header.Machine;
    result.isLibrary = (header.Characteristics & IMAGE_FILE_DLL) != 0;
    size_t optionalStart = start + sizeof signature + sizeof header;
    IMAGE_OPTIONAL_HEADER32 optional;
    if (result.machine != IMAGE_FILE_MACHINE_I386 || !reader.Read(optionalStart, optional)) {
        return result;
    }
    size_t sectionStart = optionalStart + header.SizeOfOptionalHeader;
    for (size_t number = 0; number < header.NumberOfSections; ++number) {
        IMAGE_SECTION_HEADER section;
        if (!reader.Read(sectionStart + number * sizeof section, section)) {
            break;
        }
        reader.sections.push_back(section);
    }
    IMAGE_IMPORT_DESCRIPTOR descriptor;
    size_t offset =
        reader.FileOffset(optional.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
    while (result.imports.size() < maxImports && reader.Read(offset, descriptor) &&
           descriptor.Name != 0) {
        ReadImportsOf(reader, descriptor, result.imports);
        offset += sizeof descriptor;
    }
    return result;
}
