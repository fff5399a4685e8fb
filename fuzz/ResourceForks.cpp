// Resource files of any bytes, and all that plug-ins ask of them, against what is read at once.

#include "fuzz/Harness.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/toolbox/Control.h"
#include "testhost/toolbox/resources/Fork.h"

#include <algorithm>
#include <cstring>
#include <map>

#include <windows.h>

namespace {
constexpr const wchar_t* path = L"C:\\work\\fork";

void WriteFork(const std::string& bytes) {
    const HANDLE file =
        CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    DWORD written = 0;
    WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    CloseHandle(file);
}

// An open file with what is known of it.
struct OpenFork {
    short file;
    std::vector<ForkResource> resources;
    std::map<std::pair<OSType, short>, std::string> added = {};

    // The bytes of the first resource of this type and id; nothing when there are none.
    std::optional<std::string> Bytes(OSType type, short id) const {
        if (const auto found = added.find({type, id}); found != added.end()) {
            return found->second;
        }
        const auto found = std::ranges::find_if(resources, [&](const ForkResource& each) {
            return each.type == type && each.id == id;
        });
        return found != resources.end() && found->data ? std::optional<std::string>(*found->data)
                                                       : std::nullopt;
    }
};

void CheckGet(const OpenFork& fork, OSType type, short id, bool mayFail) {
    const auto expected = fork.Bytes(type, id);
    const Handle handle = GetResource(type, id);
    Require((handle != nullptr) == (ResError() == 0), "the result code is wrong");
    if (handle == nullptr) {
        Require(mayFail || !expected, "a resource is missing");
        return;
    }
    Require(GetResource(type, id) == handle, "a resource has two handles");
    Require(expected && BytesOf(handle) == *expected, "a resource has other bytes");
    ReleaseResource(handle);
    Require(ResError() == 0, "a resource cannot be released");
}

void CheckListString(const OpenFork& fork, short id, short index) {
    constexpr OSType stringList = 0x53545223; // STR#
    const std::string list = fork.Bytes(stringList, id).value_or("");
    Str255 string;
    std::memset(string, 0xAA, sizeof string);
    GetIndString(string, id, index);
    const std::string_view expected = StringInList(list, index);
    Require(std::string_view(reinterpret_cast<char*>(string) + 1, string[0]) == expected,
            "another string is in the list");
}

void Operate(Input& input, OpenFork& fork) {
    OSType type = 0x53545223; // STR#
    short id = static_cast<short>(input.Number());
    std::string_view name;
    if (!fork.resources.empty() && input.Choice(4) != 0) {
        const ForkResource& known =
            fork.resources[input.Choice(static_cast<unsigned>(fork.resources.size()))];
        type = known.type;
        id = known.id;
        name = known.name;
    }
    const bool fails = input.Choice(8) == 0;
    if (fails) {
        input.FailAnAllocation();
    }
    switch (input.Choice(4)) {
    case 0:
        CheckGet(fork, type, id, fails);
        break;
    case 1: {
        const Handle handle = GetNamedResource(type, Pascal(std::string(name)));
        const bool isThere = std::ranges::any_of(fork.resources, [&](const ForkResource& each) {
            return each.type == type && each.name == name &&
                   !fork.added.contains({each.type, each.id}); // which has another name
        });
        Require(handle == nullptr || !name.empty(), "a resource without a name was found");
        Require(handle != nullptr || ResError() != 0, "the result code is wrong");
        Require(ResError() != ResultCode::ResourceNotFound || !isThere || name.empty(),
                "a name is not found");
        if (handle != nullptr) {
            ReleaseResource(handle);
        }
        break;
    }
    case 2:
        if (!fails) {
            CheckListString(fork, id, static_cast<short>(input.Choice(300)));
        }
        break;
    default: {
        const std::string bytes = input.Text();
        Require(AddResource(fork.file, type, id, bytes) == 0, "a resource cannot be added");
        fork.added[{type, id}] = bytes;
        break;
    }
    }
    ToolboxFailAllocation(0);
}
} // namespace

void Fuzz(Input& input) {
    const std::string operations = input.Text(200);
    const std::string bytes = input.ConsumeRemainingBytesAsString();
    OpenFork fork{};
    const OSErr expected = ReadResourceFork(bytes, &fork.resources);
    Require(expected == 0 || fork.resources.empty(), "a malformed fork has resources");
    for (const ForkResource& resource : fork.resources) {
        Require(!resource.data || resource.data->empty() ||
                    (resource.data->data() >= bytes.data() &&
                     resource.data->data() + resource.data->size() <= bytes.data() + bytes.size()),
                "a resource lies outside the fork");
    }
    WriteFork(bytes);
    Require(ToolboxOpenResFile(path, &fork.file) == expected, "opening ends otherwise");
    if (expected == 0) {
        UseResFile(fork.file);
        Require(CurResFile() == fork.file, "another file is current");
        Input rest(reinterpret_cast<const std::uint8_t*>(operations.data()), operations.size());
        while (!rest.IsOver()) {
            Operate(rest, fork);
        }
        Require(ToolboxCloseResFile(fork.file) == 0, "the file cannot be closed");
    }
    DeleteFileW(path);
}
