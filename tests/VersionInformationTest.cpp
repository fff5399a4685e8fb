#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include <windows.h>

namespace {

/// What the system tells of a file that lies beside this program.
class VersionInformation {
  public:
    explicit VersionInformation(const wchar_t* name) {
        wchar_t self[MAX_PATH];
        GetModuleFileNameW(nullptr, self, MAX_PATH);
        const std::wstring path = std::filesystem::path(self).replace_filename(name).wstring();
        bytes.resize(GetFileVersionInfoSizeW(path.c_str(), nullptr));
        if (!GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(bytes.size()), bytes.data())) {
            ADD_FAILURE() << "no version information: " << path;
        }
    }

    std::wstring Text(const std::wstring& name) {
        void* text = nullptr;
        UINT length = 0; // with the zero at its end
        const std::wstring path = L"\\StringFileInfo\\040904B0\\" + name;
        return VerQueryValueW(bytes.data(), path.c_str(), &text, &length) != 0
                   ? static_cast<wchar_t*>(text)
                   : L"";
    }

    VS_FIXEDFILEINFO Numbers() {
        void* record = nullptr;
        UINT length = 0;
        return VerQueryValueW(bytes.data(), L"\\", &record, &length) != 0
                   ? *static_cast<VS_FIXEDFILEINFO*>(record)
                   : VS_FIXEDFILEINFO{};
    }

  private:
    std::vector<char> bytes;
};

TEST(VersionInformationTest, ThePlugInsOwnIsWhatItsBuildSays) {
    VersionInformation tour(L"Tour.dll");
    EXPECT_EQ(tour.Text(L"ProductName"), L"Tour");
    EXPECT_EQ(tour.Text(L"FileDescription"),
              L"The \"grand tour\": commands for every kind of parameter \x2013 and result");
    EXPECT_EQ(tour.Text(L"LegalCopyright"), L"\xA9 Nimbo's authors");
    EXPECT_EQ(tour.Text(L"CompanyName"), L"");
    EXPECT_EQ(tour.Text(L"ProductVersion"), L"1.0.0");
    EXPECT_EQ(tour.Text(L"OriginalFilename"), L"Tour.dll");
    const VS_FIXEDFILEINFO numbers = tour.Numbers();
    EXPECT_EQ(numbers.dwFileVersionMS, 0x10000UL);
    EXPECT_EQ(numbers.dwFileVersionLS, 0UL);
    EXPECT_EQ(numbers.dwFileType, static_cast<DWORD>(VFT_DLL));
}

TEST(VersionInformationTest, AllThatIsShippedHasTheSameVersion) {
    VersionInformation nimbo(L"Nimbo.dll");
    EXPECT_EQ(nimbo.Text(L"FileDescription"), L"The plug-in of the Nimbo framework");
    EXPECT_THAT(nimbo.Text(L"FileVersion"), testing::Not(testing::IsEmpty()));
    for (const wchar_t* name : {L"testhost.exe", L"ASINTPPC.dll"}) {
        SCOPED_TRACE(name);
        VersionInformation other(name);
        EXPECT_EQ(other.Text(L"ProductName"), L"Nimbo");
        EXPECT_EQ(other.Text(L"OriginalFilename"), name);
        EXPECT_EQ(other.Text(L"FileVersion"), nimbo.Text(L"FileVersion"));
        EXPECT_EQ(other.Numbers().dwProductVersionMS, nimbo.Numbers().dwProductVersionMS);
        EXPECT_EQ(other.Numbers().dwProductVersionLS, nimbo.Numbers().dwProductVersionLS);
    }
}

} // namespace
