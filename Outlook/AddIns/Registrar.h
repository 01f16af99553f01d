#pragma once

#include <windows.h>

#include <string>

/// Writes and removes the registry entries that register the COM class and make Outlook load the add-in for every user
/// of the machine. Needs write access to HKEY_CLASSES_ROOT and HKEY_LOCAL_MACHINE.
class Registrar {
public:
    Registrar();

    /// Writes all entries or none: after the first failure, the written entries are removed and the failure is
    /// returned.
    HRESULT Register();

    /// Removes all entries. A missing entry counts as removed. Any other failure stops the removal and is returned.
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
