#include "tests/fakes/AddInModule.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <string>
#include <vector>

using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

/// The module as a file that the loader takes: its headers, tables and resources.
class BuiltModule : public testing::Test {
protected:
    void SetUp() override {
        module_ = ::LoadLibraryW(AddInModulePath().c_str());
        ASSERT_NE(module_, nullptr) << "error " << ::GetLastError();
        base_ = reinterpret_cast<const std::byte*>(module_);
        const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base_);
        headers_ = At<IMAGE_NT_HEADERS64>(static_cast<DWORD>(dos->e_lfanew));
        ASSERT_EQ(headers_->Signature, DWORD{IMAGE_NT_SIGNATURE});
    }
    void TearDown() override { ::FreeLibrary(module_); }

    template <class Type>
    const Type* At(DWORD offset) const {
        return reinterpret_cast<const Type*>(base_ + offset);
    }
    template <class Type>
    const Type* Table(int index) const {
        const DWORD offset = headers_->OptionalHeader.DataDirectory[index].VirtualAddress;
        return offset != 0 ? At<Type>(offset) : nullptr;
    }

    HMODULE module_ = nullptr;
    const std::byte* base_ = nullptr;
    const IMAGE_NT_HEADERS64* headers_ = nullptr;
};

TEST_F(BuiltModule, IsA64BitLibraryWithTheLoadersProtections) {
    EXPECT_EQ(headers_->FileHeader.Machine, IMAGE_FILE_MACHINE_AMD64);
    EXPECT_NE(headers_->FileHeader.Characteristics & IMAGE_FILE_DLL, 0);
    const WORD wanted = IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE | IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA |
                        IMAGE_DLLCHARACTERISTICS_NX_COMPAT;
    EXPECT_EQ(headers_->OptionalHeader.DllCharacteristics & wanted, wanted);
    // Without relocations the image could not be moved at all.
    EXPECT_NE(headers_->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_BASERELOC].Size, 0u);
    EXPECT_EQ(headers_->FileHeader.Characteristics & IMAGE_FILE_RELOCS_STRIPPED, 0);
}

TEST_F(BuiltModule, ExportsWhatIsListedAndNothingElse) {
    const auto* exports = Table<IMAGE_EXPORT_DIRECTORY>(IMAGE_DIRECTORY_ENTRY_EXPORT);
    ASSERT_NE(exports, nullptr);
    EXPECT_STREQ(At<char>(exports->Name), "OutlookAddIn.dll");
    EXPECT_EQ(exports->NumberOfFunctions, exports->NumberOfNames) << "each export has one name";
    std::vector<std::string> found;
    const auto* names = At<DWORD>(exports->AddressOfNames);
    for (DWORD index = 0; index < exports->NumberOfNames; ++index) {
        found.emplace_back(At<char>(names[index]));
    }
    std::vector<std::string> listed;
    std::ifstream list(EXPORTS_LIST);
    for (std::string line; list >> line;) {
        listed.push_back(line);
    }
    ASSERT_EQ(listed.size(), 4u + 94u + 9u) << "entry points, adapter, conversions";
    EXPECT_THAT(found, UnorderedElementsAreArray(listed));
}

TEST_F(BuiltModule, ImportsOnlyWhatEveryWindowsHas) {
    const std::vector<std::string> everywhere = {
        "advapi32.dll", "bcrypt.dll",   "crypt32.dll", "gdi32.dll",   "gdiplus.dll", "kernel32.dll", "msvcrt.dll",
        "ole32.dll",    "oleaut32.dll", "shell32.dll", "shlwapi.dll", "user32.dll",  "version.dll",  "ws2_32.dll"};
    const auto* import = Table<IMAGE_IMPORT_DESCRIPTOR>(IMAGE_DIRECTORY_ENTRY_IMPORT);
    ASSERT_NE(import, nullptr);
    std::vector<std::string> foreign;
    for (; import->Name != 0; ++import) {
        std::string name = At<char>(import->Name);
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
        if (std::find(everywhere.begin(), everywhere.end(), name) == everywhere.end()) {
            foreign.push_back(name);
        }
    }
    EXPECT_THAT(foreign, IsEmpty());
}
