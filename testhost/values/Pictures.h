#pragma once

#include "host/boundary/Values.h"
#include "testhost/values/LeftOvers.h"
#include "testhost/values/Owner.h"
#include "testhost/values/Reporter.h"
#include "testhost/values/Whereabouts.h"

#include <array>
#include <deque>
#include <map>
#include <string>
#include <utility>
#include <vector>

/// One form in which a picture is kept: what it is (ANSI text, such as "public.jpeg; JPG"), and the
/// bytes.
struct PictureRepresentation {
    std::string information;
    std::string data;
};

struct HostPicture {
    std::vector<PictureRepresentation> representations = {}; ///< their numbers count from 1
    short width = 1;                                         ///< of its native bitmap, in pixels
    short height = 1;
};

/// The host's pictures. Plug-ins know them by the addresses of blocks that mean nothing to them;
/// a block that is none, that was disposed of or that was written to is reported, a null one not.
class HostPictures {
  public:
    explicit HostPictures(Reporter problemReporter) : report(std::move(problemReporter)) {}
    ~HostPictures();
    HostPictures(const HostPictures&) = delete;
    HostPictures& operator=(const HostPictures&) = delete;

    /// A new picture. The plug-in's are counted by Live() until they are disposed of or adopted.
    FDPictureBlock* Add(HostPicture picture, Owner owner = Owner::Host);
    /// What a picture holds; null when it is none, which is reported unless the block is null.
    const HostPicture* Find(const FDPictureBlock* block);
    /// Whether the block is that of a living picture. Reports nothing.
    bool IsLive(const FDPictureBlock* block) const { return pictures.contains(block); }
    /// Releases a picture; -50 when it is none. A plug-in may release its own only.
    short Dispose(const FDPictureBlock* block, Owner by = Owner::Host);
    /// Hands a picture over, as HostStrings::SetOwner does.
    short SetOwner(const FDPictureBlock* block, Owner owner);

    /// A bitmap of Windows, of the picture's size, that the plug-in has to delete (DeleteObject).
    void* CreateNativeBitmap(const HostPicture& picture);

    /// How many pictures the plug-in, how many the host has to release.
    long Live() const { return Count(Owner::Plugin); }
    long LiveOfHost() const { return Count(Owner::Host); }
    /// How many of the bitmaps that were made nobody has deleted.
    long LiveBitmaps() const;
    /// Adds the plug-in's pictures, and these bitmaps.
    void AddLeftOvers(LeftOvers& leftOvers) const;
    /// Those become the host's.
    void TakeOver();
    /// Reports every block that was written to.
    void Check();

  private:
    struct Entry {
        HostPicture picture;
        Owner owner;
        Whereabouts made;
    };
    struct Bitmap {
        void* handle;
        short width;
        short height;
        Whereabouts made;

        bool IsAlive() const;
    };
    using Block = std::array<unsigned char, 32>;

    long Count(Owner owner) const;
    Entry* FindEntry(const FDPictureBlock* block);

    Reporter report;
    std::deque<Block> blocks; ///< kept for good, so that no address is used twice
    std::map<const FDPictureBlock*, Entry> pictures;
    std::map<const FDPictureBlock*, Whereabouts> disposed; ///< where; for good, as the blocks
    std::vector<Bitmap> bitmaps;
};
