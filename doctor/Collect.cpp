#include "doctor/Collect.h"

#include "doctor/LogText.h"
#include "doctor/Scene.h"
#include "support/Text.h"

#include <windows.h>

#include <minizip/zip.h>
#include <minizip/iowin32.h> // needs the macros of the one before

#include <stdexcept>

namespace doctor {
namespace {

constexpr std::size_t kLogBytes = 4U << 20U; // from the end of each log

std::string Bytes(const RegistryValue& value) {
    std::string text = "type " + std::to_string(value.type) + ":";
    for (const std::uint8_t byte : value.data) {
        text += " " + ToUtf8(HexText(byte).substr(2));
    }
    // Texts inside binary values say which add-in Outlook means.
    text += "  ";
    for (const std::uint8_t byte : value.data) {
        if (byte != 0) {
            text += byte >= ' ' && byte < 0x7F ? static_cast<char>(byte) : '.';
        }
    }
    return text;
}

std::string RegistryText(const Machine& machine) {
    std::string text;
    for (const auto& [hive, key] : machine.KeysRead()) { // reading a known key again leaves the set as it is
        const Answer<RegistryValues> values = machine.Values(hive, key);
        if (values.access == Access::Absent) {
            continue;
        }
        text += std::string(hive == Hive::Machine ? "HKLM\\" : "HKCU\\") + ToUtf8(key) +
                (values ? "\r\n" : ": access denied\r\n");
        for (const RegistryValue& value : values.value) {
            const auto number = value.Number();
            const auto words = value.Text();
            text += "    " + (value.name.empty() ? "(default)" : ToUtf8(value.name)) + " = ";
            text += number ? std::to_string(*number) : words ? ToUtf8(*words) : Bytes(value);
            text += "\r\n";
        }
    }
    return text;
}

class Zip {
public:
    explicit Zip(const std::wstring& path) : path_(path) {
        zlib_filefunc64_def functions{};
        fill_win32_filefunc64W(&functions);
        zip_ = zipOpen2_64(path.c_str(), APPEND_STATUS_CREATE, nullptr, &functions);
        Require(zip_ != nullptr);
    }
    ~Zip() {
        if (zip_ != nullptr) { // not finished
            zipClose(zip_, nullptr);
            ::DeleteFileW(path_.c_str());
        }
    }
    Zip(const Zip&) = delete;
    Zip& operator=(const Zip&) = delete;

    void Add(const CollectedFile& file) {
        zip_fileinfo info{};
        SYSTEMTIME now{};
        ::GetLocalTime(&now);
        info.tmz_date = {now.wSecond, now.wMinute, now.wHour, now.wDay, now.wMonth - 1U, now.wYear};
        Require(zipOpenNewFileInZip(zip_, file.name.c_str(), &info, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED,
                                    Z_DEFAULT_COMPRESSION) == ZIP_OK);
        Require(zipWriteInFileInZip(zip_, file.content.data(), static_cast<unsigned>(file.content.size())) == ZIP_OK);
        Require(zipCloseFileInZip(zip_) == ZIP_OK);
    }
    void Finish() {
        zipFile finished = zip_;
        zip_ = nullptr;
        if (zipClose(finished, nullptr) != ZIP_OK) {
            ::DeleteFileW(path_.c_str());
            Require(false);
        }
    }

private:
    void Require(bool done) const {
        if (!done) {
            throw std::runtime_error("the file cannot be written: " + ToUtf8(path_));
        }
    }

    std::wstring path_;
    zipFile zip_ = nullptr;
};

} // namespace

std::vector<CollectedFile> Collect(const Machine& machine, std::vector<CollectedFile> files) {
    files.push_back({"registry.txt", RegistryText(machine)});
    for (const char* name : {"outlookaddin.txt", "outlookaddin_1.txt", "outlookaddin_2.txt"}) {
        const Answer<std::string> log = machine.Tail(machine.Folder(Place::Log) + L"\\" + ToWide(name), kLogBytes);
        if (log) {
            files.push_back({name, WithoutContents(log.value)});
        }
    }
    std::vector<std::string> words;
    for (const std::wstring& name : machine.UserNames()) {
        words.push_back(ToUtf8(name));
    }
    for (CollectedFile& file : files) {
        file.content = BlackOut(file.content, words);
    }
    return files;
}

void WriteZip(const std::wstring& path, const std::vector<CollectedFile>& files) {
    Zip zip(path);
    for (const CollectedFile& file : files) {
        zip.Add(file);
    }
    zip.Finish();
}

} // namespace doctor
