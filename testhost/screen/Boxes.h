#pragma once

#include "testhost/crossings/Log.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <string>
#include <vector>

/// A box that the host showed.
struct HostBox {
    enum class Kind { Alert, Confirm };

    Kind kind;
    std::string text;
    long answer;  ///< 1 when the user pressed OK
    size_t entry; ///< how often the plug-in had been entered by then
};

/// The boxes that the host shows, and what users answer to them.
class Boxes {
  public:
    /// The log tells how often the plug-in was entered.
    explicit Boxes(const CallLog& crossings) : log(crossings) {}
    Boxes(const Boxes&) = delete;
    Boxes& operator=(const Boxes&) = delete;

    /// Shows a box and answers what the user pressed.
    long Show(HostBox::Kind kind, std::string text);

    /// Oldest first, of very many only the last. Callers may clear it.
    std::vector<HostBox> shown;
    /// Answers to the next confirmation boxes; OK when none is left.
    std::deque<long> confirmAnswers;
    /// Runs for every box that is shown; may be empty.
    std::function<void(const HostBox&)> onShown;

  private:
    const CallLog& log;
};
