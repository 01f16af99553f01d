#pragma once

#include <windows.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

/// A fresh, empty folder with Chinese and a blank in its name; removed with everything in it.
class TempFolder {
public:
    TempFolder() {
        static std::atomic<int> made{0};
        path_ =
            std::filesystem::temp_directory_path() /
            (L"\u4f1a\u8bae \u65e5\u5fd7-" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(++made));
        std::filesystem::remove_all(path_);
        std::filesystem::create_directories(path_);
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& Path() const { return path_; }

    /// UTF-8 path of a file or folder in it.
    std::string Utf8(std::string_view name) const {
        const std::u8string folder = path_.u8string();
        return std::string(folder.begin(), folder.end()) + "\\" + std::string(name);
    }

    void Write(const std::string& name, std::string_view content) const {
        std::ofstream(path_ / name, std::ios::binary) << content;
    }

    /// Content byte for byte; "(missing)" when there is no such file.
    std::string Read(const std::filesystem::path& name) const {
        std::ifstream file(path_ / name, std::ios::binary);
        if (!file) {
            return "(missing)";
        }
        return std::string(std::istreambuf_iterator<char>(file), {});
    }

private:
    std::filesystem::path path_;
};
