#pragma once

#include "testhost/values/Reporter.h"

/// Failures of the toolbox that a script asks for, in turn with what a plug-in does: they count
/// only while one is entered. What the host makes before, of a command's parameters say, always
/// succeeds. All hosts share them.
namespace ToolboxFailures {
enum class Kind { Memory, File };

/// The `count`-th allocation or growth, or file call, from now is to fail: asked for while no
/// plug-in is entered. False, and nothing has
/// changed, when the former one of this kind has not happened yet.
bool Ask(Kind kind, long count);
/// How many allocations and growths there were while plug-ins were entered, since the last time
/// that this was asked.
long TakeAllocations();
/// A plug-in is entered from now on, or no longer; answers what was before.
bool SetEntered(bool isEntered);
/// Reports those that have not happened, and forgets them.
void ReportUnused(const Reporter& report);

/// While it lives the host is at work on a call of the plug-in's: what it makes itself always
/// succeeds, too.
class HostsOwn {
  public:
    HostsOwn() : before(SetEntered(false)) {}
    ~HostsOwn() { SetEntered(before); }
    HostsOwn(const HostsOwn&) = delete;
    HostsOwn& operator=(const HostsOwn&) = delete;

  private:
    bool before;
};
} // namespace ToolboxFailures
