#include "workbench/fieldtest/Journal.h"

#include "workbench/process/ChildProcess.h"

#include "doctor/Finding.h"
#include "doctor/WindowsMachine.h"
#include "support/Text.h"
#include "support/UniqueResource.h"

#include <shlwapi.h>

#include <algorithm>
#include <fstream>
#include <sstream>

namespace fieldtest {
namespace {

constexpr wchar_t kScheme[] = L"Software\\Classes\\quorvex";
constexpr wchar_t kCopies[] = L"Software\\NembraFieldTest";
constexpr DWORD kClientLimit = 20'000; // ms
constexpr int kTries = 50;
constexpr DWORD kAgain = 100; // ms
constexpr long kDiscard = 1;  // olDiscard

void Require(LSTATUS status, const char* what) {
    if (status != ERROR_SUCCESS) {
        throw std::runtime_error(std::string(what) + ": error " + std::to_string(status));
    }
}

bool HasKey(const std::wstring& path) {
    HKEY opened = nullptr;
    const bool found = ::RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &opened) == ERROR_SUCCESS;
    const UniqueKey owner(opened);
    return found;
}

void CopyKey(const std::wstring& from, const std::wstring& to) {
    HKEY opened = nullptr;
    Require(::RegCreateKeyExW(HKEY_CURRENT_USER, to.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &opened, nullptr),
            "a key could not be made");
    const UniqueKey target(opened);
    Require(::RegCopyTreeW(HKEY_CURRENT_USER, from.c_str(), target.Get()), "a key could not be copied");
}

void DeleteKey(const std::wstring& key) {
    Require(doctor::Apply({doctor::Repair::Kind::DeleteKey, key, {}}), "a key could not be deleted");
}

/// Without its marker the add-in takes the end of the item's window for that of a foreign one: it sends and asks
/// nothing.
void CloseItems(IDispatch* application, const std::string& subject) {
    for (const OpenItem& open : OpenItems(application)) {
        if (Text(open.item, L"Subject").find(subject) != std::string::npos) {
            PutComment(open.item, L"");
            Call(open.inspector, L"Close", {_variant_t(kDiscard)});
        }
    }
}

} // namespace

Journal::Journal(std::filesystem::path file, std::filesystem::path client)
    : file_(std::move(file)), client_(std::move(client)) {
    std::ifstream input(file_, std::ios::binary);
    for (std::string line; std::getline(input, line);) {
        std::wistringstream parts(ToWide(line));
        Entry& entry = entries_.emplace_back();
        for (std::wstring part; std::getline(parts, part, L'\t');) {
            entry.push_back(part);
        }
    }
}

void Journal::Write(Entry entry) {
    entries_.push_back(std::move(entry));
    Save();
}

void Journal::Save() const {
    if (entries_.empty()) {
        std::filesystem::remove(file_);
        std::error_code inUse;
        std::filesystem::remove(file_.parent_path(), inUse); // unless something else is in it
        return;
    }
    std::filesystem::create_directories(file_.parent_path());
    const std::filesystem::path fresh = file_.wstring() + L".new";
    {
        std::ofstream output(fresh, std::ios::binary);
        for (const Entry& entry : entries_) {
            for (const std::wstring& part : entry) {
                output << ToUtf8(part) << (&part == &entry.back() ? '\n' : '\t');
            }
        }
        if (!output.flush()) {
            throw std::runtime_error("the journal cannot be written");
        }
    }
    std::filesystem::rename(fresh, file_);
}

void Journal::Keep(const std::wstring& key) {
    for (std::size_t end = key.find(L'\\'); end != std::wstring::npos; end = key.find(L'\\', end + 1)) {
        if (!HasKey(key.substr(0, end))) {
            Write({L"parent", key.substr(0, end)});
        }
    }
    const std::wstring copy = kCopies + key.substr(key.rfind(L'\\'));
    if (HasKey(key)) {
        Write({L"copy", copy});
        CopyKey(key, copy);
    }
    Write({L"key", key, copy});
}

void Journal::RunClient(const std::vector<std::wstring>& arguments) const {
    if (process::ChildProcess(client_.wstring(), arguments, process::Streams::Own).WaitForEnd(kClientLimit) != 0U) {
        throw std::runtime_error("the launch URI could not be changed");
    }
}

void Journal::InstallScheme(std::vector<std::wstring> clientArguments) {
    Keep(kScheme);
    Write({L"scheme"});
    clientArguments.insert(clientArguments.begin(), L"--register-uri");
    RunClient(clientArguments);
}

void Journal::OwnSubject(const std::string& subject) {
    Write({L"subject", ToWide(subject)});
}

void Journal::OwnItem(const std::string& entryId) {
    Write({L"item", ToWide(entryId)});
}

void Journal::UndoOne(const Entry& entry, IDispatch* application) const {
    const std::wstring& kind = entry.at(0);
    if (kind == L"parent") {
        ::SHDeleteEmptyKeyW(HKEY_CURRENT_USER, entry.at(1).c_str());
    } else if (kind == L"copy") {
        const bool needed = std::any_of(entries_.begin(), entries_.end(), [&](const Entry& other) {
            return other.at(0) == L"key" && other.at(2) == entry.at(1);
        });
        Require(needed ? ERROR_BUSY : ERROR_SUCCESS, "a key was not restored from its copy");
        DeleteKey(entry.at(1));
        ::SHDeleteEmptyKeyW(HKEY_CURRENT_USER, kCopies);
    } else if (kind == L"key") {
        DeleteKey(entry.at(1));
        if (HasKey(entry.at(2))) {
            CopyKey(entry.at(2), entry.at(1));
        }
    } else if (kind == L"scheme") {
        RunClient({L"--unregister-uri"}); // under Wine it has written elsewhere as well
    } else if (kind == L"file") {
        std::error_code inUse; // by a client that is about to end
        for (int tries = 0; !std::filesystem::remove(entry.at(1), inUse) && inUse && tries < kTries; ++tries) {
            ::Sleep(kAgain);
        }
        Require(inUse.value(), "a file could not be deleted");
    } else if (kind == L"subject" && application) { // open windows end with Outlook
        CloseItems(application, ToUtf8(entry.at(1)));
    } else if (kind == L"item") {
        if (!application) {
            throw std::runtime_error("an appointment of the test is still in the calendar; start Outlook and run "
                                     "FieldTest --restore");
        }
        if (const IDispatchPtr item = StoredItem(application, ToUtf8(entry.at(1)))) { // unless it was deleted by hand
            PutComment(item, L"");
            Call(item, L"Delete");
        }
    }
}

std::vector<std::string> Journal::Undo(IDispatch* application) {
    std::vector<std::string> left;
    for (std::size_t at = entries_.size(); at-- > 0;) {
        try {
            UndoOne(entries_[at], application);
            entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(at));
            Save();
        } catch (const std::exception& error) {
            left.emplace_back(error.what());
        } catch (const _com_error&) {
            left.emplace_back("Outlook did not answer");
        }
    }
    return left;
}

} // namespace fieldtest
