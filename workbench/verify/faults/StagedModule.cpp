#include "workbench/verify/faults/StagedModule.h"

#include "workbench/verify/faults/Hooks.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <vector>

namespace verify {
namespace {

using Entry = BOOL(WINAPI*)(HINSTANCE, DWORD, void*);

// Unused by the loader, and part of the header that it maps: keeps the entry point's place.
constexpr std::size_t kPlaceOfEntry = offsetof(IMAGE_DOS_HEADER, e_res2);

std::vector<char> ReadFile(const std::wstring& path) {
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace

std::wstring StageModule(const std::wstring& original, const std::wstring& folder) {
    std::vector<char> image = ReadFile(original);
    IMAGE_DOS_HEADER dos{};
    IMAGE_NT_HEADERS headers{};
    if (image.size() < sizeof dos) {
        throw std::runtime_error("the module cannot be read");
    }
    std::memcpy(&dos, image.data(), sizeof dos);
    if (dos.e_magic != IMAGE_DOS_SIGNATURE || image.size() < dos.e_lfanew + sizeof headers) {
        throw std::runtime_error("the module is no library");
    }
    std::memcpy(&headers, image.data() + dos.e_lfanew, sizeof headers);
    const DWORD entry = headers.OptionalHeader.AddressOfEntryPoint;
    headers.OptionalHeader.AddressOfEntryPoint = 0;
    std::memcpy(image.data() + dos.e_lfanew, &headers, sizeof headers);
    std::memcpy(image.data() + kPlaceOfEntry, &entry, sizeof entry);

    const std::filesystem::path copy = std::filesystem::path(folder) / std::filesystem::path(original).filename();
    std::filesystem::create_directories(copy.parent_path());
    std::ofstream file(copy, std::ios::binary | std::ios::trunc);
    file.write(image.data(), static_cast<std::streamsize>(image.size()));
    file.close();
    if (!file) {
        throw std::runtime_error("the module's copy cannot be written");
    }
    return copy.wstring();
}

StagedModule::StagedModule(const std::wstring& path) : path_(path) {
    Load();
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
    module_ = ::LoadLibraryExW(path_.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (module_ == nullptr) {
        throw std::runtime_error("the module cannot be loaded, error " + std::to_string(::GetLastError()));
    }
    std::memcpy(&entry_, reinterpret_cast<const char*>(module_) + kPlaceOfEntry, sizeof entry_);
    std::string unknown;
    for (const std::string& name : HookImports(module_)) {
        unknown += " " + name;
    }
    if (!unknown.empty()) {
        throw std::runtime_error("these imports are neither hooked nor excluded with a reason:" + unknown);
    }
}

bool StagedModule::CallEntry(DWORD reason) {
    const auto entry = reinterpret_cast<Entry>(reinterpret_cast<BYTE*>(module_) + entry_);
    return entry(module_, reason, nullptr) != FALSE;
}

bool StagedModule::Attach() {
    if (!attached_) {
        attached_ = CallEntry(DLL_PROCESS_ATTACH);
    }
    return attached_;
}

void StagedModule::Detach() {
    if (attached_) {
        attached_ = false;
        CallEntry(DLL_PROCESS_DETACH);
    }
}

} // namespace verify
