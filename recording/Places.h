#pragma once

#include "host/boundary/Selectors.h"
#include "recording/Format.h"
#include "testhost/plugins/Usage.h"

#include <cstdint>
#include <span>

// Where in what crosses the boundary addresses stand, and what they lead to. The recorder copies
// by it, and whoever plays a recording again puts together by it what was there.

namespace Recording {

/// What of a host decides how things lie. Told by what crosses itself, see Learn.
struct Surroundings {
    unsigned short version = 0; ///< of the host; 0 before its first call
    bool compiled = false;      ///< a pointer is a value block with a handle to its target
    bool knowsCompiled = false; ///< the host has told whether it is
};

/// An address that stands somewhere.
struct Place {
    unsigned parent = 0;    ///< item that it stands in, as whoever visits numbers them; 0: the root
    std::size_t offset = 0; ///< of the address in it
    Target target = Target::Memory;
    Form form = Form::Bytes;
    std::size_t size = 0; ///< bytes of memory; 0 where the visitor has to find out: of a handle, a
                          ///< text (see TextSize), and none at all of Form::None
    std::uint8_t detail = 0;
    bool isSlot = false; ///< what is there is yet to be filled
};

/// Whoever looks at places.
class Visitor {
  public:
    /// What is there. The bytes are looked through for further addresses; none: nothing is.
    struct Found {
        unsigned item = 0; ///< its number as a parent
        std::span<const unsigned char> bytes = {};
    };

    /// The address at the place, which is not 0.
    virtual Found Visit(const Place& place, std::uint32_t address) = 0;

  protected:
    ~Visitor() = default;
};

/// What is handed over in a crossing. For a function of the plug-in `root` are its words.
struct Crossing {
    Way way = Way::Classic;
    long selector = 0;
    bool isOver = false; ///< it has been answered
    std::span<const unsigned char> root = {};
    const Usage* usage = nullptr; ///< of a command; null when the plug-in declares none
    /// Of a call that is over: the record as it was sent; else empty.
    std::span<const unsigned char> sent = {};
};

/// Shows the visitor all addresses of a crossing, parents before what they lead to. Nothing outside
/// the root and the bytes that the visitor finds is read.
void VisitPlaces(const Crossing& crossing, const Surroundings& surroundings, Visitor& visitor);

/// Takes notice of what a crossing tells of its surroundings: the init record's version (`init` are
/// the bytes it leads to), a ProgramInfo that was answered.
void Learn(const Crossing& crossing, std::span<const unsigned char> init,
           Surroundings& surroundings);

/// The head of an item for such a place, of which no bytes are there so far.
ItemHead HeadOf(const Place& place, std::uint32_t address);

/// How many of the bytes that can be read belong to a text of this form, with what ends it; all of
/// them for other forms.
std::size_t TextSize(Form form, std::span<const unsigned char> readable);

/// Zeroes what does not count of bytes in this form: what stands behind a string's end, behind what
/// a value's type needs.
void BlankUnused(Form form, std::uint8_t detail, std::span<unsigned char> bytes);
} // namespace Recording
