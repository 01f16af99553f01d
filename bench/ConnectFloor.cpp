#include "bench/ConnectFloor.h"

#include "bench/Measure.h"
#include "resources/resource.h"
#include "workbench/host/OfficeIds.h"

#include <cstring>
#include <cwchar>
#include <iterator>

namespace bench {
namespace {

constexpr DISPID kControlId = 1;
constexpr DISPID kControlContext = 2;
constexpr DWORD kBackground = 0xFF000000; // opaque black

using StreamPtr = _com_ptr_t<workbench::NamedInterface<IStream, &IID_IStream>>;

template <class Function>
Function GdiplusFunction(const char* name) {
    const HMODULE gdiplus = ::GetModuleHandleW(L"gdiplus.dll"); // loaded with the add-in
    const auto found = gdiplus == nullptr ? nullptr : ::GetProcAddress(gdiplus, name);
    Require(found != nullptr, "GDI+ is not loaded");
    return reinterpret_cast<Function>(reinterpret_cast<void*>(found));
}

HRESULT ReadMember(IDispatch* control, DISPID member, _variant_t& value) {
    void* ribbonControl = nullptr;
    HRESULT status = control->QueryInterface(workbench::kIidRibbonControl, &ribbonControl);
    if (FAILED(status)) {
        return status;
    }
    auto* const dispatch = static_cast<IDispatch*>(ribbonControl);
    DISPPARAMS none{};
    status =
        dispatch->Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none, &value, nullptr, nullptr);
    dispatch->Release();
    return status;
}

/// Whether the control stands in an appointment's window.
bool IsInInspector(IDispatch* control) {
    _variant_t context;
    void* inspector = nullptr;
    if (FAILED(ReadMember(control, kControlContext, context)) || context.vt != VT_DISPATCH || !context.pdispVal ||
        FAILED(context.pdispVal->QueryInterface(workbench::kIidInspector, &inspector))) {
        return false;
    }
    static_cast<IUnknown*>(inspector)->Release();
    return true;
}

StreamPtr OpenResource(HMODULE module, BSTR name) {
    const auto id = static_cast<WORD>(std::wcstol(name, nullptr, 10));
    const HRSRC found = ::FindResourceW(module, MAKEINTRESOURCEW(id), L"PNG");
    const DWORD size = ::SizeofResource(module, found);
    const HGLOBAL copy = ::GlobalAlloc(GHND, size);
    std::memcpy(::GlobalLock(copy), ::LockResource(::LoadResource(module, found)), size);
    ::GlobalUnlock(copy);
    StreamPtr stream;
    ::CreateStreamOnHGlobal(copy, TRUE, &stream);
    return stream;
}

} // namespace

PlatformConnect::PlatformConnect(ITypeInfo* typeInfo, HMODULE module, HandLog& log)
    : EmptyConnect(typeInfo),
      module_(module),
      log_(log),
      createBitmap_(GdiplusFunction<CreateBitmap>("GdipCreateBitmapFromStream")),
      createHandle_(GdiplusFunction<CreateHandle>("GdipCreateHBITMAPFromBitmap")),
      disposeImage_(GdiplusFunction<DisposeImage>("GdipDisposeImage")) {}

HRESULT PlatformConnect::GetLabel(IDispatch* control, BSTR* label) noexcept {
    _variant_t id;
    ReadMember(control, kControlId, id);
    wchar_t text[256] = {};
    ::LoadStringW(module_, IDS_SCHEDULE_EN, text, static_cast<int>(std::size(text)));
    *label = ::SysAllocString(text);
    return S_OK;
}

VARIANT_BOOL PlatformConnect::AnswerFor(IDispatch* control) {
    static const std::string line = "[2022-09-01 10:06:20.123][P:5120/T:7344][Err]"
                                    "[AddIn:81 AddIn::GetInspectorForRibbon]query interface fail: 0x80004002\r\n";
    if (IsInInspector(control)) {
        return VARIANT_FALSE;
    }
    log_.Write(line);
    return VARIANT_TRUE;
}

HRESULT PlatformConnect::GetVisible(IDispatch* control, VARIANT_BOOL* visible) noexcept {
    *visible = AnswerFor(control);
    return S_OK;
}

HRESULT PlatformConnect::GetEnable(IDispatch* control, VARIANT_BOOL* enable) noexcept {
    *enable = AnswerFor(control);
    return S_OK;
}

HRESULT PlatformConnect::OnLoadImage(BSTR name, IPictureDisp** image) noexcept {
    const StreamPtr stream = OpenResource(module_, name);
    void* bitmap = nullptr;
    HBITMAP handle = nullptr;
    createBitmap_(stream, &bitmap);
    createHandle_(bitmap, &handle, kBackground);
    disposeImage_(bitmap);
    PICTDESC description{};
    description.cbSizeofstruct = sizeof(description);
    description.picType = PICTYPE_BITMAP;
    description.bmp.hbitmap = handle;
    return ::OleCreatePictureIndirect(&description, IID_IPictureDisp, TRUE, reinterpret_cast<void**>(image));
}

} // namespace bench
