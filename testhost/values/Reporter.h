#pragma once

#include <functional>
#include <string>

/// Notes a misbehaviour of the plug-in, as a whole sentence.
using Reporter = std::function<void(std::string)>;
