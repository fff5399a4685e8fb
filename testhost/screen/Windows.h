#pragma once

#include "platform/Types.h"

#include <cstddef>
#include <iterator>
#include <list>
#include <string_view>

namespace WindowKind {
inline constexpr short External = 5;
inline constexpr short Regular = 8;
inline constexpr short Modal = 9;
inline constexpr short Floating = 14;
} // namespace WindowKind

struct HostWindow {
    GrafPort port;           ///< the record that plug-ins see
    long process;            ///< number of the process that owns it
    long nativeWindow;       ///< stands for the handle of a window of Windows; never 0, never twice
    bool focusable = true;   ///< floating windows are not, at first
    TEHandle text = nullptr; ///< of a window of the method editor; platform handles
    short currentLine = 0;   ///< in that text
    Region content{};        ///< the region that the record refers to
    Region* contentMaster = nullptr;
};

/// The host's windows, front to back, with the chain of records that plug-ins walk.
class WindowList {
  public:
    /// Opens a window in front of all others. The record lives until the list is destroyed or
    /// the window is removed.
    HostWindow& AddInFront(long process, short kind, bool visible = true);
    /// Takes the window out of the list and frees its record.
    void Remove(const GrafPort* port);
    /// Brings the windows of a process in front of all others, in their order.
    void BringToFront(long process);
    void Clear();
    /// Makes the window one of the method editor, with this text.
    static void SetMethodText(HostWindow& window, std::string_view text);
    /// Takes the texts of all windows away.
    void DisposeMethodTexts();
    /// The window with this record; null when there is none.
    HostWindow* Find(const void* port);
    /// Front to back, from 0.
    HostWindow& At(size_t place) { return *std::next(windows.begin(), static_cast<long>(place)); }
    size_t Count() const { return windows.size(); }
    /// The platform's window-list variable: the frontmost window's record, null when none is open.
    GrafPort** Head() { return &head; }

  private:
    void Chain();

    std::list<HostWindow> windows; // a list, because plug-ins keep the records' addresses
    GrafPort* head = nullptr;
};
