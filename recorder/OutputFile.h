#pragma once

#include "recording/Format.h"

#include <cstddef>
#include <cstdint>
#include <string>

/// Tells a debugger: what stands here is for whoever installed the recorder, and nobody else is
/// there to be told.
void TellDebugger(const std::string& sentence);

/// The file of a recording. Whatever goes wrong with it ends it for good, and is told once: the
/// plug-in is never disturbed.
class OutputFile {
  public:
    OutputFile() = default;
    ~OutputFile() { Close(); }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Makes a new file `path` that shall not grow beyond `limit` bytes. Answers whether it could.
    bool Create(const std::wstring& path, std::uint64_t limit);
    bool IsOpen() const { return file != nullptr; }

    /// Writes bytes that belong together, in one piece: a process that ends loses nothing of them.
    void Write(const void* bytes, std::size_t size);
    /// Writes a chunk with a text in UTF-8; with Chunk::End nothing else follows.
    void WriteText(Recording::Chunk chunk, const std::string& text);
    void Close();

  private:
    bool WriteAll(const void* bytes, std::size_t size);
    bool HasRoomFor(std::size_t size);

    void* file = nullptr;
    std::wstring folder;
    std::uint64_t sizeLimit = 0;
    std::uint64_t written = 0;
    std::uint64_t nextLook = 0; ///< at the disk: when so many bytes are written
};
