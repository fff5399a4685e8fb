#include "host/FourD.h"
#include "shell/base/Format.h"
#include "shell/base/Strings.h"
#include "shell/base/TextServices.h"
#include "shell/FourDPlug.h"

namespace {

/// Holds the longest version text: "165.15.15d255", of a byte whose digits are above 9.
constexpr std::size_t VersionCapacity = 16;

} // namespace

void FourDPlug::zGetProductName(unsigned char* name) {
    _CopyC2PStr(info->productName, name);
}

void FourDPlug::GetVersionString(unsigned long version, unsigned char* text) {
    char characters[VersionCapacity];
    GetVersionCString(version, characters);
    _CopyC2PStr(characters, text);
}

void FourDPlug::GetVersionCString(unsigned long version, char* text) {
    const auto nibble = [version](int shift) { return static_cast<int>(version >> shift & 0xF); };
    const int major = nibble(28) * 10 + nibble(24);
    const int minor = nibble(20);
    const int bugFix = nibble(16);
    int length = bugFix == 0 ? FormatText(text, VersionCapacity, "%d.%d", major, minor)
                             : FormatText(text, VersionCapacity, "%d.%d.%d", major, minor, bugFix);
    char stage = '\0'; // a final version has no letter
    switch (version >> 8 & 0xFF) {
    case 0x20:
        stage = 'd';
        break;
    case 0x40:
        stage = 'a';
        break;
    case 0x60:
        stage = 'b';
        break;
    default:
        return;
    }
    FormatText(text + length, VersionCapacity - static_cast<std::size_t>(length), "%c%d", stage,
               static_cast<int>(version & 0xFF));
}

void FourDPlug::GetProductVersionString(unsigned char* text) {
    GetVersionString(info->version, text);
}

void FourDPlug::GetProductVersionCString(char* text) {
    GetVersionCString(info->version, text);
}

void FourDPlug::Get4DStyleVersion(unsigned char* text) {
    FourD::VersToVers4D(info->version, text);
}

void FourDPlug::Get4DStyleVersionC(char* text) {
    unsigned char version[9];
    Get4DStyleVersion(version);
    _CopyP2CStr(version, text);
}

void FourDPlug::GetProductFullName(unsigned char* name) {
    char version[VersionCapacity];
    GetProductVersionCString(version);
    _FormatPWithCStr(name, "%s v.%s", info->productName, version);
}

void FourDPlug::GetProductFullNameC(char* name) {
    Str255 fullName;
    GetProductFullName(fullName);
    _CopyP2CStr(fullName, name);
}
