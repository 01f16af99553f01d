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

/// Passes a success on. @throws _com_error for a failure.
HRESULT Check(HRESULT status) {
    if (FAILED(status)) {
        throw _com_error(status);
    }
    return status;
}

/// xmllite.dll is part of Windows, its import library is not part of every toolchain. It stays loaded for the life of
/// the process.
template <class Type>
Type XmlLiteFunction(const char* name) {
    static const HMODULE module = ::LoadLibraryExW(L"xmllite.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    const FARPROC function = module ? ::GetProcAddress(module, name) : nullptr;
    Check(function ? S_OK : HRESULT_FROM_WIN32(ERROR_MOD_NOT_FOUND));
    return reinterpret_cast<Type>(reinterpret_cast<void*>(function));
}

ComOwner<IXmlReader> ReaderOn(const std::wstring& xml) {
    using CreateReader = HRESULT(WINAPI*)(REFIID, void**, IMalloc*);
    using CreateInput = HRESULT(WINAPI*)(IUnknown*, IMalloc*, LPCWSTR, BOOL, LPCWSTR, IXmlReaderInput**);
    const auto createReader = XmlLiteFunction<CreateReader>("CreateXmlReader");
    const auto createInput = XmlLiteFunction<CreateInput>("CreateXmlReaderInputWithEncodingName");

    IStream* madeStream = nullptr;
    Check(::CreateStreamOnHGlobal(nullptr, TRUE, &madeStream));
    const ComOwner<IStream> stream(madeStream);
    Check(stream->Write(xml.data(), static_cast<ULONG>(xml.size() * sizeof(wchar_t)), nullptr));
    Check(stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr));
    // The text is UTF-16 whatever its declaration says.
    IXmlReaderInput* madeInput = nullptr;
    Check(createInput(stream.get(), nullptr, L"utf-16", FALSE, nullptr, &madeInput));
    const ComOwner<IUnknown> input(reinterpret_cast<IUnknown*>(madeInput));
    void* madeReader = nullptr;
    Check(createReader(kIidXmlReader, &madeReader, nullptr));
    ComOwner<IXmlReader> reader(static_cast<IXmlReader*>(madeReader));
    Check(reader->SetInput(input.get()));
    return reader;
}

/// Walks the reader and fills the document. Where it stands is a stack of the open elements.
class Builder {
public:
    Builder(IXmlReader& reader, RibbonDocument& document) : reader_(reader), document_(document) {}

    void Run() {
        XmlNodeType type = XmlNodeType_None;
        while (Check(reader_.Read(&type)) == S_OK) {
            if (type == XmlNodeType_Element) {
                OpenElement();
            } else if (type == XmlNodeType_EndElement && !open_.empty()) {
                open_.pop_back();
            }
        }
        Check(rootSeen_ ? S_OK : E_INVALIDARG);
    }

private:
    using Getter = HRESULT (STDMETHODCALLTYPE IXmlReader::*)(LPCWSTR*, UINT*);

    std::wstring Text(Getter getter) {
        const wchar_t* text = nullptr;
        Check((reader_.*getter)(&text, nullptr));
        return text ? text : L"";
    }

    void OpenElement() {
        RibbonElement element;
        element.element = Text(&IXmlReader::GetLocalName);
        const bool empty = reader_.IsEmptyElement() != FALSE; // must be asked before the attributes
        if (!rootSeen_) {
            document_.namespaceUri = Text(&IXmlReader::GetNamespaceUri);
        }
        HRESULT more = Check(reader_.MoveToFirstAttribute());
        for (; more != S_FALSE; more = Check(reader_.MoveToNextAttribute())) {
            element.attributes[Text(&IXmlReader::GetLocalName)] = Text(&IXmlReader::GetValue);
        }
        Enter(std::move(element), empty);
    }

    void Enter(RibbonElement element, bool empty) {
        if (!rootSeen_) {
            rootSeen_ = true;
            Check(element.element == L"customUI" ? S_OK : E_INVALIDARG);
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

RibbonDocument ParseRibbonXml(const std::wstring& xml) {
    RibbonDocument document;
    Builder(*ReaderOn(xml), document).Run();
    return document;
}

} // namespace workbench
