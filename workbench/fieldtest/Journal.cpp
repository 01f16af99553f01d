#include "workbench/fieldtest/Journal.h"

#include "workbench/client/ClientProcess.h"

#include "Outlook/ObjectModel/ObjectModel.h"
#include "doctor/Finding.h"
#include "doctor/WindowsMachine.h"
#include "support/Text.h"
#include "support/UniqueResource.h"

#include <shlwapi.h>

#include <algorithm>
#include <functional>

namespace fieldtest::journal {
namespace {

using doctor::Repair;

/// Each value is an entry: its name is a number and a kind, its text the detail. A subkey with the name of an entry is
/// the copy of the key that the entry is about. The entry comes after its copy and goes before it; thus every entry has
/// a complete copy.
constexpr wchar_t kJournal[] = L"Software\\NembraFieldTest";
constexpr std::size_t kFirst = 100; // all numbers have three digits, thus the order of the names is that of the entries
constexpr wchar_t kScheme[] = L"Software\\Classes\\quorvex";
constexpr DWORD kClientLimit = 20'000; // ms
constexpr int kTries = 50;
constexpr DWORD kAgain = 100; // ms

void Require(LSTATUS status, const char* what) {
    if (status != ERROR_SUCCESS) {
        throw std::runtime_error(std::string(what) + ": error " + std::to_string(status));
    }
}

doctor::Answer<doctor::RegistryValues> Values(const std::wstring& key) {
    return doctor::WindowsMachine().Values(doctor::Hive::User, key);
}

void CopyKey(const std::wstring& from, const std::wstring& to) {
    HKEY opened = nullptr;
    Require(::RegCreateKeyExW(HKEY_CURRENT_USER, to.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &opened, nullptr),
            "a key could not be made");
    const UniqueKey target(opened);
    Require(::RegCopyTreeW(HKEY_CURRENT_USER, from.c_str(), target.Get()), "a key could not be copied");
}

std::wstring CopyOf(const std::wstring& entry) {
    return std::wstring(kJournal) + L"\\" + entry;
}

/// @param copied the key that the entry keeps; empty when there is none.
void Write(const wchar_t* kind, const std::wstring& detail, const std::wstring& copied = {}) {
    const std::wstring entry = std::to_wstring(kFirst + Values(kJournal)->size()) + L" " + kind;
    if (!copied.empty()) {
        CopyKey(copied, CopyOf(entry));
    }
    const auto size = static_cast<DWORD>((detail.size() + 1) * sizeof(wchar_t));
    Require(::RegSetKeyValueW(HKEY_CURRENT_USER, kJournal, entry.c_str(), REG_SZ, detail.c_str(), size),
            "the journal cannot be written");
}

void RunClient(const std::vector<std::wstring>& arguments) {
    process::ChildProcess client(meeting_client::ClientProcess::FindProgram(), arguments, process::Streams::Own);
    if (client.WaitForEnd(kClientLimit) != 0U) {
        throw std::runtime_error("the launch URI could not be changed");
    }
}

/// Without its marker the add-in takes the end of the item's window for that of a foreign one: it sends and asks
/// nothing.
void CloseItems(IDispatch* application, const std::string& subject) {
    for (const OpenItem& open : OpenItems(application)) {
        if (open.subject.find(subject) != std::string::npos) {
            PutComment(open.item, "");
            Call(open.inspector, L"Close", {_variant_t(long{Outlook::olDiscard})});
        }
    }
}

void UndoOne(const std::wstring& entry, const std::wstring& detail, IDispatch* application) {
    if (entry.ends_with(L" parent")) {
        ::SHDeleteEmptyKeyW(HKEY_CURRENT_USER, detail.c_str());
    } else if (entry.ends_with(L" key")) {
        Require(doctor::Apply({Repair::Kind::DeleteKey, detail, {}}), "a key could not be deleted");
        if (Values(CopyOf(entry))) {
            CopyKey(CopyOf(entry), detail);
        }
    } else if (entry.ends_with(L" scheme")) {
        RunClient({L"--unregister-uri"}); // under Wine it has written elsewhere as well
    } else if (entry.ends_with(L" file")) {
        std::error_code inUse; // by a client that is about to end
        for (int tries = 0; !std::filesystem::remove(detail, inUse) && inUse && tries < kTries; ++tries) {
            ::Sleep(kAgain);
        }
        Require(inUse.value(), "a file could not be deleted");
    } else if (entry.ends_with(L" subject") && application) { // open windows end with Outlook
        CloseItems(application, ToUtf8(detail));
    } else if (entry.ends_with(L" item")) {
        if (!application) {
            throw std::runtime_error("an appointment of the test is still in the calendar; start Outlook and run "
                                     "FieldTest --restore");
        }
        if (const IDispatchPtr item = StoredItem(application, ToUtf8(detail))) { // unless it was deleted by hand
            PutComment(item, "");
            Call(item, L"Delete");
        }
    }
}

} // namespace

bool Empty() {
    return !Values(kJournal);
}

void Keep(const std::wstring& key) {
    for (std::size_t end = key.find(L'\\'); end != std::wstring::npos; end = key.find(L'\\', end + 1)) {
        if (!Values(key.substr(0, end))) {
            Write(L"parent", key.substr(0, end));
        }
    }
    Write(L"key", key, Values(key) ? key : L"");
}

void InstallScheme(std::vector<std::wstring> clientArguments) {
    Keep(kScheme);
    Write(L"scheme", L"");
    clientArguments.insert(clientArguments.begin(), L"--register-uri");
    RunClient(clientArguments);
}

void OwnFile(const std::filesystem::path& file) {
    Write(L"file", file.wstring());
}

void OwnSubject(const std::string& subject) {
    Write(L"subject", ToWide(subject));
}

void OwnItem(const std::string& entryId) {
    Write(L"item", ToWide(entryId));
}

std::vector<std::string> Undo(IDispatch* application) {
    std::vector<std::string> left;
    doctor::RegistryValues entries = Values(kJournal).value;
    std::ranges::sort(entries, std::ranges::greater(), &doctor::RegistryValue::name);
    for (const doctor::RegistryValue& entry : entries) {
        try {
            UndoOne(entry.name, entry.Text().value(), application);
            Require(doctor::Apply({Repair::Kind::DeleteValue, kJournal, entry.name}), "the journal cannot be written");
        } catch (const std::exception& error) {
            left.emplace_back(error.what());
        } catch (const _com_error&) {
            left.emplace_back("Outlook did not answer");
        }
    }
    if (left.empty()) {
        ::RegDeleteTreeW(HKEY_CURRENT_USER, kJournal);
    }
    return left;
}

} // namespace fieldtest::journal
