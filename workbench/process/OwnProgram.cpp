#include "workbench/process/OwnProgram.h"

#include <filesystem>
#include <stdexcept>

namespace process {

std::wstring ProgramPath() {
    wchar_t path[MAX_PATH] = L"";
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    return path;
}

std::wstring FindBuilt(const std::wstring& relative) {
    const std::filesystem::path wanted(relative);
    std::filesystem::path folder = std::filesystem::path(ProgramPath()).parent_path();
    const std::filesystem::path flavour = folder.filename(); // multi-configuration builds add such a folder
    for (bool more = true; more; more = folder != folder.parent_path(), folder = folder.parent_path()) {
        for (const auto& candidate : {folder / wanted.filename(), folder / wanted,
                                      folder / wanted.parent_path() / flavour / wanted.filename()}) {
            std::error_code ignored;
            if (std::filesystem::is_regular_file(candidate, ignored)) {
                return candidate.wstring();
            }
        }
    }
    throw std::runtime_error(wanted.string() + " is not there; build it first");
}

} // namespace process
