#pragma once

#include "platform/Types.h"
#include "testhost/toolbox/memory/Place.h"

#include <map>
#include <memory>
#include <string>

/// A file of Windows, closed with the object.
class WindowsFile {
  public:
    WindowsFile() = default;
    /// Takes over what CreateFile answered; an empty object when that was a failure.
    explicit WindowsFile(void* windowsHandle);

    explicit operator bool() const { return handle != nullptr; }
    void* Get() const { return handle.get(); }
    /// False when Windows could not close it.
    bool Close();

  private:
    struct Closer {
        void operator()(void* windowsHandle) const;
    };
    std::unique_ptr<void, Closer> handle;
};

/// An open data fork. Offsets and sizes are bytes, and end at 2 GB.
class DataFork {
  public:
    WindowsFile file;
    std::string path; ///< ANSI
    std::string key;  ///< FileKey of its path
    Place openedAt;
    unsigned long serial = 0;
    bool shared = false;
    OSErr writeRefusal = 0; ///< what an attempt to write answers; 0 when it may be written
    long mark = 0;

    OSErr GetSize(long* size) const;
    OSErr SetSize(long size);
    /// Both move the mark, and put into `done` how many bytes were read or written.
    OSErr Read(void* buffer, long count, long* done);
    OSErr Write(const void* buffer, long count, long* done);
};

/// All open files, by reference number. Numbers go up and start again after 32767, so that a
/// closed file is not soon mistaken for a new one.
class OpenFiles {
  public:
    /// -42 when 348 files are open, as many as the classic system had at most; for other results
    /// see FSpOpenDF.
    OSErr Open(const std::string& path, char permission, short* refNum);
    /// The file; -51 for a number of no open file.
    OSErr Find(short refNum, DataFork** file);
    /// Forgets the file even when it could not be closed properly (-36). Closing it again is -51
    /// and a problem.
    OSErr Close(short refNum);
    /// Whether the file with this FileKey, or any in the folder with it, is open.
    bool IsAnyOpen(const std::string& key) const;
    long Count() const { return static_cast<long>(files.size()); }
    /// By reference number.
    const std::map<short, DataFork>& All() const { return files; }
    /// Counts a file call down; true when it has to fail.
    bool FailsNow() { return failCountdown > 0 && --failCountdown == 0; }
    /// Closes all. Their numbers count as closed, until new files get them: from the first one on.
    void Reset();

    long failCountdown = 0; ///< this file call from now fails; 0 none

  private:
    /// Result code that speaks against opening the file for writing.
    OSErr ObjectionToWriting(const std::string& key, unsigned long attributes, bool shared) const;
    short FreshNumber();

    std::map<short, DataFork> files;
    std::map<short, Place> closed; ///< where; numbers that were given out and are free now
    short lastNumber = 0;
};

OpenFiles& TheOpenFiles();
