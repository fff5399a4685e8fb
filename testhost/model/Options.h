#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

class Scheduler;

enum class Role { SingleUser, Client, Server };

/// Reads "11.3" or "12.1.2" as the host's version word: 0x1130, 0x1212. Nothing when the text
/// is not such a version or lies outside 6.0 to 12.x.
std::optional<unsigned short> ParseHostVersion(std::string_view text);
/// The version word as text: "11.3", with the fix digit only when it is not 0.
std::string HostVersionText(unsigned short version);

/// What a host is from the start. Every member may also be changed while the host lives,
/// except the role, which a plug-in reads once at its start, and the version, see Host::SetVersion.
struct HostOptions {
    unsigned short version = 0x1130; ///< BCD: major, then minor and fix digits
    Role role = Role::SingleUser;
    bool callerCompiled = false; ///< the calling database runs compiled
    bool hostCompiled = false;   ///< the host database runs compiled (11.0 and later)
    bool hasStructure = true;    ///< a database is open; else its names and folders are not there
    bool messages = true;        ///< progress messages are shown
    bool reals64 = true;         ///< reals are 64-bit
    bool hasGlobals = true;      ///< the host hands out its globals record
    long platformInterface = 2;
    short pluginResID = 15000;
    short pluginResFile = 0;    ///< made current around the plug-in's start; 0 leaves it alone
    long freeStack = 64 * 1024; ///< bytes, as CheckFreeStack answers
    std::string structureName = "Demo.4DB";
    std::string dataName = "Demo.4DD";
    std::string currentUser = "Designer";
    std::string machine = "Workstation";
    std::string machineOwner = "Owner";
    // Folders in the system ANSI code page; where none is given the host makes one of its own.
    std::string structureFolder = {};
    std::string dataFolder = {};
    std::string prefsFolder = {};
    /// Where its processes run, together with those of other hosts; null for one of its own.
    std::shared_ptr<Scheduler> scheduler = {};
};
