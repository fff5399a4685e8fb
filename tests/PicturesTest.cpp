// The host's pictures: their representations, their bitmaps, and who releases what.

#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "tests/Fixture.h"

#include <gmock/gmock.h>

#include <windows.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

/// A four-character code, as source text writes it.
constexpr unsigned long Code(const char (&text)[5]) {
    unsigned long code = 0;
    for (int place = 0; place < 4; ++place) {
        code = code << 8 | static_cast<unsigned char>(text[place]);
    }
    return code;
}

class PicturesTest : public HostTest {
  protected:
    PicturesTest() : HostTest({.version = 0x1130}) {
        Start();
        host.log.Clear();
    }
    ~PicturesTest() override { EXPECT_EQ(host.strings.Live(), 0); }

    size_t Calls(const char* name) { return host.log.Named(name).size(); }

    TestPlug plug;
    FDPictureBlock* const picture = host.pictures.Add({.representations = {
                                                           {"public.jpeg; JPG", "jpeg bytes"},
                                                           {"classic PICT", std::string("\0\1", 2)},
                                                           {"public.png; PNGf and JPG", ""},
                                                       }});
    FDPictureBlock* const empty = host.pictures.Add(HostPicture{});
};

TEST_F(PicturesTest, RepresentationsAreCounted) {
    EXPECT_EQ(FourD::CountPictureReps(picture), 3);
    EXPECT_EQ(Calls("PictureData"), 4u);
    EXPECT_EQ(Calls("DisposeFDString"), 3u);
    EXPECT_EQ(FourD::CountPictureReps(empty), 0);
    EXPECT_EQ(FourD::CountPictureReps(nullptr), 0);
    host.FailNext("PictureData", ResultCode::MemoryFull);
    EXPECT_EQ(FourD::CountPictureReps(picture), 0);
    EXPECT_EQ(FourD::CountPictureReps(picture), 3);
}

TEST_F(PicturesTest, InformationIsAHostStringOfTheCaller) {
    FDStringBlock info{};
    EXPECT_EQ(FourD::GetPictureInfo(picture, 2, &info), 0);
    EXPECT_EQ(host.strings.Text(info), "classic PICT");
    const FDStringBlock before = info;
    for (const long index : {0L, 4L, -1L}) {
        EXPECT_EQ(FourD::GetPictureInfo(picture, index, &info), ResultCode::BadParameter);
    }
    host.FailNext("PictureData", 1);
    EXPECT_EQ(FourD::GetPictureInfo(picture, 2, &info), 1); // only data has a code of its own
    EXPECT_EQ(FourD::GetPictureInfo(nullptr, 1, &info), ResultCode::BadParameter);
    EXPECT_EQ(std::memcmp(&info, &before, sizeof info), 0);
    FourD::DisposeFDStringBlock(&info);
    // Without a block nobody can release what the host answered.
    EXPECT_EQ(FourD::GetPictureInfo(picture, 1, nullptr), 0);
    FDStringBlock lost = host.log.Last("PictureData")->EngineAnswered().string;
    EXPECT_EQ(host.strings.Live(), 1);
    host.strings.Dispose(lost);
}

TEST_F(PicturesTest, InformationAsTextStaysInItsBuffer) {
    struct {
        FDPictureBlock* picture;
        long index;
        long size;
        std::string expected;
    } const cases[] = {
        {picture, 2, 13, "classic PICT"},
        {picture, 2, 12, ""},
        {picture, 2, 1, ""},
        {picture, 4, 64, ""},
        {empty, 1, 64, ""},
        {nullptr, 1, 64, ""},
    };
    for (const auto& row : cases) {
        std::string out(100, '#');
        FourD::GetFDPictureReprInfoCString(row.picture, row.index, out.data(), row.size);
        EXPECT_EQ(out.c_str(), row.expected) << row.size;
        EXPECT_EQ(out.find_first_not_of('#', static_cast<size_t>(row.size)), std::string::npos);
        EXPECT_EQ(host.strings.Live(), 0);
    }
    char untouched = '#';
    FourD::GetFDPictureReprInfoCString(picture, 1, &untouched, 0);
    FourD::GetFDPictureReprInfoCString(picture, 1, nullptr, 64);
    EXPECT_EQ(untouched, '#');
}

