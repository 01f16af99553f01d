#include "bench/AddInSession.h"
#include "bench/Parts.h"

#include <windows.h>

#include <filesystem>

namespace bench {
namespace {

int CountImportedModules(const std::wstring& path) {
    const HMODULE module = ::LoadLibraryW(path.c_str());
    Require(module != nullptr, "OutlookAddIn.dll cannot be loaded");
    const auto* const base = reinterpret_cast<const char*>(module);
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto& header = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew)->OptionalHeader;
    const auto* import = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(
        base + header.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
    int count = 0;
    for (; import->Name != 0; ++import) {
        ++count;
    }
    ::FreeLibrary(module);
    return count;
}

} // namespace

void MeasureModule(const Effort&) {
    const std::wstring module = AddInPath();
    constexpr double kMostSize = 1024; // KiB
    const double size = static_cast<double>(std::filesystem::file_size(module)) / 1024;
    Report({"size of OutlookAddIn.dll", "KiB", {size}, {}, {}, Aim::AtMost(kMostSize)});
    Report({"DLLs it imports", "", {static_cast<double>(CountImportedModules(module))}, {}, {}});
}

} // namespace bench
