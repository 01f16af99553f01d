#include "Outlook/AddIns/Registrar.h"

#include "Outlook/AddIns/LogValues.h"
#include "Outlook/AddIns/ModuleState.h"
#include "resources/Connect.h"
#include "support/LogLine.h"
#include "support/UniqueResource.h"

#include <new>

namespace {

constexpr const wchar_t* kSource = L"AddIns/Registrar";
constexpr const wchar_t* kProgId = L"NembraMeeting.OutlookAddin";
constexpr const wchar_t* kVersionedProgId = L"NembraMeeting.OutlookAddin.1";
constexpr const wchar_t* kAddInsKey = L"SOFTWARE\\Microsoft\\Office\\Outlook\\Addins";
constexpr DWORD kLoadAtStart = 3; // load at start-up, loaded

struct TextValue {
    const wchar_t* subKey; // null: the key itself
    const wchar_t* name;   // null: the key's default value
    std::wstring text;
};

LSTATUS SetText(HKEY key, const TextValue& value) {
    const auto bytes = static_cast<DWORD>((value.text.size() + 1) * sizeof(wchar_t));
    return ::RegSetKeyValueW(key, value.subKey, value.name, REG_SZ, value.text.c_str(), bytes);
}

/// Creates a key below HKEY_CLASSES_ROOT and sets the values in it and below it.
HRESULT WriteClassesKey(const std::wstring& path, std::initializer_list<TextValue> values) {
    HKEY opened = nullptr;
    LSTATUS result =
        ::RegCreateKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &opened, nullptr);
    const UniqueKey key(opened);
    for (const TextValue& value : values) {
        if (result != ERROR_SUCCESS) {
            break;
        }
        result = SetText(key.Get(), value);
    }
    return HRESULT_FROM_WIN32(result);
}

/// Converts the result of a deletion to a status. A missing key counts as deleted.
HRESULT ToDeletionStatus(LSTATUS result) {
    return result == ERROR_FILE_NOT_FOUND ? S_OK : HRESULT_FROM_WIN32(result);
}

} // namespace

Registrar::Registrar()
    : clsidText_(IdText(CLSID_NembraMeeting).text),
      classKey_(L"CLSID\\" + clsidText_),
      addInKey_(std::wstring(kAddInsKey) + L"\\" + kProgId),
      name_(L"NembraMeetingOutlookAddin") {}

HRESULT Registrar::Register() {
    LogLine(kSource, L"Registrar::Register").Debug() << L"Register";
    HRESULT status = E_OUTOFMEMORY;
    try {
        status = RegisterAll();
    } catch (const std::bad_alloc&) {
        // Handled as any other failure: the written entries are removed, which needs no memory.
    }
    if (FAILED(status)) {
        LogLine(kSource, L"Registrar::Register").Error() << L"Register fail: 0x" << Hex(status);
        Unregister();
    }
    return status;
}

HRESULT Registrar::RegisterAll() const {
    HRESULT status = RegisterClass();
    if (SUCCEEDED(status)) {
        status = RegisterProgIds();
    }
    return SUCCEEDED(status) ? RegisterAddIn() : status;
}

HRESULT Registrar::RegisterClass() const {
    std::wstring module;
    const HRESULT status = ModuleState::GetPath(module);
    if (FAILED(status)) {
        return status;
    }
    return WriteClassesKey(classKey_, {
                                          {nullptr, nullptr, name_},
                                          {L"InprocServer32", nullptr, module},
                                          {L"InprocServer32", L"ThreadingModel", L"Apartment"},
                                          {L"ProgID", nullptr, kProgId},
                                          // Deliberate: the id of the interface, as it has been published. The add-in
                                          // finds its type library by the library's own id, not through this value.
                                          {L"TypeLib", nullptr, IdText(IID_IConnect).text},
                                          {L"VersionIndependentProgID", nullptr, kProgId},
                                      });
}

HRESULT Registrar::RegisterProgIds() const {
    const HRESULT status = WriteClassesKey(kProgId, {
                                                        {nullptr, nullptr, name_},
                                                        {L"CLSID", nullptr, clsidText_},
                                                        {L"CurVer", nullptr, kVersionedProgId},
                                                    });
    if (FAILED(status)) {
        return status;
    }
    return WriteClassesKey(kVersionedProgId, {
                                                 {nullptr, nullptr, name_},
                                                 {L"CLSID", nullptr, clsidText_},
                                             });
}

HRESULT Registrar::RegisterAddIn() const {
    // The parent key is opened, not created: without it the registration fails and is taken back.
    HKEY opened = nullptr;
    LSTATUS result = ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kAddInsKey, 0, KEY_WRITE, &opened);
    const UniqueKey addIns(opened);
    for (const wchar_t* value : {L"Description", L"FriendlyName"}) {
        if (result == ERROR_SUCCESS) {
            // Deliberate: without the terminator. These two values have always been written so, and readers accept it.
            const auto bytes = static_cast<DWORD>(name_.size() * sizeof(wchar_t));
            result = ::RegSetKeyValueW(addIns.Get(), kProgId, value, REG_SZ, name_.c_str(), bytes);
        }
    }
    if (result == ERROR_SUCCESS) {
        result =
            ::RegSetKeyValueW(addIns.Get(), kProgId, L"LoadBehavior", REG_DWORD, &kLoadAtStart, sizeof(kLoadAtStart));
    }
    return HRESULT_FROM_WIN32(result);
}

HRESULT Registrar::Unregister() {
    LogLine(kSource, L"Registrar::Unregister").Debug() << L"Unregister";
    for (const wchar_t* tree : {classKey_.c_str(), kProgId, kVersionedProgId}) {
        const HRESULT status = ToDeletionStatus(::RegDeleteTreeW(HKEY_CLASSES_ROOT, tree));
        if (status != S_OK) {
            return status;
        }
    }
    return ToDeletionStatus(::RegDeleteKeyW(HKEY_LOCAL_MACHINE, addInKey_.c_str()));
}
