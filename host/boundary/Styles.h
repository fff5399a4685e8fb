#pragma once

#include "platform/Types.h"

#include <cstddef>

#pragma pack(push, 2)

/// Font, size and face of a style on one platform interface.
struct FourDPlatformStyle {
    unsigned char font[64]; ///< Pascal string
    short size;
    short face;
};

/// A text style of the host, also the contents of a 'Styl' resource. One platform entry for each
/// of the interface kinds 0 to 2.
struct FourDStyle {
    unsigned char name[32]; ///< Pascal string of up to 31 characters
    short id;
    FourDPlatformStyle platforms[3];
};

/// The extended text style, also the contents of a 'StyX' resource. Lists of hosts before 6.8 hold
/// its identifier, its reserved word and its sizes big-endian; the faces are not.
struct FourDStyleX {
    unsigned char name[32]; ///< Pascal string of up to 31 characters
    short id;
    short reserved;
    FourDPlatformStyle platforms[5];
};

/// What a list of styles begins with; the records follow back to back. No call of FourD asks the
/// host for a list of its own. One comes as a resource that is laid out like it: the plug-in's
/// (FourD::GetPluginResource, as of extended styles the style sets that forms name), or one of the
/// structure or of a file opened through the host (FourD::Get4DRes).
struct FourDStyleListHeader {
    short count;
    short reserved;
};

/// The host's system colours.
struct SysColors4D {
    RGBColor colors[4];
};

#pragma pack(pop)

static_assert(sizeof(FourDPlatformStyle) == 68);
static_assert(sizeof(FourDStyle) == 238 && offsetof(FourDStyle, id) == 32 &&
              offsetof(FourDStyle, platforms) == 34);
static_assert(sizeof(FourDStyleX) == 376 && offsetof(FourDStyleX, id) == 32 &&
              offsetof(FourDStyleX, reserved) == 34 && offsetof(FourDStyleX, platforms) == 36);
static_assert(sizeof(FourDStyleListHeader) == 4 && sizeof(SysColors4D) == 24);
