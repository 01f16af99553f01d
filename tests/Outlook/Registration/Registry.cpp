#include "tests/Outlook/Registration/Registry.h"

#include "resources/Connect.h"
#include "support/Text.h"

#include <gtest/gtest.h>

#include <oleauto.h>
#include <sddl.h>

#include <cstring>
#include <vector>

namespace {

std::string ReadableText(const std::vector<BYTE>& data) {
    std::wstring text(data.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), data.data(), text.size() * sizeof(wchar_t));
    std::string readable;
    for (const char c : ToUtf8(text)) {
        readable += c == '\0' ? std::string("\\0") : std::string(1, c);
    }
    return readable;
}

std::string Readable(DWORD type, const std::vector<BYTE>& data) {
    const std::string length = "(" + std::to_string(data.size()) + ") ";
    if (type == REG_SZ) {
        return "sz" + length + ReadableText(data);
    }
    if (type == REG_DWORD && data.size() == sizeof(DWORD)) {
        DWORD number = 0;
        std::memcpy(&number, data.data(), sizeof(number));
        return "dword" + length + std::to_string(number);
    }
    std::string readable = "type " + std::to_string(type) + length;
    for (const BYTE byte : data) {
        readable += std::to_string(byte) + " ";
    }
    return readable;
}

void AddKey(HKEY root, const std::wstring& path, RegistryImage& image) {
    HKEY opened = nullptr;
    const LSTATUS status = ::RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &opened);
    const UniqueKey key(opened);
    const std::wstring prefix = path.empty() ? path : path + L"\\";
    image[ToUtf8(prefix)] = status == ERROR_SUCCESS ? "" : "error " + std::to_string(status);
    wchar_t name[256] = {};
    std::vector<BYTE> data(4096);
    for (DWORD index = 0;; ++index) {
        DWORD length = ARRAYSIZE(name);
        auto size = static_cast<DWORD>(data.size());
        DWORD type = 0;
        if (::RegEnumValueW(key.Get(), index, name, &length, nullptr, &type, data.data(), &size) != ERROR_SUCCESS) {
            break;
        }
        image[ToUtf8(prefix + L"@" + name)] = Readable(type, {data.begin(), data.begin() + size});
    }
    for (DWORD index = 0;; ++index) {
        DWORD length = ARRAYSIZE(name);
        if (::RegEnumKeyExW(key.Get(), index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
            break;
        }
        AddKey(root, prefix + name, image);
    }
}

} // namespace

UniqueKey MakeKey(HKEY root, const std::wstring& path) {
    HKEY key = nullptr;
    ::RegCreateKeyExW(root, path.c_str(), 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr, &key, nullptr);
    return UniqueKey(key);
}

bool HasKey(HKEY root, const std::wstring& path) {
    HKEY key = nullptr;
    const LSTATUS status = ::RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key);
    const UniqueKey owned(key);
    return status == ERROR_SUCCESS;
}

void PutText(HKEY root, const std::wstring& path, const wchar_t* name, const std::wstring& text) {
    const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    EXPECT_EQ(::RegSetKeyValueW(root, path.c_str(), name, REG_SZ, text.c_str(), bytes), ERROR_SUCCESS);
}

RegistryImage ReadImage(HKEY root) {
    RegistryImage image;
    AddKey(root, L"", image);
    return image;
}

std::wstring RegisteredLibrary() {
    BSTR path = nullptr;
    const HRESULT status = ::QueryPathOfRegTypeLib(LIBID_NBMOutlookAddin, 1, 0, 0, &path);
    // Wine counts the terminator as part of the text.
    const std::wstring found = SUCCEEDED(status) && path != nullptr ? path : L"";
    ::SysFreeString(path);
    return found;
}

KeyLock::KeyLock(HKEY root, const std::wstring& path) {
    HKEY key = nullptr;
    EXPECT_EQ(::RegOpenKeyExW(root, path.c_str(), 0, READ_CONTROL | WRITE_DAC, &key), ERROR_SUCCESS);
    key_.Reset(key);
    Set(L"D:P");
}

KeyLock::~KeyLock() {
    Set(L"D:(A;;KA;;;WD)");
}

void KeyLock::Set(const wchar_t* accessList) {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    ASSERT_TRUE(
        ::ConvertStringSecurityDescriptorToSecurityDescriptorW(accessList, SDDL_REVISION_1, &descriptor, nullptr));
    EXPECT_EQ(::RegSetKeySecurity(key_.Get(), DACL_SECURITY_INFORMATION, descriptor), ERROR_SUCCESS);
    ::LocalFree(descriptor);
}
