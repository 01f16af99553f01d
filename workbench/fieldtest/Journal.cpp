#include "workbench/fieldtest/Journal.h"

#include "workbench/process/ChildProcess.h"

#include "support/Text.h"
#include "support/UniqueResource.h"

#include <algorithm>
#include <fstream>
#include <sstream>

namespace fieldtest {
namespace {

constexpr wchar_t kScheme[] = L"Software\\Classes\\quorvex";
constexpr wchar_t kBackup[] = L"Software\\NembraFieldTest";
constexpr DWORD kClientLimit = 20'000; // ms
constexpr int kTries = 50;
constexpr DWORD kAgain = 100; // ms
constexpr long kDiscard = 1;  // olDiscard

void Require(LSTATUS status, const char* what) {
    if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND) {
        throw std::runtime_error(std::string(what) + ": error " + std::to_string(status));
    }
}

bool HasKey(const std::wstring& path) {
    HKEY opened = nullptr;
    const bool found = ::RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &opened) == ERROR_SUCCESS;
    const UniqueKey owner(opened);
    return found;
}

void CopyKey(const wchar_t* from, const wchar_t* to) {
    HKEY opened = nullptr;
    Require(::RegCreateKeyExW(HKEY_CURRENT_USER, to, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &opened, nullptr),
            "a key could not be made");
    const UniqueKey target(opened);
    Require(::RegCopyTreeW(HKEY_CURRENT_USER, from, target.Get()), "the launch URI could not be copied");
}

std::optional<DWORD> NumberOf(const std::wstring& key, const std::wstring& name) {
    DWORD number = 0;
    DWORD size = sizeof number;
    const LSTATUS status =
        ::RegGetValueW(HKEY_CURRENT_USER, key.c_str(), name.c_str(), RRF_RT_REG_DWORD, nullptr, &number, &size);
    return status == ERROR_SUCCESS ? std::optional(number) : std::nullopt;
}

LSTATUS PutNumber(const std::wstring& key, const std::wstring& name, std::optional<DWORD> number) {
    return number ? ::RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), name.c_str(), REG_DWORD, &*number, sizeof *number)
                  : ::RegDeleteKeyValueW(HKEY_CURRENT_USER, key.c_str(), name.c_str());
}

void DeleteIfEmpty(const std::wstring& key) {
    HKEY opened = nullptr;
    DWORD keys = 1;
    DWORD values = 1;
    if (::RegOpenKeyExW(HKEY_CURRENT_USER, key.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS) {
        return;
    }
    const UniqueKey owner(opened);
    ::RegQueryInfoKeyW(opened, nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values, nullptr, nullptr, nullptr,
                       nullptr);
    if (keys == 0 && values == 0) {
        Require(::RegDeleteKeyW(HKEY_CURRENT_USER, key.c_str()), "a key could not be deleted");
    }
}

bool RunClient(const std::filesystem::path& client, const std::vector<std::wstring>& arguments) {
    return process::ChildProcess(client.wstring(), arguments, process::Streams::Own).WaitForEnd(kClientLimit) == 0U;
}

/// The add-in then takes the end of the item's window for that of a foreign one: it sends nothing and asks nothing.
void Unmark(IDispatch* item) {
    Put(Child(item, L"FormDescription"), L"Comment", _variant_t(L""));
}

void DeleteItem(IDispatch* application, const std::wstring& entryId) {
    IDispatchPtr item;
    try {
        item = ObjectOf(Call(Child(application, L"Session"), L"GetItemFromID", {_variant_t(entryId.c_str())}));
    } catch (const HostError&) {
        return; // the person has deleted it
    }
    if (item) {
        Unmark(item);
        Call(item, L"Delete");
    }
}

void CloseItems(IDispatch* application, const std::string& subject) {
    for (const OpenItem& open : OpenItems(application)) {
        if (Text(open.item, L"Subject").find(subject) != std::string::npos) {
            Unmark(open.item);
            Call(open.inspector, L"Close", {_variant_t(kDiscard)});
        }
    }
}

} // namespace

