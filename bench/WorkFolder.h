#pragma once

#include <windows.h>

#include <filesystem>
#include <string>

namespace bench {

/// A fresh folder for files that are written; removed with everything in it.
class WorkFolder {
public:
    WorkFolder()
        : path_(std::filesystem::temp_directory_path() / ("nembra-bench-" + std::to_string(::GetCurrentProcessId()))) {
        std::filesystem::remove_all(path_); // of a killed process that had the same id
        std::filesystem::create_directories(path_);
    }
    ~WorkFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    const std::filesystem::path& Path() const { return path_; }
    std::string File(const char* name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

} // namespace bench
