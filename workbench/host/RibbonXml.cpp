#include "workbench/host/RibbonXml.h"

#include "workbench/host/ComHeaders.h"

#include <xmllite.h>

#include <memory>

namespace workbench {
namespace {

constexpr GUID kIidXmlReader = {0x7279FC81, 0x709D, 0x4095, {0xB6, 0x3D, 0x69, 0xFE, 0x4B, 0x0D, 0x90, 0x30}};

struct ComRelease {
    template <class T>
    void operator()(T* object) const noexcept {
        object->Release();
    }
};
template <class T>
using ComOwner = std::unique_ptr<T, ComRelease>;

/// xmllite.dll is part of Windows, its import library is not part of every toolchain.
struct XmlLite {
    using CreateReader = HRESULT(WINAPI*)(REFIID, void**, IMalloc*);
    using CreateInput = HRESULT(WINAPI*)(IUnknown*, IMalloc*, LPCWSTR, BOOL, LPCWSTR, IXmlReaderInput**);

    CreateReader createReader = nullptr;
    CreateInput createInput = nullptr;

    XmlLite() {
        const HMODULE module = ::LoadLibraryExW(L"xmllite.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
        if (module) { // kept for the life of the process
            createReader = Function<CreateReader>(module, "CreateXmlReader");
            createInput = Function<CreateInput>(module, "CreateXmlReaderInputWithEncodingName");
        }
    }

    template <class Type>
    static Type Function(HMODULE module, const char* name) {
        return reinterpret_cast<Type>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
    }
};

HRESULT StreamOn(const std::wstring& xml, ComOwner<IStream>& stream) {
    IStream* made = nullptr;
    const HRESULT status = ::CreateStreamOnHGlobal(nullptr, TRUE, &made);
    if (FAILED(status)) {
        return status;
    }
    stream.reset(made);
    HRESULT written = stream->Write(xml.data(), static_cast<ULONG>(xml.size() * sizeof(wchar_t)), nullptr);
    if (SUCCEEDED(written)) {
        written = stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr);
    }
    return written;
}

/// Walks the reader and fills the document. Where it stands is a stack of the open elements.
class Builder {
public:
    Builder(IXmlReader& reader, RibbonDocument& document) : reader_(reader), document_(document) {}

    HRESULT Run() {
        XmlNodeType type = XmlNodeType_None;
        HRESULT status = S_OK;
        while ((status = reader_.Read(&type)) == S_OK) {
            if (type == XmlNodeType_Element) {
                status = OpenElement();
            } else if (type == XmlNodeType_EndElement && !open_.empty()) {
                open_.pop_back();
            }
            if (FAILED(status)) {
                return status;
            }
        }
        if (FAILED(status)) {
            return status;
        }
        return rootSeen_ ? S_OK : E_INVALIDARG;
    }

private:
    HRESULT OpenElement() {
        const wchar_t* name = nullptr;
        HRESULT status = reader_.GetLocalName(&name, nullptr);
        if (FAILED(status)) {
            return status;
        }
        RibbonElement element;
        element.element = name;
        const bool empty = reader_.IsEmptyElement() != FALSE; // must be asked before the attributes
        if (!rootSeen_) {
            const wchar_t* uri = nullptr;
            reader_.GetNamespaceUri(&uri, nullptr);
            document_.namespaceUri = uri ? uri : L"";
        }
        status = ReadAttributes(element);
        if (FAILED(status)) {
            return status;
        }
        return Enter(std::move(element), empty);
    }

    HRESULT ReadAttributes(RibbonElement& element) {
        for (HRESULT more = reader_.MoveToFirstAttribute(); more != S_FALSE; more = reader_.MoveToNextAttribute()) {
            const wchar_t* name = nullptr;
            const wchar_t* value = nullptr;
            if (FAILED(more)) {
                return more;
            }
            if (FAILED(reader_.GetLocalName(&name, nullptr)) || FAILED(reader_.GetValue(&value, nullptr))) {
                return E_FAIL;
            }
            element.attributes[name] = value;
        }
        return S_OK;
    }

    HRESULT Enter(RibbonElement element, bool empty) {
        if (!rootSeen_) {
            rootSeen_ = true;
            if (element.element != L"customUI") {
                return E_INVALIDARG;
            }
            document_.onLoad = element.Attribute(L"onLoad");
            document_.loadImage = element.Attribute(L"loadImage");
        }
        for (const wchar_t* name : {L"id", L"idMso", L"idQ"}) {
            if (element.id.empty()) {
                element.id = element.Attribute(name);
            }
        }
        for (const RibbonElement& outer : open_) {
            if (outer.element == L"tab") {
                element.tab = outer.id;
            } else if (outer.element == L"group") {
                element.group = outer.id;
            }
        }
        if (!element.id.empty()) {
            document_.elements.push_back(element);
        }
        if (!empty) {
            open_.push_back(std::move(element));
        }
        return S_OK;
    }

    IXmlReader& reader_;
    RibbonDocument& document_;
    std::vector<RibbonElement> open_;
    bool rootSeen_ = false;
};

} // namespace

std::wstring RibbonElement::Attribute(const wchar_t* name) const {
    const auto found = attributes.find(name);
    return found == attributes.end() ? std::wstring() : found->second;
}

HRESULT ParseRibbonXml(const std::wstring& xml, RibbonDocument& document) {
    static const XmlLite library;
    if (!library.createReader || !library.createInput) {
        return HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND);
    }
    ComOwner<IStream> stream;
    HRESULT status = StreamOn(xml, stream);
    if (FAILED(status)) {
        return status;
    }
    // The text is UTF-16 whatever its declaration says.
    IXmlReaderInput* input = nullptr;
    status = library.createInput(stream.get(), nullptr, L"utf-16", FALSE, nullptr, &input);
    if (FAILED(status)) {
        return status;
    }
    const ComOwner<IUnknown> inputOwner(reinterpret_cast<IUnknown*>(input));
    void* made = nullptr;
    status = library.createReader(kIidXmlReader, &made, nullptr);
    if (FAILED(status)) {
        return status;
    }
    const ComOwner<IXmlReader> reader(static_cast<IXmlReader*>(made));
    status = reader->SetInput(inputOwner.get());
    if (FAILED(status)) {
        return status;
    }
    document = RibbonDocument{};
    return Builder(*reader, document).Run();
}

} // namespace workbench
