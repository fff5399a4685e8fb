// Text styles out of the host's lists and the plug-in's resources, and colours.

#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "tests/Fixture.h"

#include <cstring>
#include <utility>

namespace {

constexpr short PluginFile = 77;

template <typename Record>
std::string BytesOf(const Record& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

/// A style whose entries have the sizes 10, 11, ... and the faces 0, 1, ...
template <typename Style>
Style MakeStyle(const char* name, short id) {
    Style style = {};
    std::memcpy(style.name, PascalString(name).bytes, sizeof style.name);
    style.id = id;
    for (short entry = 0; FourDPlatformStyle & platform : style.platforms) {
        platform = {{4, 'F', 'o', 'n', 't'}, static_cast<short>(10 + entry), entry};
        ++entry;
    }
    return style;
}

/// A list with this count, cut or filled up to `size` bytes.
template <typename Style>
std::string ListBytes(short count, const std::vector<Style>& styles, size_t size) {
    std::string bytes = BytesOf(FourDStyleListHeader{count, 0});
    for (const Style& style : styles) {
        bytes += BytesOf(style);
    }
    bytes.resize(size);
    return bytes;
}

FourDStyleX Swapped(FourDStyleX style) {
    std::string bytes = BytesOf(style);
    for (const size_t word : {32U, 34U, 100U, 168U, 236U, 304U, 372U}) {
        std::swap(bytes[word], bytes[word + 1]);
    }
    std::memcpy(&style, bytes.data(), sizeof style);
    return style;
}

class StylesTest : public HostTest, public testing::WithParamInterface<unsigned short> {
  protected:
    StylesTest() : HostTest({.version = GetParam(), .pluginResFile = PluginFile}) { Start(); }
    TestPlug plug;
};

INSTANTIATE_TEST_SUITE_P(Hosts, StylesTest, testing::Values<unsigned short>(0x0679, 0x0680));

TEST_P(StylesTest, ReadsAListAsFarAsItReaches) {
    const auto first = MakeStyle<FourDStyle>("First", 1);
    const auto second = MakeStyle<FourDStyle>("Second", -2);
    const FourDStyle none = {};
    for (const auto& [count, size, id, error, found] :
         {std::tuple{1, 379U, 1, -50, &none}, // although it holds a whole record
          {1, 380U, 1, 0, &first},
          {1, 480U, -2, 0, &none},
          {2, 480U, -2, 0, &second},
          {2, 479U, -2, 0, &none}, // one byte short
          {0x7FFF, 480U, -2, 0, &second},
          {0x7FFF, 480U, 99, 0, &none},
          {-1, 480U, 1, 0, &none}}) {
        SCOPED_TRACE(testing::Message() << count << " in " << size << ", " << id);
        const auto shortCount = static_cast<short>(count);
        const OwnedHandle list(ListBytes<FourDStyle>(shortCount, {first, second}, size));
        for (const int state : {0, 0x80}) {
            HSetState(list, static_cast<char>(state));
            auto style = first;
            EXPECT_EQ(FourD::GetStyleByID(list, static_cast<short>(id), &style), error);
            EXPECT_EQ(BytesOf(style), BytesOf(*found));
            EXPECT_EQ(HGetState(list) & 0x80, state);
        }
    }
    FourDStyle style;
    EXPECT_EQ(FourD::GetStyleByID(nullptr, 1, &style), ResultCode::BadParameter);
}

TEST_P(StylesTest, ExtendedListsOfOldHostsAreBigEndian) {
    auto wanted = MakeStyle<FourDStyleX>("Wanted", 300);
    wanted.reserved = 0x1234;
    const auto other = MakeStyle<FourDStyleX>("Other", 1);
    const bool old = GetParam() < 0x0680;
    const OwnedHandle list(ListBytes<FourDStyleX>(
        short{2}, {old ? Swapped(other) : other, old ? Swapped(wanted) : wanted}, 4 + 2 * 376));
    if (old) {
        std::swap((*list.handle)[0], (*list.handle)[1]);
    }
    FourDStyleX style;
    for (const auto& [name, id, found] :
         {std::tuple{"wANTED", 300, true}, {"Wante", 0x2C01, false}}) {
        const std::string expected = BytesOf(found ? wanted : FourDStyleX{});
        EXPECT_EQ(FourD::GetStyleXByID(list, static_cast<short>(id), &style), 0);
        EXPECT_EQ(BytesOf(style), expected);
        EXPECT_EQ(FourD::GetStyleXByName(list, PascalString(name), &style), 0);
        EXPECT_EQ(BytesOf(style), expected);
    }
    auto lying = MakeStyle<FourDStyle>("A name of all of the 31 letters", 3);
    lying.name[0] = 255; // only those of the name are read, and the list is not swapped
    const OwnedHandle plain(ListBytes<FourDStyle>(1, {lying}, 380));
    FourDStyle found;
    const PascalString name("A name of all of the 31 letters");
    EXPECT_EQ(FourD::GetStyleByName(plain, name.bytes, &found), 0);
    EXPECT_EQ(short{found.id}, 3);
}

// The host's services may take memory, and whatever is unlocked moves then.
ClassicCallBack stillClassic;
EngineCallBack stillEngine;

HOST_CALL long MoveAndServeClassic(long selector, ParameterBlock* block) {
    ToolboxMoveMemory();
    return stillClassic(selector, block);
}

HOST_CALL long MoveAndServeEngine(long selector, FDEngineBlock* block) {
    ToolboxMoveMemory();
    return stillEngine(selector, block);
}

TEST_P(StylesTest, AListMayMoveBetweenSearchesOnly) {
    const auto first = MakeStyle<FourDStyle>("First", 1);
    const auto second = MakeStyle<FourDStyle>("Second", 2);
    const OwnedHandle list(ListBytes<FourDStyle>(2, {first, second}, 480));
    stillClassic = std::exchange(gHost.classicCallBack, MoveAndServeClassic);
    stillEngine = std::exchange(gHost.engineCallBack,
                                gHost.engineCallBack != nullptr ? MoveAndServeEngine : nullptr);
    FourDStyle found;
    EXPECT_EQ(FourD::GetStyleByName(list, PascalString("Second"), &found), 0);
    EXPECT_EQ(BytesOf(found), BytesOf(second));
    gHost.classicCallBack = stillClassic;
    gHost.engineCallBack = stillEngine;
}

TEST_P(StylesTest, TakesStylesOutOfTheirResources) {
    const auto plain = MakeStyle<FourDStyle>("Plain", 5);
    const auto extended = MakeStyle<FourDStyleX>("Extended", 6);
    for (const short cut : {short{0}, short{1}}) { // identifiers 0 and 1, names "0" and "1"
        const std::string name = std::to_string(cut);
        ToolboxAddResource(PluginFile, 0x5374796C, cut, name.c_str(), &plain, 238 - cut);
        ToolboxAddResource(PluginFile, 0x53747958, cut, name.c_str(), &extended, 376 - cut);
    }
    for (const auto& [id, error] : {std::pair{short{0}, 0}, {short{1}, -50}, {short{2}, -192}}) {
        PascalString name(std::to_string(id));
        FourDStyle style = plain;
        EXPECT_EQ(FourD::GetStyleRes(id, &style), error);
        EXPECT_EQ(BytesOf(style), BytesOf(error == 0 ? plain : FourDStyle{}));
        FourDStyleX styleX = extended;
        EXPECT_EQ(FourD::GetStyleXResByID(id, &styleX), error);
        EXPECT_EQ(BytesOf(styleX), BytesOf(error == 0 ? extended : FourDStyleX{}));
        FourDPlatformStyle spec;
        EXPECT_EQ(FourD::GetPlatformStyleSpecByName(name, &spec), error);
        EXPECT_EQ(short{spec.size}, error == 0 ? 12 : 0);
        FourDPlatformStyle byID = {{1, 'x'}, 1, 1};
        EXPECT_EQ(FourD::GetPlatformStyleSpecByID(id, &byID), error);
        EXPECT_EQ(BytesOf(byID), BytesOf(spec));
    }
}

TEST_P(StylesTest, TheInterfaceChoosesEntriesAndColours) {
    const auto style = MakeStyle<FourDStyle>("Plain", 1);
    auto extended = MakeStyle<FourDStyleX>("Extended", 1);
    extended.platforms[4].font[0] = 255;
    struct Row {
        long kind;
        short size, extendedSize;
        long second, third;    // colours -2 and -3; -1 and -4 are always black and white
        const char* selectors; // of 0 and -1 to -5
    };
    constexpr long White = 0xFFFFFF;
    const Row rows[] = {
        {0, 10, 10, White, 0x7F7F7F, "-3021-"},     {1, 11, 11, White, 0x404040, "-3021-"},
        {2, 12, 12, 0xC0C0C0, 0x404040, "-3021-"},  {3, 12, 13, 0xDDDDDD, 0x888888, "-3121-"},
        {4, 12, 14, 0xC0C0C0, 0x404040, "------"},  {5, 12, 12, 0xC0C0C0, 0x404040, "------"},
        {-1, 12, 12, 0xC0C0C0, 0x404040, "-3021-"}, {-2, 12, 12, 0xC0C0C0, 0x404040, "------"}};
    FourDPlatformStyle spec;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.kind);
        host.options.platformInterface = row.kind;
        EXPECT_EQ(FourD::GetPlatformStyle(&style, &spec), 0);
        EXPECT_EQ(short{spec.size}, row.size);
        EXPECT_EQ(FourD::GetPlatformStyle(&extended, &spec), 0);
        EXPECT_EQ(short{spec.size}, row.extendedSize);
        EXPECT_EQ(spec.font[0], row.kind == 4 ? 63 : 4); // never beyond its bytes
        const long colors[] = {White, 0, row.second, row.third, White, White};
        for (int place = 0; place < 6; ++place) {
            EXPECT_EQ(Hack4DStdColor(-place), colors[place]) << place;
            const char selector = row.selectors[place];
            EXPECT_EQ(MapDefaultColorToSysColors4DSelector(-place),
                      selector == '-' ? -1 : selector - '0')
                << place;
        }
    }
    for (int call = 0; call < 3; ++call) {
        host.FailNext("PlatformInterface", -2);
    }
    EXPECT_EQ(FourD::GetPlatformStyle(&style, &spec), -2);
    EXPECT_EQ(BytesOf(spec), BytesOf(FourDPlatformStyle{}));
    EXPECT_EQ(Hack4DStdColor(-1), White);
    EXPECT_EQ(MapDefaultColorToSysColors4DSelector(-1), -1);
}

