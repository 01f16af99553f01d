#include <gmock/gmock.h>

#include <windows.h>

#include <string>
#include <vector>

namespace {

const std::vector<std::string> kListed = {
#define ENTRY_POINT(name) #name,
#define ADAPTER_EXPORT(name) #name,
#include "exported_names.h"
#undef ADAPTER_EXPORT
#undef ENTRY_POINT
};

TEST(ModuleExports, AreExactlyTheListedNamesUndecorated) {
    const HMODULE module = ::LoadLibraryW(L"OutlookAddIn.dll");
    ASSERT_NE(module, nullptr) << "error " << ::GetLastError();
    const auto* const base = reinterpret_cast<const unsigned char*>(module);
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& place = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    ASSERT_NE(place.VirtualAddress, 0u);
    const auto* const exports = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + place.VirtualAddress);
    const auto* const rows = reinterpret_cast<const DWORD*>(base + exports->AddressOfNames);
    std::vector<std::string> built;
    for (DWORD index = 0; index < exports->NumberOfNames; ++index) {
        built.push_back(reinterpret_cast<const char*>(base + rows[index]));
    }
    EXPECT_EQ(exports->NumberOfFunctions, exports->NumberOfNames); // nothing is exported by number alone
    EXPECT_THAT(built, testing::UnorderedElementsAreArray(kListed));
    EXPECT_EQ(kListed.size(), 4u + 94u + 9u);
    ::FreeLibrary(module);
}

} // namespace
