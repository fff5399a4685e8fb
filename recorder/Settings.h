#pragma once

#include <cstdint>
#include <string>

/// What NAME.recorder.ini beside the recorder says in its section [recorder]. What it leaves out,
/// or says wrongly, is as without it.
struct Settings {
    std::wstring plugin;     ///< plugin=PATH; else NAME.recorded.dll. Beside the recorder
    std::wstring folder;     ///< folder=PATH for recordings; else the recorder's own
    std::wstring name;       ///< NAME, that of the recorder's file
    std::uint32_t itemLimit; ///< item=BYTES stored of one item; 64 KB, at most 1 MB
    std::uint64_t sizeLimit; ///< file=MB of a recording, in bytes; 200 MB, of 1 to 2000
};

/// Reads them for the recorder that lies in this file.
Settings ReadSettings(const std::wstring& recorderFile);
