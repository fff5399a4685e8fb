#pragma once

#include "testhost/recordings/Contents.h"

#include <string>

/// What an item (from 1) of a crossing holds, as scripts write it, or as what can be said of it in
/// few words; long texts are shortened. Empty when there is nothing to say.
std::string DescribeItem(const CrossingContents& contents, unsigned item);
