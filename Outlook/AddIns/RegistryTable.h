#pragma once

/// The registry values that register the COM class and make Outlook load the add-in for every user of the machine.
/// `Registrar` writes them, the installer's rows are made from them, and the doctor compares a machine with them. This
/// file includes nothing of Windows: the installer is made on another system.
namespace registry {

inline constexpr wchar_t kName[] = L"NembraMeetingOutlookAddin";
inline constexpr wchar_t kProgId[] = L"NembraMeeting.OutlookAddin";
inline constexpr wchar_t kVersionedProgId[] = L"NembraMeeting.OutlookAddin.1";
inline constexpr wchar_t kClassKey[] = L"CLSID\\{40F17626-1892-4A6D-891E-E1A77A483FC0}";
inline constexpr const wchar_t* kClassId = kClassKey + 6;
/// Outlook's list of add-ins, and the add-in's own key in it.
inline constexpr wchar_t kAddInsKey[] = L"SOFTWARE\\Microsoft\\Office\\Outlook\\Addins";
inline constexpr wchar_t kAddInKey[] = L"SOFTWARE\\Microsoft\\Office\\Outlook\\Addins\\NembraMeeting.OutlookAddin";

struct Value {
    const wchar_t* key;    ///< kAddInsKey is below HKEY_LOCAL_MACHINE, all others are below HKEY_CLASSES_ROOT
    const wchar_t* subKey; ///< null: the key itself
    const wchar_t* name;   ///< null: the unnamed value
    const wchar_t* text;   ///< null: the full path of the module, unless there is a number
    unsigned number = 0;   ///< 0: the value is a text
};

/// In the order in which they are written. The values of a key follow each other.
inline constexpr Value kValues[] = {
    {kClassKey, nullptr, nullptr, kName},
    {kClassKey, L"InprocServer32", nullptr, nullptr},
    {kClassKey, L"InprocServer32", L"ThreadingModel", L"Apartment"},
    {kClassKey, L"ProgID", nullptr, kProgId},
    // Deliberate: the id of the interface IConnect, as it has been published. The add-in finds its type library by the
    // library's own id, not through this value.
    {kClassKey, L"TypeLib", nullptr, L"{C98A0464-8772-4E58-9C54-00F3855A3CA9}"},
    {kClassKey, L"VersionIndependentProgID", nullptr, kProgId},
    {kProgId, nullptr, nullptr, kName},
    {kProgId, L"CLSID", nullptr, kClassId},
    {kProgId, L"CurVer", nullptr, kVersionedProgId},
    {kVersionedProgId, nullptr, nullptr, kName},
    {kVersionedProgId, L"CLSID", nullptr, kClassId},
    {kAddInsKey, kProgId, L"Description", kName},
    {kAddInsKey, kProgId, L"FriendlyName", kName},
    {kAddInsKey, kProgId, L"LoadBehavior", nullptr, 3}, // load at start-up, loaded
};

} // namespace registry
