#include "resources/resource.h"
#include "tests/resources/ModuleResources.h"

#include <gmock/gmock.h>
#include <windows.h>
#include <winver.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace {

std::string FileBytes(const std::string& name) {
    std::ifstream file(RESOURCES_FOLDER "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

BOOL CALLBACK CollectLanguage(HMODULE, LPCWSTR, LPCWSTR, WORD language, LONG_PTR languages) {
    reinterpret_cast<std::vector<WORD>*>(languages)->push_back(language);
    return TRUE;
}

std::vector<WORD> LanguagesOf(const wchar_t* type, WORD id) {
    std::vector<WORD> languages;
    ::EnumResourceLanguagesW(nullptr, type, MAKEINTRESOURCEW(id), &CollectLanguage,
                             reinterpret_cast<LONG_PTR>(&languages));
    return languages;
}

// The sizes matter: the code takes the resource's size for the text's length.
TEST(ModuleResources, AreTheFilesByteForByteInOneLanguage) {
    const struct {
        const wchar_t* type;
        WORD id;
        const char* file;
    } cases[] = {
        {L"XML", 103, "ribbon/explorer.xml"}, {L"XML", 104, "ribbon/appointment.xml"},
        {L"PNG", 401, "images/start.png"},    {L"PNG", 402, "images/schedule.png"},
        {L"PNG", 403, "images/modify.png"},   {L"PNG", 404, "images/cancel.png"},
        {L"PNG", 405, "images/start.png"},    {L"PNG", 406, "images/start.png"},
    };
    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.id);
        const std::string expected = FileBytes(entry.file);
        ASSERT_FALSE(expected.empty());
        EXPECT_TRUE(ResourceBytes(entry.type, entry.id) == expected);
        EXPECT_THAT(LanguagesOf(entry.type, entry.id), testing::ElementsAre(2052));
    }
    for (const WORD block : {WORD{201 / 16 + 1}, WORD{301 / 16 + 1}}) { // strings are kept in blocks of 16
        EXPECT_THAT(LanguagesOf(RT_STRING, block), testing::ElementsAre(2052));
    }
}

TEST(ModuleResources, IconHasAFrameForEverySizeWindowsAsksFor) {
    const std::string_view group = ResourceBytes(RT_GROUP_ICON, IDI_ADDIN);
    ASSERT_GE(group.size(), 6u);
    // GRPICONDIR: 3 words, then 14 bytes a frame; byte 0 is the width (0 means 256), bytes 6 and 7 the bits a pixel.
    std::vector<int> widths;
    for (size_t at = 6; at + 14 <= group.size(); at += 14) {
        const int width = static_cast<unsigned char>(group[at]);
        widths.push_back(width == 0 ? 256 : width);
        EXPECT_EQ(group[at + 6], 32) << "bits a pixel at width " << width;
    }
    EXPECT_THAT(widths, testing::UnorderedElementsAre(16, 20, 24, 32, 48, 64, 256));

    const int small = ::GetSystemMetrics(SM_CXSMICON);
    HANDLE icon = ::LoadImageW(::GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDI_ADDIN), IMAGE_ICON, small, small, 0);
    EXPECT_NE(icon, nullptr);
    ::DestroyIcon(static_cast<HICON>(icon));
}

TEST(ModuleResources, VersionNamesTheModule) {
    DWORD ignored = 0;
    const DWORD size = ::GetFileVersionInfoSizeW(ProgramPath().c_str(), &ignored);
    ASSERT_GT(size, 0u);
    std::vector<char> block(size);
    ASSERT_TRUE(::GetFileVersionInfoW(ProgramPath().c_str(), 0, size, block.data()));

    const auto text = [&block](const std::wstring& name) -> std::wstring {
        void* value = nullptr;
        UINT length = 0;
        const std::wstring path = L"\\StringFileInfo\\040904b0\\" + name;
        return ::VerQueryValueW(block.data(), path.c_str(), &value, &length) && length ? static_cast<wchar_t*>(value)
                                                                                       : L"";
    };
    EXPECT_EQ(text(L"OriginalFilename"), L"OutlookAddIn.dll");
    EXPECT_EQ(text(L"ProductName"), L"NEMBRA CLOUD Meeting add-in for Outlook");
    EXPECT_EQ(text(L"FileDescription"), L"NEMBRA CLOUD Meeting add-in for Outlook");
    EXPECT_EQ(text(L"CompanyName"), L"NEMBRA");

    void* value = nullptr;
    UINT length = 0;
    ASSERT_TRUE(::VerQueryValueW(block.data(), L"\\", &value, &length));
    const auto* fixed = static_cast<const VS_FIXEDFILEINFO*>(value);
    EXPECT_EQ(fixed->dwFileType, static_cast<DWORD>(VFT_DLL));
    const std::wstring numbers = std::to_wstring(HIWORD(fixed->dwFileVersionMS)) + L"." +
                                 std::to_wstring(LOWORD(fixed->dwFileVersionMS)) + L"." +
                                 std::to_wstring(HIWORD(fixed->dwFileVersionLS));
    EXPECT_EQ(text(L"FileVersion"), numbers);
    EXPECT_EQ(text(L"ProductVersion"), numbers);
}

} // namespace
