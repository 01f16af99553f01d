#pragma once

#include <windows.h>

#include <string>

/// Writes and removes the registry entries that make the COM class creatable and make Outlook load the add-in for
/// every user of the machine. Needs write access to HKEY_CLASSES_ROOT and HKEY_LOCAL_MACHINE.
class Registrar {
public:
    Registrar();

    /// Writes all entries, or none: the first failure takes back what was written and is returned.
    HRESULT Register();

    /// Removes all entries; one that is not there counts as removed. The first other failure ends it.
    HRESULT Unregister();

private:
    HRESULT RegisterAll() const;
    HRESULT RegisterClass() const;
    HRESULT RegisterProgIds() const;
    HRESULT RegisterAddIn() const;

    std::wstring clsidText_; // with braces
    std::wstring classKey_;
    std::wstring addInKey_;
    std::wstring name_;
};
