#include "bench/AddInSession.h"
#include "bench/Parts.h"

#include <windows.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace bench {
namespace {

/// A module file as bytes, read by file offset or by the address that it would have when loaded.
class ModuleFile {
public:
    explicit ModuleFile(const std::wstring& path) {
        std::ifstream file(std::filesystem::path(path), std::ios::binary);
        bytes_.assign(std::istreambuf_iterator<char>(file), {});
        const auto dos = Read<IMAGE_DOS_HEADER>(0);
        header_ = static_cast<std::size_t>(dos.e_lfanew);
        nt_ = Read<IMAGE_NT_HEADERS64>(header_);
        Require(nt_.Signature == IMAGE_NT_SIGNATURE, "OutlookAddIn.dll is no module");
    }

    std::size_t Size() const { return bytes_.size(); }

    int CountImportedModules() const {
        std::size_t place = OffsetOf(nt_.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
        int count = 0;
        for (; Read<IMAGE_IMPORT_DESCRIPTOR>(place).Name != 0; place += sizeof(IMAGE_IMPORT_DESCRIPTOR)) {
            ++count;
        }
        return count;
    }

private:
    template <class Type>
    Type Read(std::size_t offset) const {
        Require(offset + sizeof(Type) <= bytes_.size(), "OutlookAddIn.dll is cut short");
        Type value;
        std::memcpy(&value, bytes_.data() + offset, sizeof(Type));
        return value;
    }

    std::size_t OffsetOf(DWORD address) const {
        const std::size_t sections =
            header_ + offsetof(IMAGE_NT_HEADERS64, OptionalHeader) + nt_.FileHeader.SizeOfOptionalHeader;
        for (WORD each = 0; each < nt_.FileHeader.NumberOfSections; ++each) {
            const auto section = Read<IMAGE_SECTION_HEADER>(sections + each * sizeof(IMAGE_SECTION_HEADER));
            if (address >= section.VirtualAddress && address - section.VirtualAddress < section.SizeOfRawData) {
                return section.PointerToRawData + (address - section.VirtualAddress);
            }
        }
        throw std::runtime_error("OutlookAddIn.dll imports nothing");
    }

    std::vector<char> bytes_;
    std::size_t header_ = 0;
    IMAGE_NT_HEADERS64 nt_{};
};

} // namespace

void MeasureModule(const Effort&) {
    const ModuleFile module(AddInPath());
    constexpr double kMostSize = 1024; // KiB
    const double size = static_cast<double>(module.Size()) / 1024;
    Report({"size of OutlookAddIn.dll", "KiB", {size}, {}, {}, Aim::AtMost(kMostSize)});
    Report({"DLLs it imports", "", {static_cast<double>(module.CountImportedModules())}, {}, {}});
}

} // namespace bench