TEST_F(PicturesTest, DataGoesIntoTheCallersHandle) {
    const OwnedHandle data("what was there before");
    struct {
        FDPictureBlock* picture;
        long index;
        Handle handle;
        short hostCode; ///< what the host is made to answer, 0 for its own answer
        short expected;
    } const cases[] = {
        {picture, 1, data, 1, -8960},
        {picture, 1, data, -1, -8960},
        {picture, 1, data, 2, 2},
        {picture, 1, data, -2, -2},
        {picture, 4, data, 0, ResultCode::BadParameter},
        {nullptr, 1, data, 0, ResultCode::BadParameter},
        {picture, 1, nullptr, 0, ResultCode::BadParameter},
    };
    for (const auto& row : cases) {
        if (row.hostCode != 0) {
            host.FailNext("PictureData", row.hostCode);
        }
        EXPECT_EQ(FourD::GetPictureData(row.picture, row.index, row.handle), row.expected);
        EXPECT_EQ(data.Bytes(), "what was there before");
    }
    ToolboxFailAllocation(1);
    const std::string big(5000, 'b');
    EXPECT_EQ(FourD::GetPictureData(host.pictures.Add({.representations = {{"", big}}}), 1, data),
              ResultCode::MemoryFull);
    for (const auto& [index, bytes] :
         {std::pair{1L, std::string("jpeg bytes")}, {2L, std::string("\0\1", 2)}, {3L, ""}}) {
        EXPECT_EQ(FourD::GetPictureData(picture, index, data), 0);
        EXPECT_EQ(data.Bytes(), bytes);
    }
}

TEST_F(PicturesTest, ARepresentationIsFoundByTheTypesInItsInformation) {
    const unsigned long jpg = Code("JPG ");
    const unsigned long pict = Code("PICT");
    const unsigned long png = Code("PNGf");
    const unsigned long none = Code("tiff");
    struct {
        std::vector<unsigned long> types;
        long index;
        unsigned long found;
    } cases[] = {
        {{jpg}, 1, jpg}, // three characters are looked for
        {{pict}, 2, pict},
        {{png}, 3, png},
        {{none}, 0, 0},
        {{Code("PI  ")}, 0, 0},            // only the fourth character is cut off
        {{Code("pict")}, 0, 0},            // case matters
        {{Code("peg;")}, 1, Code("peg;")}, // anywhere in the text
        {{png, pict}, 2, pict},            // the representations' order comes before the types'
        {{png, jpg}, 1, jpg},
        {{none, jpg, Code("publ")}, 1, jpg}, // in one representation the types' order decides
        {{none, 0}, 1, 0},                   // the empty text is everywhere
        {{}, 0, 0},
    };
    for (auto& row : cases) {
        unsigned long found = 77;
        const auto count = static_cast<long>(row.types.size());
        EXPECT_EQ(FourD::FindFDPictureReprForType(picture, row.types.data(), count, &found),
                  row.index);
        EXPECT_EQ(found, row.found);
        EXPECT_EQ(FourD::FindFDPictureReprForType(picture, row.types.data(), count, nullptr),
                  row.index);
        if (count == 1) {
            EXPECT_EQ(FourD::FindFDPictureReprForType(picture, row.types[0]), row.index);
        }
        EXPECT_EQ(FourD::FindFDPictureReprForType(empty, row.types.data(), count, &found), 0);
        EXPECT_EQ(found, 0ul);
    }
    EXPECT_EQ(FourD::FindFDPictureReprForType(nullptr, jpg), 0);
    EXPECT_EQ(FourD::FindFDPictureReprForType(picture, nullptr, 3, nullptr), 0);
}

TEST_F(PicturesTest, BitmapsAndPicturesAreTheCallersToRelease) {
    FDPictureBlock* const own = host.pictures.Add({.width = 20, .height = 10}, Owner::Plugin);
    char** const bitmap = FourD::CreateNativeBitmapImage(own);
    BITMAP facts{};
    EXPECT_NE(GetObjectA(bitmap, sizeof facts, &facts), 0);
    EXPECT_EQ(facts.bmWidth, 20);
    EXPECT_EQ(facts.bmHeight, 10);
    EXPECT_EQ(host.pictures.LiveBitmaps(), 1);
    session.ReportLeaks();
    EXPECT_THAT(TakeProblems(), ElementsAre(HasSubstr("1 picture"), HasSubstr("1 native bitmap")));
    DeleteObject(bitmap);
    EXPECT_EQ(host.pictures.LiveBitmaps(), 0);

    host.FailNext("DisposePicture", -3);
    EXPECT_EQ(FourD::DisposePictureV11(own), -3);
    EXPECT_EQ(FourD::DisposePictureV11(own), 0);
    EXPECT_EQ(host.pictures.Live(), 0);
    EXPECT_EQ(FourD::CreateNativeBitmapImage(nullptr), nullptr);
    host.FailNext("CreateNativeBitmapImage", -1);
    EXPECT_EQ(FourD::CreateNativeBitmapImage(picture), nullptr);
    EXPECT_EQ(TakeProblems(), std::vector<std::string>{});
    EXPECT_EQ(FourD::DisposePictureV11(own), ResultCode::BadParameter);
    EXPECT_EQ(FourD::DisposePictureV11(picture), ResultCode::BadParameter);
    EXPECT_THAT(TakeProblems(), ElementsAre(HasSubstr("that was already disposed of."),
                                            HasSubstr("belongs to the host")));
}

} // namespace
