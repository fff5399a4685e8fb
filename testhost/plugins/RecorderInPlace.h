#pragma once

#include <filesystem>

/// Recorder.dll, which is put in the place of plug-ins.
struct RecorderInPlace {
    std::filesystem::path recorder; ///< the library; empty: there is none
    std::filesystem::path folder;   ///< gets the recordings, and a copy of the recorder for each

    /// What is to be loaded for this plug-in: a copy of the recorder, which loads the plug-in;
    /// empty without a recorder. Throws std::runtime_error when it cannot be made.
    std::filesystem::path For(const std::filesystem::path& plugin) const;
    /// What the name of a recording begins with, before that of the plug-in's file: by its name
    /// nobody takes the copy for the plug-in.
    static constexpr wchar_t prefix[] = L"recorder of ";
};
