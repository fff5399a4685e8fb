#pragma once

#include "testhost/toolbox/memory/Heap.h"
#include "testhost/toolbox/resources/Fork.h"

#include <deque>
#include <filesystem>
#include <functional>
#include <list>
#include <string>

/// The open resource files, which one is current, and the handles of their resources. The system
/// file, 0, is always open, and empty at first.
class ResourceFiles {
  public:
    static constexpr short systemFile = 0;

    ResourceFiles();

    /// Opens an empty file of this number, unless there is one.
    void Add(short refNum);
    /// Opens a file of Windows; for the results see ToolboxOpenResFile.
    OSErr Open(const std::filesystem::path& path, short* refNum);
    /// Disposes of its resources' handles. If it was current, the one opened last becomes current.
    /// The system file only loses its resources. -193 when there is no such file.
    OSErr Close(short refNum);
    /// Puts a resource into a file, or replaces it; -193 when there is no such file.
    OSErr AddResource(short refNum, OSType type, short id, std::string name, std::string bytes);

    short Current() const { return current; }
    /// -193, and no change, when there is no such file.
    OSErr Use(short refNum);

    /// The handle of a resource; for the results see GetResource.
    OSErr Get(OSType type, short id, Handle* handle);
    OSErr GetNamed(OSType type, const unsigned char* name, Handle* handle);
    /// The string is to be a buffer of 256 bytes.
    OSErr GetListString(short listID, short index, unsigned char* string);
    OSErr Release(Handle handle);

    /// Forgets all files. Their handles go with the heap, which is reset, too.
    void Reset();

    OSErr lastResult = 0; ///< what ResError() answers

  private:
    struct Item {
        ForkResource resource;
        Handle handle = nullptr; ///< null until somebody asks for the resource
    };
    struct File {
        short refNum = systemFile;
        std::string fork;
        std::deque<std::string> added; ///< names and data of resources that are in memory only
        std::vector<Item> items;
    };
    using Wanted = std::function<bool(const ForkResource&)>;

    File* FindFile(short refNum);
    /// The first such resource, from the current file back; null when there is none.
    Item* Find(const Wanted& wanted);
    /// The handle of what Find() answered.
    OSErr Load(const Call& call, Item* item, Handle* handle);
    OSErr MakeHandle(const Call& call, Item& item);
    void DisposeHandle(const Call& call, Item& item);
    short FreshNumber();

    std::list<File> files; ///< oldest first; their places in memory must not change
    short current = systemFile;
    short lastNumber = 1000; ///< goes on after a reset, so that an old number names no new file
};

ResourceFiles& TheResourceFiles();
