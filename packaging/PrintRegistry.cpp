// Prints the registry values of an installation, one a line: root, key, name and data, separated by tabs. Data is a
// text,
// "#" and a number, or a reference to the module's path that the installer resolves. Runs on the building machine.
#include "Outlook/AddIns/RegistryTable.h"

#include <cstdio>

namespace {

constexpr wchar_t kLibraryKey[] = L"TypeLib\\{712AA455-0C84-4E6F-B754-C84B08BB0681}\\1.0";
constexpr wchar_t kInterfaceKey[] = L"Interface\\{C98A0464-8772-4E58-9C54-00F3855A3CA9}";
constexpr wchar_t kAutomationProxy[] = L"{00020424-0000-0000-C000-000000000046}";

/// The add-in writes these values itself when its type library is not registered. The installer writes them first, so
/// that it also removes them.
constexpr registry::Value kTypeLibrary[] = {
    {kLibraryKey, nullptr, nullptr, L"NEMBRA CLOUD Meeting add-in for Outlook"},
    {kLibraryKey, L"0\\win64", nullptr, nullptr},
    {kLibraryKey, L"FLAGS", nullptr, L"0"},
    {kLibraryKey, L"HELPDIR", nullptr, L"[INSTALLFOLDER]"},
    {kInterfaceKey, nullptr, nullptr, L"IConnect"},
    {kInterfaceKey, L"ProxyStubClsid", nullptr, kAutomationProxy},
    {kInterfaceKey, L"ProxyStubClsid32", nullptr, kAutomationProxy},
    {kInterfaceKey, L"TypeLib", nullptr, L"{712AA455-0C84-4E6F-B754-C84B08BB0681}"},
    {kInterfaceKey, L"TypeLib", L"Version", L"1.0"},
};

void Print(const registry::Value& value) {
    std::printf("%s\t%ls", value.key == registry::kAddInsKey ? "HKLM" : "HKCR", value.key);
    if (value.subKey != nullptr) {
        std::printf("\\%ls", value.subKey);
    }
    std::printf("\t%ls\t", value.name != nullptr ? value.name : L"");
    if (value.number != 0) {
        std::printf("#%u\n", value.number);
    } else {
        std::printf("%ls\n", value.text != nullptr ? value.text : L"[#OutlookAddIn.dll]");
    }
}

} // namespace

int main() {
    for (const registry::Value& value : registry::kValues) {
        Print(value);
    }
    for (const registry::Value& value : kTypeLibrary) {
        Print(value);
    }
}
