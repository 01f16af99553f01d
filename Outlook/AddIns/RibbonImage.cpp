#include "Outlook/AddIns/RibbonImage.h"

#include "Outlook/AddIns/GdiplusSession.h"
#include "Outlook/AddIns/LogValues.h"
#include "Outlook/AddIns/ModuleState.h"
#include "Outlook/ObjectModel/ComPointers.h"
#include "support/LogLine.h"
#include "support/UniqueResource.h"

#include <olectl.h>

#include <cstring>
#include <cwchar>

namespace {

constexpr const wchar_t* kSource = L"AddIns/AddIn"; // one label for the add-in object in the log
constexpr const wchar_t* kMethod = L"AddIn::OnLoadImage";

/// With a black background, fully transparent pixels become 0 and the others premultiplied. Its own alpha has no
/// effect. Any other colour leaves bright edges.
constexpr Gdiplus::ARGB kBackground = 0xFF000000;

/// Opens a stream over a copy of a PNG resource. @return null on failure, with the reason in `status`.
IStreamPtr OpenImageResource(const wchar_t* imageName, HRESULT& status) {
    const auto id = static_cast<WORD>(std::wcstol(imageName, nullptr, 10));
    HRSRC found = ::FindResourceW(ModuleState::module, MAKEINTRESOURCEW(id), L"PNG");
    if (found == nullptr) {
        const DWORD error = ::GetLastError();
        LogLine(kSource, kMethod).Error() << L"FindResourceW fail: " << error;
        status = HRESULT_FROM_WIN32(error);
        return nullptr;
    }
    HGLOBAL loaded = ::LoadResource(ModuleState::module, found);
    const void* bytes = loaded != nullptr ? ::LockResource(loaded) : nullptr;
    if (bytes == nullptr) {
        const DWORD error = ::GetLastError();
        LogLine(kSource, kMethod).Error() << L"LoadResource fail: " << error;
        status = HRESULT_FROM_WIN32(error);
        return nullptr;
    }
    const DWORD size = ::SizeofResource(ModuleState::module, found);
    HGLOBAL copy = ::GlobalAlloc(GHND, size);
    void* target = copy != nullptr ? ::GlobalLock(copy) : nullptr;
    if (target == nullptr) {
        ::GlobalFree(copy);
        status = E_OUTOFMEMORY;
        return nullptr;
    }
    std::memcpy(target, bytes, size);
    ::GlobalUnlock(copy);
    IStreamPtr stream;
    status = ::CreateStreamOnHGlobal(copy, TRUE, &stream); // The stream frees the block.
    if (FAILED(status)) {
        ::GlobalFree(copy);
        LogLine(kSource, kMethod).Error() << L"Create stream fail: 0x" << Hex(status);
    }
    return stream;
}

Gdiplus::Status Decode(IStream* stream, HBITMAP& handle) {
    // GDI+ is started for this call alone: Office may ask for images before the connection has started it.
    ULONG_PTR token = StartGdiplus({});
    const Gdiplus::Status status = Gdiplus::Bitmap(stream).GetHBITMAP(Gdiplus::Color(kBackground), &handle);
    StopGdiplus(token);
    return status;
}

} // namespace

HRESULT LoadRibbonImage(const wchar_t* imageName, IPictureDisp** image) {
    HRESULT status = S_OK;
    const IStreamPtr stream = OpenImageResource(imageName, status); // outlives the bitmap that reads it
    if (!stream) {
        return FAILED(status) ? status : E_FAIL;
    }
    HBITMAP handle = nullptr;
    const Gdiplus::Status decoded = Decode(stream, handle);
    if (decoded != Gdiplus::Ok || handle == nullptr) {
        LogLine(kSource, kMethod).Error() << L"Decode image fail: " << static_cast<int>(decoded);
        return E_FAIL;
    }
    UniqueGdiObject owned(handle);
    PICTDESC description = {};
    description.cbSizeofstruct = sizeof(description);
    description.picType = PICTYPE_BITMAP;
    description.bmp.hbitmap = handle;
    status = ::OleCreatePictureIndirect(&description, __uuidof(IPictureDisp), TRUE, reinterpret_cast<void**>(image));
    if (SUCCEEDED(status)) {
        owned.Detach(); // The picture owns it now.
    }
    return status;
}
