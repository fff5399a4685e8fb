#include "testhost/session/PluginResources.h"

#include "platform/ResultCodes.h"
#include "testhost/session/Words.h"
#include "testhost/toolbox/Control.h"
#include "testhost/values/Encodings.h"

#include <string>
#include <system_error>

std::filesystem::path ResourcesBeside(const std::filesystem::path& plugin) {
    const std::filesystem::path own = std::filesystem::path(plugin).replace_extension(".rsrc");
    const std::filesystem::path stem = plugin.stem();
    std::error_code error;
    return stem.extension() == ".recorded" && !std::filesystem::exists(own, error)
               ? std::filesystem::path(own).replace_filename(stem.stem()).concat(".rsrc")
               : own;
}

PluginResources::PluginResources(const std::filesystem::path& plugin,
                                 const std::filesystem::path& resources)
    : file(resources.empty() ? ResourcesBeside(plugin) : resources) {
    const OSErr error = ToolboxOpenResFile(file.wstring().c_str(), &refNum);
    if (error == ResultCode::FileNotFound && resources.empty()) {
        refNum = 0;
    } else if (error == ResultCode::FileNotFound || error == ResultCode::InputOutput) {
        throw ScriptError("the resource file " + Shown(file) + " is missing or cannot be read");
    } else if (error != ResultCode::NoError) {
        throw ScriptError(Shown(file) + " is no resource file: " +
                          (error == ResultCode::EndOfData
                               ? "it is too short"
                               : "its map does not agree with itself or the file") +
                          " (" + std::to_string(error) + ")");
    }
}

PluginResources::~PluginResources() {
    if (refNum != 0) {
        ToolboxCloseResFile(refNum);
    }
}
