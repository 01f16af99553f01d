#include "workbench/verify/faults/StagedModule.h"

#include "workbench/verify/faults/Hooks.h"

#include <fmt/format.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>
#include <vector>

namespace verify {
namespace {

// Unused by the loader, and part of the header that it maps: keeps the entry point's place.
constexpr std::size_t kPlaceOfEntry = offsetof(IMAGE_DOS_HEADER, e_res2);

} // namespace

std::filesystem::path StageModule(const std::filesystem::path& original, const std::filesystem::path& folder) {
    std::ifstream source(original, std::ios::binary);
    std::vector<char> image{std::istreambuf_iterator<char>(source), std::istreambuf_iterator<char>()};
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(image.data());
    if (image.size() < sizeof *dos || dos->e_magic != IMAGE_DOS_SIGNATURE ||
        image.size() < dos->e_lfanew + sizeof(IMAGE_NT_HEADERS)) {
        throw std::runtime_error("the module is no library");
    }
    auto& headers = *reinterpret_cast<IMAGE_NT_HEADERS*>(image.data() + dos->e_lfanew);
    const DWORD entry = std::exchange(headers.OptionalHeader.AddressOfEntryPoint, 0);
    std::memcpy(image.data() + kPlaceOfEntry, &entry, sizeof entry);

    const std::filesystem::path copy = folder / original.filename();
    std::ofstream file(copy, std::ios::binary);
    if (!file.write(image.data(), static_cast<std::streamsize>(image.size())).flush()) {
        throw std::runtime_error("the module's copy cannot be written");
    }
    return copy;
}

void StagedModule::Reload() {
    Detach();
    ::FreeLibrary(module_);
    if (::GetModuleHandleW(path_.c_str()) != nullptr) {
        throw std::runtime_error("the module stays loaded");
    }
    Load();
}

void StagedModule::Load() {
    tried_ = false;
    module_ = ::LoadLibraryExW(path_.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (module_ == nullptr) {
        throw std::runtime_error(fmt::format("the module cannot be loaded, error {}", ::GetLastError()));
    }
    if (const std::vector<std::string> unknown = HookImports(module_); !unknown.empty()) {
        throw std::runtime_error(
            fmt::format("these imports are neither hooked nor excluded with a reason: {}", fmt::join(unknown, ", ")));
    }
}

bool StagedModule::CallEntry(DWORD reason) {
    using Entry = BOOL(WINAPI*)(HINSTANCE, DWORD, void*);
    auto* const image = reinterpret_cast<BYTE*>(module_);
    DWORD entry = 0;
    std::memcpy(&entry, image + kPlaceOfEntry, sizeof entry);
    return reinterpret_cast<Entry>(image + entry)(module_, reason, nullptr) != FALSE;
}

bool StagedModule::Attach() {
    if (tried_) {
        return true;
    }
    tried_ = true;
    attached_ = CallEntry(DLL_PROCESS_ATTACH);
    return attached_;
}

void StagedModule::Detach() {
    if (std::exchange(attached_, false)) {
        CallEntry(DLL_PROCESS_DETACH);
    }
}

} // namespace verify
