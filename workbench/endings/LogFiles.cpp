#include "workbench/endings/LogFiles.h"

#include "support/UniqueResource.h"

#include <windows.h>
#include <shlobj.h>
#include <winioctl.h>

#include <algorithm>
#include <stdexcept>

namespace endings {
namespace {

struct FileTraits {
    using Value = HANDLE;
    static Value Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value file) noexcept { ::CloseHandle(file); }
};
using UniqueFile = UniqueResource<FileTraits>;

} // namespace

std::filesystem::path LogFile(int copy) {
    wchar_t folder[MAX_PATH] = L"";
    ::SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, SHGFP_TYPE_CURRENT, folder);
    const std::wstring name = copy == 0 ? L"outlookaddin.txt" : L"outlookaddin_" + std::to_wstring(copy) + L".txt";
    return std::filesystem::path(folder) / L"NembraMeeting" / L"log" / name;
}

void DeleteLogs() {
    for (int copy = 0; copy <= 2; ++copy) {
        std::error_code ignored; // it may not be there
        std::filesystem::remove(LogFile(copy), ignored);
    }
}

std::uint64_t SizeOf(const std::filesystem::path& file) {
    std::error_code error;
    const std::uint64_t size = std::filesystem::file_size(file, error);
    return error ? 0 : size;
}

void MakeSparse(const std::filesystem::path& path, std::uint64_t bytes) {
    std::filesystem::create_directories(path.parent_path());
    const UniqueFile file(
        ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD unused = 0;
    // Where the file system needs no such request, the file is sparse by itself.
    ::DeviceIoControl(file.Get(), FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &unused, nullptr);
    LARGE_INTEGER size{};
    size.QuadPart = static_cast<LONGLONG>(bytes);
    if (!file || !::SetFilePointerEx(file.Get(), size, nullptr, FILE_BEGIN) || !::SetEndOfFile(file.Get())) {
        throw std::runtime_error("the log file could not be made");
    }
}

std::string ReadFrom(const std::filesystem::path& path, std::uint64_t offset) {
    const UniqueFile file(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER at{};
    at.QuadPart = static_cast<LONGLONG>(offset);
    std::string content;
    if (!file || !::SetFilePointerEx(file.Get(), at, nullptr, FILE_BEGIN)) {
        return content;
    }
    char buffer[64 * 1024];
    DWORD got = 0;
    while (::ReadFile(file.Get(), buffer, sizeof buffer, &got, nullptr) && got != 0) {
        content.append(buffer, got);
    }
    return content;
}

} // namespace endings
