#pragma once

#include <windows.h>

/// Writes and removes the registry values of RegistryTable.h. Needs write access to HKEY_CLASSES_ROOT and
/// HKEY_LOCAL_MACHINE.
class Registrar {
public:
    /// Writes all values or none: after the first failure, the written entries are removed and the failure is
    /// returned.
    HRESULT Register();

    /// Removes all entries. A missing entry counts as removed. Any other failure stops the removal and is returned.
    HRESULT Unregister();

private:
    static HRESULT WriteAll();
};
