#pragma once

#include "platform/Types.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The classic resource-fork format. All numbers in it are big-endian: a header with the places of
// data and map; the data, each resource with its length before it; the map with a list of types, a
// list of references for each type, and the names.

/// Result code for a map that contradicts itself or the file.
inline constexpr OSErr malformedMap = -199;
/// What a reference has room for: the place of its data in 24 bits.
inline constexpr std::size_t longestForkData = 0xFFFFFF;

/// A resource in a fork: views of bytes that somebody else keeps.
struct ForkResource {
    OSType type = 0;
    short id = 0;
    std::string_view name;                ///< empty: none; at most 255 characters
    std::optional<std::string_view> data; ///< nothing when it lies outside the fork's data

    bool operator==(const ForkResource&) const = default;
};

/// Finds the resources in a fork, in the order of its map. Reads nothing outside it. -39 when it is
/// shorter than a header, -199 when the map is malformed; no resources then.
OSErr ReadResourceFork(std::string_view fork, std::vector<ForkResource>* resources);

/// A fork with these resources, of which no two may have the same type and id. Nothing when they do
/// not fit: the format's places have 16 bits in the map, 24 in the data.
std::optional<std::string> WriteResourceFork(const std::vector<ForkResource>& resources);

/// String `index`, from 1, of a string list (16-bit count, Pascal strings); empty when there is
/// none or the list ends within it.
std::string_view StringInList(std::string_view list, short index);
