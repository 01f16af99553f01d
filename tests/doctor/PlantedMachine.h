#pragma once

#include "doctor/Checks.h"
#include "doctor/Machine.h"
#include "tests/doctor/MadeImage.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

inline const std::wstring kModulePath = L"C:\\Program Files\\Nembra\\OutlookAddIn\\OutlookAddIn.dll";
inline const std::wstring kOutlookPath = L"C:\\Program Files\\Microsoft Office\\root\\Office16\\OUTLOOK.EXE";
inline const std::wstring kClientPath = L"C:\\Program Files\\Nembra\\Meeting\\Meeting.exe";
inline const std::wstring kSystemPath = L"C:\\Windows\\System32";
inline const std::wstring kLogPath = L"C:\\Users\\Ann\\AppData\\Roaming\\NembraMeeting\\log";

/// A computer whose facts a test plants. It begins as one on which the add-in works.
class PlantedMachine : public doctor::Machine {
public:
    using Hive = doctor::Hive;

    PlantedMachine() {
        for (const registry::Value& entry : registry::kValues) {
            const std::wstring name = entry.name == nullptr ? L"" : entry.name;
            if (entry.number != 0) {
                Put(Hive::Machine, doctor::MachineKey(entry), name, static_cast<std::uint32_t>(entry.number));
            } else {
                Put(Hive::Machine, doctor::MachineKey(entry), name, entry.text == nullptr ? kModulePath : entry.text);
            }
        }
        Put(Hive::Machine, L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\OUTLOOK.EXE", L"", kOutlookPath);
        Put(Hive::Machine, L"SOFTWARE\\Classes\\quorvex", L"URL Protocol", L"");
        Put(Hive::Machine, L"SOFTWARE\\Classes\\quorvex\\shell\\open\\command", L"",
            L"\"" + kClientPath + L"\" \"%1\"");
        files[kModulePath] = files[kOutlookPath] = made::Image();
        files[kClientPath] = "MZ";
        versions[kModulePath] = {{1, 0, 0, 0}};
        versions[kOutlookPath] = {{16, 0, 1, 2}};
        signatures[kModulePath] = {doctor::SignatureState::Valid, L"NEMBRA", 0};
    }

    void Put(Hive hive, const std::wstring& key, const std::wstring& name, const std::wstring& text) {
        std::vector<std::uint8_t> data((text.size() + 1) * sizeof(wchar_t));
        std::memcpy(data.data(), text.c_str(), data.size());
        PutData(hive, key, {name, REG_SZ, data});
    }
    void Put(Hive hive, const std::wstring& key, const std::wstring& name, std::uint32_t number) {
        std::vector<std::uint8_t> data(sizeof number);
        std::memcpy(data.data(), &number, sizeof number);
        PutData(hive, key, {name, REG_DWORD, data});
    }
    void PutData(Hive hive, const std::wstring& key, const doctor::RegistryValue& value) {
        doctor::RegistryValues& values = keys[{hive, key}];
        std::erase_if(values, [&](const doctor::RegistryValue& each) { return each.name == value.name; });
        values.push_back(value);
    }
    /// Outlook runs as process 7 since ten o'clock and has loaded these modules.
    doctor::Process& StartOutlook(std::vector<std::wstring> modules = {}) {
        return outlooks.emplace_back(
            doctor::Process{7, kOutlookPath, L"OUTLOOK.EXE", std::move(modules), 0x2000U, "2026-01-02 10:00:00.000"});
    }

    std::map<std::pair<Hive, std::wstring>, doctor::RegistryValues> keys;
    std::set<std::pair<Hive, std::wstring>> deniedKeys;
    std::map<std::wstring, std::string> files;
    std::set<std::wstring> deniedFiles;
    std::set<std::wstring> writable = {kLogPath};
    std::set<std::wstring> missingFolders;
    std::map<std::wstring, doctor::FileVersion> versions;
    std::map<std::wstring, doctor::Signature> signatures;
    std::vector<doctor::Process> outlooks;
    bool newOutlookRuns = false;
    std::map<std::wstring, std::vector<std::uint32_t>> windows;
    doctor::Process client = {9, kClientPath, L"", {}, 0x2000U, ""};
    std::map<std::wstring, std::vector<doctor::Event>> events;
    doctor::Access eventAccess = doctor::Access::Found;
    std::uint64_t freeBytes = 1U << 30U;
    doctor::ProbeResult probe;

    doctor::Answer<std::string> Head(const std::wstring& path, std::size_t limit) const override {
        if (deniedFiles.count(path) != 0) {
            return {doctor::Access::Denied, {}};
        }
        // The system's libraries are there unless one is planted as missing.
        const bool system = path.starts_with(kSystemPath) && missingFolders.count(path) == 0;
        const auto found = files.find(path);
        return found != files.end() ? doctor::Answer<std::string>{doctor::Access::Found, found->second.substr(0, limit)}
               : system             ? doctor::Answer<std::string>{doctor::Access::Found, "MZ"}
                                    : doctor::Answer<std::string>{};
    }
    doctor::Answer<std::string> Tail(const std::wstring& path, std::size_t limit) const override {
        doctor::Answer<std::string> whole = Head(path, std::string::npos);
        whole.value.erase(0, whole->size() - std::min(whole->size(), limit));
        return whole;
    }
    doctor::Answer<doctor::FileVersion> Version(const std::wstring& path) const override {
        return Find(versions, path);
    }
    doctor::Signature SignatureOf(const std::wstring& path) const override { return Find(signatures, path).value; }
    doctor::Answer<bool> Writable(const std::wstring& path) const override {
        return {missingFolders.count(path) == 0 ? doctor::Access::Found : doctor::Access::Absent,
                writable.count(path) != 0};
    }
    std::optional<std::uint64_t> FreeBytes(const std::wstring&) const override { return freeBytes; }
    std::wstring Folder(doctor::Place place) const override {
        switch (place) {
        case doctor::Place::System:
            return kSystemPath;
        case doctor::Place::Log:
            return kLogPath;
        case doctor::Place::Installed:
            return doctor::Parent(kModulePath);
        default:
            return L"D:\\Tools\\OutlookAddInDoctor.exe";
        }
    }
    std::vector<doctor::Process> Processes(const wchar_t* program) const override {
        return program != std::wstring(L"olk.exe") ? outlooks : std::vector<doctor::Process>(newOutlookRuns ? 1 : 0);
    }
    doctor::Process ProcessOf(std::uint32_t) const override { return client; }
    std::vector<std::uint32_t> WindowOwners(const wchar_t* windowClass) const override {
        return Find(windows, std::wstring(windowClass)).value;
    }
    doctor::Answer<std::vector<doctor::Event>> Events(const wchar_t* channel, const wchar_t*,
                                                      const std::vector<std::uint32_t>& ids) const override {
        auto found = Find(events, std::wstring(channel));
        std::erase_if(found.value, [&](const doctor::Event& event) {
            return std::find(ids.begin(), ids.end(), event.id) == ids.end();
        });
        found.access = eventAccess;
        return found;
    }
    doctor::ProbeResult Probe(const std::wstring&) const override { return probe; }
    std::vector<std::wstring> UserNames() const override { return {L"Ann"}; }

protected:
    doctor::Answer<doctor::RegistryValues> ReadValues(Hive hive, const std::wstring& key) const override {
        return deniedKeys.count({hive, key}) != 0 ? doctor::Answer<doctor::RegistryValues>{doctor::Access::Denied, {}}
                                                  : Find(keys, std::pair(hive, key));
    }

private:
    template <class Key, class Value>
    static doctor::Answer<Value> Find(const std::map<Key, Value>& map, const Key& key) {
        const auto found = map.find(key);
        return found == map.end() ? doctor::Answer<Value>{}
                                  : doctor::Answer<Value>{doctor::Access::Found, found->second};
    }
};