TEST_P(StylesTest, ColoursHaveSixteenBitComponents) {
    for (const auto& [color, error, expected] :
         {std::tuple{0x7F123456L, 0, RGBColor{0x1212, 0x3434, 0x5656}},
          {-3L, 0, RGBColor{0x4040, 0x4040, 0x4040}},
          {-5L, -50, RGBColor{}}}) {
        RGBColor rgb = {1, 2, 3};
        EXPECT_EQ(FourD::GetRGBColor(color, &rgb), error) << color;
        EXPECT_EQ(BytesOf(rgb), BytesOf(expected)) << color;
    }
    host.systemColors.colors[3] = {0xFFFF, 0x8000, 1};
    for (const auto& [index, error] : {std::pair{3, 0}, {-1, -50}, {4, -50}, {0, -2}}) {
        if (error == -2) {
            host.FailNext("SystemColors", -2);
        }
        long red = 7, green = 7, blue = 7;
        EXPECT_EQ(FourD::GetDrawingColor(static_cast<short>(index), &red, &green, &blue), error);
        EXPECT_EQ(red, error == 0 ? 0xFFFF : 0);
        EXPECT_EQ(green, error == 0 ? 0x8000 : 0);
        EXPECT_EQ(blue, error == 0 ? 1 : 0);
    }
}

} // namespace
