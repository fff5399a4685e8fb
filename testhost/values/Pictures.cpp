#include "testhost/values/Pictures.h"

#include "platform/ResultCodes.h"

#include <algorithm>
#include <cstring>

#include <windows.h>

namespace {
constexpr unsigned char opaque = 0xA5; // what the blocks hold

// Loaded when a plug-in first asks for a bitmap: it takes longer than all else of a program's
// start.
struct GdiCalls {
    decltype(&CreateBitmap) createBitmap;
    decltype(&DeleteObject) deleteObject;
    decltype(&GetObjectType) getObjectType;
};

template <typename Function>
void Find(HMODULE library, const char* name, Function& function) {
    void* const found = reinterpret_cast<void*>(GetProcAddress(library, name));
    std::memcpy(&function, &found, sizeof function);
}

const GdiCalls& Gdi() {
    static const GdiCalls calls = [] {
        GdiCalls found{};
        HMODULE const library = LoadLibraryW(L"gdi32.dll");
        Find(library, "CreateBitmap", found.createBitmap);
        Find(library, "DeleteObject", found.deleteObject);
        Find(library, "GetObjectType", found.getObjectType);
        return found;
    }();
    return calls;
}

std::string SizeText(short width, short height) {
    return "of " + std::to_string(width) + " x " + std::to_string(height) + " pixels";
}
} // namespace

HostPictures::~HostPictures() {
    for (const Bitmap& bitmap : bitmaps) {
        Gdi().deleteObject(bitmap.handle);
    }
}

FDPictureBlock* HostPictures::Add(HostPicture picture, Owner owner) {
    blocks.emplace_back().fill(opaque);
    auto* block = reinterpret_cast<FDPictureBlock*>(blocks.back().data());
    pictures[block] = {std::move(picture), owner, CurrentWhereabouts()};
    return block;
}

const HostPicture* HostPictures::Find(const FDPictureBlock* block) {
    const Entry* entry = FindEntry(block);
    return entry != nullptr ? &entry->picture : nullptr;
}

short HostPictures::Dispose(const FDPictureBlock* block, Owner by) {
    const Entry* entry = FindEntry(block);
    if (entry == nullptr) {
        return ResultCode::BadParameter;
    }
    if (by == Owner::Plugin && entry->owner == Owner::Host) {
        report("The plug-in disposed of a picture that belongs to the host.");
        return ResultCode::BadParameter;
    }
    pictures.erase(block);
    disposed[block] = CurrentWhereabouts();
    return ResultCode::NoError;
}

short HostPictures::SetOwner(const FDPictureBlock* block, Owner owner) {
    Entry* entry = FindEntry(block);
    if (entry == nullptr) {
        return ResultCode::BadParameter;
    }
    entry->owner = owner;
    return ResultCode::NoError;
}

void* HostPictures::CreateNativeBitmap(const HostPicture& picture) {
    void* handle = Gdi().createBitmap(picture.width, picture.height, 1, 32, nullptr);
    bitmaps.push_back({handle, picture.width, picture.height, CurrentWhereabouts()});
    return handle;
}

long HostPictures::LiveBitmaps() const {
    return static_cast<long>(
        std::ranges::count_if(bitmaps, [](const Bitmap& bitmap) { return bitmap.IsAlive(); }));
}

bool HostPictures::Bitmap::IsAlive() const {
    return Gdi().getObjectType(handle) == OBJ_BITMAP;
}

void HostPictures::AddLeftOvers(LeftOvers& leftOvers) const {
    for (const auto& [block, entry] : pictures) {
        const auto& [picture, owner, made] = entry;
        if (owner != Owner::Plugin) {
            continue;
        }
        std::string text = SizeText(picture.width, picture.height);
        if (!picture.representations.empty()) {
            const PictureRepresentation& first = picture.representations.front();
            text += ", " + first.information + " of " + LeftOvers::Bytes(first.data);
        }
        leftOvers.Add({"picture", "taken"}, text, made);
    }
    for (const Bitmap& bitmap : bitmaps) {
        if (bitmap.IsAlive()) {
            leftOvers.Add({"native bitmap", "taken"}, SizeText(bitmap.width, bitmap.height),
                          bitmap.made);
        }
    }
}

void HostPictures::TakeOver() {
    for (auto& [block, entry] : pictures) {
        entry.owner = Owner::Host;
    }
    bitmaps.clear();
}

void HostPictures::Check() {
    for (Block& block : blocks) {
        if (std::ranges::any_of(block, [](unsigned char each) { return each != opaque; })) {
            report("The plug-in wrote into the block of a picture.");
            block.fill(opaque);
        }
    }
}

long HostPictures::Count(Owner owner) const {
    return static_cast<long>(std::ranges::count_if(
        pictures, [owner](const auto& entry) { return entry.second.owner == owner; }));
}

HostPictures::Entry* HostPictures::FindEntry(const FDPictureBlock* block) {
    if (block == nullptr) {
        return nullptr;
    }
    auto found = pictures.find(block);
    if (found == pictures.end()) {
        const auto former = disposed.find(block);
        report(former != disposed.end()
                   ? "A picture came to the host that was already disposed of" +
                         Under(former->second) + "."
                   : "A picture that was disposed of, or never was one, came to the host.");
        return nullptr;
    }
    return &found->second;
}
