#include "doctor/Scene.h"

#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <iterator>

namespace doctor {
namespace {

constexpr std::size_t kLargestModule = 64U << 20U; // bytes

std::wstring FindOutlook(const Scene& scene) {
    constexpr const wchar_t* kAppPath = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\OUTLOOK.EXE";
    std::wstring path = ProgramOf(scene.Text(Hive::Machine, kAppPath));
    if (!scene.FileExists(path)) {
        const std::wstring id = scene.ClassText(L"Outlook.Application\\CLSID");
        const std::wstring server = ProgramOf(scene.ClassText(L"CLSID\\" + id + L"\\LocalServer32"));
        path = id.empty() || server.empty() ? path : server;
    }
    return path;
}

} // namespace

std::wstring FindLoadedModule(const std::vector<Process>& processes) {
    for (const Process& process : processes) {
        for (const std::wstring& module : process.modules.value_or(std::vector<std::wstring>())) {
            if (SameText(FileName(module), kModuleFile)) {
                return module;
            }
        }
    }
    return {};
}

std::optional<std::wstring> RegistryValue::Text() const {
    if (type != REG_SZ && type != REG_EXPAND_SZ) {
        return std::nullopt;
    }
    std::wstring text;
    for (std::size_t at = 0; at + 1 < data.size(); at += 2) { // a text may lack its terminator
        const auto unit = static_cast<wchar_t>(data[at] | data[at + 1] << 8);
        if (unit == L'\0') {
            break;
        }
        text += unit;
    }
    return text;
}

std::optional<std::uint32_t> RegistryValue::Number() const {
    if (type != REG_DWORD || data.size() != sizeof(std::uint32_t)) {
        return std::nullopt;
    }
    return data[0] | data[1] << 8 | data[2] << 16 | static_cast<std::uint32_t>(data[3]) << 24;
}

Scene::Scene(const Machine& computer, Language texts) : machine(computer), language(texts) {
    outlook = FindOutlook(*this);
    const std::wstring server = std::wstring(registry::kClassKey) + L"\\InprocServer32";
    module = Text(Hive::Machine, kClassesKey + server);
    if (module.empty()) {
        module = ClassText(server);
    }
    if (!module.empty()) {
        image = machine.Head(module, kLargestModule);
    }
    outlooks = machine.Processes(L"OUTLOOK.EXE");
    loadedModule = FindLoadedModule(outlooks);
}

Answer<RegistryValue> Scene::Value(Hive hive, const std::wstring& key, std::wstring_view name) const {
    const Answer<RegistryValues> values = machine.Values(hive, key);
    for (const RegistryValue& value : values.value) {
        if (SameText(value.name, name)) {
            return {Access::Found, value};
        }
    }
    return {values ? Access::Absent : values.access, {}};
}

std::optional<std::uint32_t> Scene::Number(Hive hive, const std::wstring& key, std::wstring_view name) const {
    return Value(hive, key, name)->Number();
}

std::wstring Scene::Text(Hive hive, const std::wstring& key, std::wstring_view name) const {
    return Value(hive, key, name)->Text().value_or(L"");
}

std::wstring Scene::ClassText(const std::wstring& key) const {
    const std::wstring user = Text(Hive::User, kClassesKey + key);
    return user.empty() ? Text(Hive::Machine, kClassesKey + key) : user;
}

bool Scene::FileExists(const std::wstring& path) const {
    return !path.empty() && machine.Head(path, 1).access != Access::Absent;
}

std::wstring MachineKey(const registry::Value& entry) {
    const std::wstring root = std::wstring_view(entry.key) == registry::kAddInsKey ? L"" : kClassesKey;
    return root + entry.key + (entry.subKey == nullptr ? L"" : std::wstring(L"\\") + entry.subKey);
}

bool SameText(std::wstring_view one, std::wstring_view other) {
    if (one.size() != other.size() || one.empty()) { // the platform refuses the null pointer of an empty view
        return one.size() == other.size();
    }
    return ::CompareStringOrdinal(one.data(), static_cast<int>(one.size()), other.data(),
                                  static_cast<int>(other.size()), TRUE) == CSTR_EQUAL;
}

bool Contains(std::wstring_view text, std::wstring_view part) {
    for (std::size_t at = 0; at + part.size() <= text.size(); ++at) {
        if (SameText(text.substr(at, part.size()), part)) {
            return true;
        }
    }
    return false;
}

std::wstring FileName(std::wstring_view path) {
    const std::size_t end = path.find_last_of(L"\\/");
    return std::wstring(end == std::wstring_view::npos ? path : path.substr(end + 1));
}

std::wstring Parent(std::wstring_view path) {
    const std::size_t end = path.find_last_of(L"\\/");
    return std::wstring(end == std::wstring_view::npos ? std::wstring_view() : path.substr(0, end));
}

std::wstring ProgramOf(std::wstring_view command) {
    if (command.starts_with(L'"')) {
        command.remove_prefix(1);
        return std::wstring(command.substr(0, command.find(L'"')));
    }
    // Without quotation marks a path may contain blanks, so the extension ends it.
    constexpr std::wstring_view kExtension = L".exe";
    for (std::size_t at = 0; at + kExtension.size() <= command.size(); ++at) {
        if (SameText(command.substr(at, kExtension.size()), kExtension)) {
            return std::wstring(command.substr(0, at + kExtension.size()));
        }
    }
    return std::wstring(command);
}

std::wstring HexText(std::uint32_t number) {
    constexpr wchar_t kDigits[] = L"0123456789ABCDEF";
    std::wstring text;
    do {
        text.insert(text.begin(), kDigits[number % 16]);
        number /= 16;
    } while (number != 0);
    return L"0x" + text;
}

std::wstring VersionText(const FileVersion& version) {
    std::wstring text;
    for (const std::uint16_t part : version.part) {
        text += (text.empty() ? L"" : L".") + std::to_wstring(part);
    }
    return text;
}

} // namespace doctor
