#include "testhost/values/Pictures.h"

#include "platform/ResultCodes.h"

#include <algorithm>

#include <windows.h>

namespace {
constexpr unsigned char opaque = 0xA5; // what the blocks hold
}

HostPictures::~HostPictures() {
    for (void* bitmap : bitmaps) {
        DeleteObject(bitmap);
    }
}

FDPictureBlock* HostPictures::Add(HostPicture picture, Owner owner) {
    blocks.emplace_back().fill(opaque);
    auto* block = reinterpret_cast<FDPictureBlock*>(blocks.back().data());
    pictures[block] = {std::move(picture), owner};
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
    bitmaps.push_back(CreateBitmap(picture.width, picture.height, 1, 32, nullptr));
    return bitmaps.back();
}

long HostPictures::LiveBitmaps() const {
    return static_cast<long>(std::ranges::count_if(
        bitmaps, [](void* bitmap) { return GetObjectType(bitmap) == OBJ_BITMAP; }));
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
        report("A picture that was disposed of, or never was one, came to the host.");
        return nullptr;
    }
    return &found->second;
}
