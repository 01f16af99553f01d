#include "workbench/host/Describe.h"

#include <cwchar>

namespace workbench {

std::wstring DescribeHex(unsigned long value) {
    wchar_t text[16];
    std::swprintf(text, 16, L"0x%lX", value);
    return text;
}

std::wstring DescribeIid(REFIID iid) {
    wchar_t text[48] = {};
    ::StringFromGUID2(iid, text, 48);
    return text;
}

std::wstring DescribeVariant(const VARIANT& value) {
    constexpr std::size_t kLongest = 40;
    switch (value.vt) {
    case VT_EMPTY:
        return L"empty";
    case VT_ERROR:
        return value.scode == DISP_E_PARAMNOTFOUND ? L"omitted" : DescribeHex(static_cast<unsigned long>(value.scode));
    case VT_BSTR: {
        std::wstring text(value.bstrVal ? value.bstrVal : L"", ::SysStringLen(value.bstrVal));
        const bool cut = text.size() > kLongest;
        text.resize(cut ? kLongest : text.size());
        return L"\"" + text + (cut ? L"...\"" : L"\"");
    }
    case VT_I4:
    case VT_INT:
        return std::to_wstring(value.lVal);
    case VT_I2:
        return std::to_wstring(value.iVal);
    case VT_BOOL:
        return value.boolVal ? L"True" : L"False";
    case VT_DATE: {
        wchar_t text[32];
        std::swprintf(text, 32, L"%.6f", value.date);
        return text;
    }
    case VT_DISPATCH:
        return value.pdispVal ? L"object" : L"Nothing";
    default:
        return L"vt " + std::to_wstring(value.vt);
    }
}

std::wstring DescribeArguments(const DISPPARAMS& params) {
    std::wstring text;
    for (UINT i = params.cArgs; i > 0; --i) {
        text += (text.empty() ? L"" : L", ") + DescribeVariant(params.rgvarg[i - 1]);
    }
    return text;
}

} // namespace workbench
