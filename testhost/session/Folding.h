#pragma once

#include <array>
#include <cstddef>
#include <string>

/// What lines of a transcript have to have in common for one to stand for the others.
struct Likeness {
    const std::string* heading; ///< of the host's lines
    int depth;                  ///< how far in they stand
    long process;
    bool isCall; ///< into the host: then all that follows says which, and how it ended
    bool isEngine = false;
    long selector = 0;
    long error = 0;
    size_t text = 0; ///< hash of a note, or of a call's remark; 0: none

    bool operator==(const Likeness&) const = default;
};

/// Finds what repeats itself in a run of lines: one, or a group of two or three, the first three
/// times of which are shown.
class Folding {
  public:
    /// Whether the next line need not be shown. What was folded before one that has to be is
    /// still to be taken.
    bool Folds(const Likeness& line);
    /// "  ← … 212 more calls like it", and begins a new run but for what it compares with; empty
    /// when nothing was folded.
    std::string Take();
    /// How many calls were folded since the last Take.
    size_t Calls() const { return calls; }
    /// Whatever comes is unlike what was.
    void Forget() { seen = 0; }

  private:
    static constexpr size_t longestGroup = 3;

    std::array<Likeness, longestGroup> last{};
    std::array<size_t, longestGroup> repeated{}; ///< lines that were as those so many before them
    size_t seen = 0;
    size_t group = 0; ///< lines of what is being folded
    size_t folded = 0;
    size_t calls = 0; ///< of these
    Likeness first{}; ///< of these
};