Journal::Journal(std::filesystem::path file, std::filesystem::path client)
    : file_(std::move(file)), client_(std::move(client)) {
    std::ifstream input(file_, std::ios::binary);
    for (std::string line; std::getline(input, line) && !input.eof();) { // a line without its end was never acted on
        std::wistringstream parts(ToWide(line));
        Entry entry;
        for (std::wstring part; std::getline(parts, part, L'\t');) {
            entry.push_back(part);
        }
        entries_.push_back(std::move(entry));
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
            std::wstring line;
            for (const std::wstring& part : entry) {
                line += (line.empty() ? L"" : L"\t") + part;
            }
            output << ToUtf8(line) << '\n';
        }
        if (!output.flush()) {
            throw std::runtime_error("the journal cannot be written");
        }
    }
    std::filesystem::rename(fresh, file_);
}

void Journal::InstallScheme(const std::vector<std::wstring>& clientArguments) {
    if (HasKey(kScheme)) {
        Write({L"backup"});
        CopyKey(kScheme, kBackup);
    }
    Write({L"scheme"});
    std::vector<std::wstring> arguments = clientArguments;
    arguments.insert(arguments.begin(), L"--register-uri");
    if (!RunClient(client_, arguments)) {
        throw std::runtime_error("the launch URI could not be registered");
    }
}

std::filesystem::path Journal::NewFile(const std::filesystem::path& file) {
    Write({L"file", file.wstring()});
    return file;
}

void Journal::SetNumber(const std::wstring& key, const std::wstring& name, std::optional<DWORD> number) {
    for (std::size_t end = key.find(L'\\'); end != std::wstring::npos; end = key.find(L'\\', end + 1)) {
        if (!HasKey(key.substr(0, end))) {
            Write({L"key", key.substr(0, end)});
        }
    }
    if (!HasKey(key)) {
        Write({L"key", key});
    }
    const std::optional<DWORD> before = NumberOf(key, name);
    Write({L"number", key, name, before ? std::to_wstring(*before) : L"-"});
    Require(PutNumber(key, name, number), "a value could not be changed");
}

void Journal::OwnSubject(const std::string& subject) {
    Write({L"subject", ToWide(subject)});
}

void Journal::OwnItem(const std::string& entryId) {
    Write({L"item", ToWide(entryId)});
}

void Journal::UndoOne(const Entry& entry, IDispatch* application) const {
    const std::wstring& kind = entry.at(0);
    if (kind == L"scheme") {
        if (!RunClient(client_, {L"--unregister-uri"})) {
            throw std::runtime_error("the launch URI could not be removed");
        }
        if (HasKey(kBackup)) {
            CopyKey(kBackup, kScheme);
        }
    } else if (kind == L"backup") {
        Require(::RegDeleteTreeW(HKEY_CURRENT_USER, kBackup), "the copy of the launch URI could not be deleted");
    } else if (kind == L"file") {
        std::error_code inUse; // by a client that is about to end
        for (int tries = 0; !std::filesystem::remove(entry.at(1), inUse) && inUse && tries < kTries; ++tries) {
            ::Sleep(kAgain);
        }
        Require(static_cast<LSTATUS>(inUse.value()), "a file could not be deleted");
    } else if (kind == L"key") {
        DeleteIfEmpty(entry.at(1));
    } else if (kind == L"number") {
        const std::wstring& before = entry.at(3);
        Require(PutNumber(entry.at(1), entry.at(2),
                          before == L"-" ? std::nullopt : std::optional<DWORD>(std::stoul(before))),
                "a value could not be restored");
    } else if (kind == L"subject" && application) { // open windows end with Outlook
        CloseItems(application, ToUtf8(entry.at(1)));
    } else if (kind == L"item") {
        if (!application) {
            throw std::runtime_error("an appointment of the test is still in the calendar; start Outlook and run "
                                     "FieldTest --restore");
        }
        DeleteItem(application, entry.at(1));
    }
}

std::vector<std::string> Journal::Undo(IDispatch* application) {
    std::vector<std::string> left;
    std::vector<Entry> remaining;
    while (!entries_.empty()) {
        const Entry entry = entries_.back();
        try {
            UndoOne(entry, application);
        } catch (const std::exception& error) {
            left.emplace_back(error.what());
            remaining.insert(remaining.begin(), entry);
        } catch (const _com_error&) {
            left.emplace_back("Outlook did not answer");
            remaining.insert(remaining.begin(), entry);
        }
        entries_.pop_back();
        // Not yet undone entries must stay in the file at every moment.
        entries_.insert(entries_.end(), remaining.begin(), remaining.end());
        Save();
        entries_.resize(entries_.size() - remaining.size());
    }
    entries_ = remaining;
    return left;
}

} // namespace fieldtest
