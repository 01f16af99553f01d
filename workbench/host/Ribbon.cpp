#include "workbench/host/Ribbon.h"

#include "workbench/host/Describe.h"
#include "workbench/host/HostObjects.h"
#include "workbench/host/OfficeInterfaces.h"
#include "workbench/host/OutlookHost.h"

#include <algorithm>

namespace workbench {
namespace {

constexpr const wchar_t* kNamespaces[] = {L"http://schemas.microsoft.com/office/2009/07/customui",
                                          L"http://schemas.microsoft.com/office/2006/01/customui"};

bool IsCallback(const std::wstring& attribute) {
    return attribute == L"onLoad" || attribute == L"loadImage" || attribute == L"onAction" ||
           attribute.rfind(L"get", 0) == 0;
}

std::wstring TextOf(const _variant_t& value) {
    return value.vt == VT_BSTR && value.bstrVal ? std::wstring(value.bstrVal, ::SysStringLen(value.bstrVal))
                                                : std::wstring();
}

void FreeTexts(EXCEPINFO& exception) {
    if (exception.pfnDeferredFillIn) {
        exception.pfnDeferredFillIn(&exception);
    }
    ::SysFreeString(exception.bstrSource);
    ::SysFreeString(exception.bstrDescription);
    ::SysFreeString(exception.bstrHelpFile);
}

} // namespace

const wchar_t* RibbonId(Surface surface) {
    switch (surface) {
    case Surface::Appointment:
        return L"Microsoft.Outlook.Appointment";
    case Surface::MailCompose:
        return L"Microsoft.Outlook.Mail.Compose";
    case Surface::Explorer:
    default:
        return L"Microsoft.Outlook.Explorer";
    }
}

RibbonContext::RibbonContext(const std::shared_ptr<Explorer>& explorer)
    : automatic_(false), object_(explorer ? explorer->Dispatch() : DispatchPtr()) {}

RibbonContext::RibbonContext(const std::shared_ptr<Inspector>& inspector)
    : automatic_(false), object_(inspector ? inspector->Dispatch() : DispatchPtr()) {}

Ribbon::Ribbon(OutlookHost& host, Surface surface, IUnknown* addIn)
    : host_(host), surface_(surface), addIn_(addIn), invalidations_(std::make_shared<std::vector<Invalidation>>()) {}

Ribbon::~Ribbon() {
    Unload();
}

HRESULT Ribbon::FetchXml() {
    void* found = nullptr;
    HRESULT status = addIn_ ? addIn_->QueryInterface(kIidRibbonExtensibility, &found) : E_POINTER;
    if (FAILED(status)) {
        return status;
    }
    auto* extensibility = static_cast<IRibbonExtensibility*>(found);
    const UnknownPtr owner(static_cast<IUnknown*>(extensibility), false);
    callbacks_ = owner; // the callbacks go to the object that answered the ribbon's interface
    const _bstr_t id(RibbonId(surface_));
    BSTR xml = nullptr;
    status = extensibility->GetCustomUI(id, &xml);
    const _bstr_t xmlOwner(xml, false);
    xml_.assign(xml ? xml : L"", ::SysStringLen(xml));
    host_.Core()->Tell(StepKind::Ribbon, std::wstring(L"GetCustomUI(") + RibbonId(surface_) + L") = " +
                                             DescribeHex(static_cast<unsigned long>(status)) + L", " +
                                             std::to_wstring(xml_.size()) + L" characters");
    return status;
}

HRESULT Ribbon::CheckCallbacks() {
    std::vector<std::wstring> names{document_.onLoad, document_.loadImage};
    for (const RibbonElement& element : document_.elements) {
        for (const auto& [attribute, value] : element.attributes) {
            if (IsCallback(attribute)) {
                names.push_back(value);
            }
        }
    }
    for (const std::wstring& name : names) {
        DISPID id = 0;
        LPOLESTR text = const_cast<LPOLESTR>(name.c_str());
        const HRESULT status = name.empty() || !callbacks_
                                   ? S_OK
                                   : callbacks_->GetIDsOfNames(IID_NULL, &text, 1, LOCALE_USER_DEFAULT, &id);
        if (FAILED(status)) {
            return status;
        }
    }
    return S_OK;
}

HRESULT Ribbon::Load() {
    pictures_.clear();
    document_ = RibbonDocument{};
    loaded_ = false;
    HRESULT status = FetchXml();
    if (FAILED(status) || xml_.empty()) {
        return FAILED(status) ? status : S_FALSE;
    }
    try {
        document_ = ParseRibbonXml(xml_);
    } catch (const _com_error& error) {
        return error.Error();
    }
    if (std::find(std::begin(kNamespaces), std::end(kNamespaces), document_.namespaceUri) == std::end(kNamespaces)) {
        document_ = RibbonDocument{};
        return E_INVALIDARG;
    }
    // Like Office: a callback that is not there costs the whole customisation of this ribbon.
    status = CheckCallbacks();
    if (FAILED(status)) {
        document_ = RibbonDocument{};
        return status;
    }
    loaded_ = true;
    if (document_.onLoad.empty()) {
        return S_OK;
    }
    status = CallOnLoad().status;
    if (host_.habits().onLoadTwice) {
        CallOnLoad();
    }
    return status;
}

void Ribbon::Unload() {
    loaded_ = false;
    pictures_.clear();
    document_ = RibbonDocument{};
    callbacks_ = nullptr;
    addIn_ = nullptr;
}

const RibbonElement* Ribbon::Find(const std::wstring& id) const {
    const auto found = std::find_if(document_.elements.begin(), document_.elements.end(),
                                    [&](const RibbonElement& element) { return element.id == id; });
    return found == document_.elements.end() ? nullptr : &*found;
}

std::vector<RibbonElement> Ribbon::OfTab(const std::wstring& tab) const {
    std::vector<RibbonElement> elements;
    std::copy_if(document_.elements.begin(), document_.elements.end(), std::back_inserter(elements),
                 [&](const RibbonElement& element) { return element.tab == tab; });
    return elements;
}

DispatchPtr Ribbon::MakeControl(const std::wstring& id, const RibbonContext& context) {
    DispatchPtr object = context.Object();
    if (host_.habits().nullContext) {
        object = nullptr;
    } else if (context.Automatic() && surface_ == Surface::Explorer) {
        object = RibbonContext(host_.ActiveExplorer()).Object();
    } else if (context.Automatic()) {
        object = RibbonContext(host_.ActiveInspector()).Object();
    }
    return MakeRibbonControl(host_.Core(), id, object);
}

CallbackResult Ribbon::Call(const std::wstring& callback, const _variant_t& argument) {
    CallbackResult result;
    const DispatchPtr target = callbacks_; // the callback may end the ribbon
    if (!target) {
        result.status = E_POINTER;
        return result;
    }
    DISPID id = 0;
    LPOLESTR name = const_cast<LPOLESTR>(callback.c_str());
    result.status = target->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
    if (SUCCEEDED(result.status)) {
        _variant_t copy(argument);
        DISPPARAMS params{&copy, nullptr, 1, 0};
        EXCEPINFO exception{};
        result.status = target->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, &result.value,
                                       &exception, nullptr);
        if (result.status == DISP_E_EXCEPTION) {
            FreeTexts(exception);
            result.status = FAILED(exception.scode) ? exception.scode : DISP_E_EXCEPTION;
        }
    }
    host_.Core()->Tell(StepKind::Ribbon,
                       callback + L" = " + DescribeHex(static_cast<unsigned long>(result.status)) +
                           (result.value.vt == VT_EMPTY ? std::wstring() : L", " + DescribeVariant(result.value)));
    return result;
}

CallbackResult Ribbon::CallOnLoad() {
    ++onLoadCount_;
    const DispatchPtr ui = MakeRibbonUi(host_.Core(), invalidations_);
    return Call(document_.onLoad, _variant_t(ui.GetInterfacePtr()));
}

std::wstring Ribbon::CallbackName(const wchar_t* attribute, const std::wstring& id) const {
    if (const RibbonElement* element = Find(id)) {
        if (std::wstring name = element->Attribute(attribute); !name.empty()) {
            return name;
        }
    }
    for (const RibbonElement& element : document_.elements) {
        if (std::wstring name = element.Attribute(attribute); !name.empty()) {
            return name;
        }
    }
    return {};
}

CallbackResult Ribbon::CallForControl(const wchar_t* attribute, const std::wstring& id, const RibbonContext& context) {
    const std::wstring name = CallbackName(attribute, id);
    if (name.empty()) {
        CallbackResult none;
        none.status = DISP_E_UNKNOWNNAME;
        return none;
    }
    const DispatchPtr control = MakeControl(id, context);
    return Call(name, _variant_t(control.GetInterfacePtr()));
}

CallbackResult Ribbon::AskLabel(const std::wstring& id, const RibbonContext& context) {
    return CallForControl(L"getLabel", id, context);
}

CallbackResult Ribbon::AskVisible(const std::wstring& id, const RibbonContext& context) {
    return CallForControl(L"getVisible", id, context);
}

CallbackResult Ribbon::AskEnabled(const std::wstring& id, const RibbonContext& context) {
    return CallForControl(L"getEnabled", id, context);
}

std::wstring Ribbon::Label(const std::wstring& id, const RibbonContext& context) {
    const RibbonElement* element = Find(id);
    if (element && element->Attribute(L"getLabel").empty()) {
        return element->Attribute(L"label");
    }
    const CallbackResult result = AskLabel(id, context);
    return SUCCEEDED(result.status) ? TextOf(result.value) : std::wstring();
}

/// True unless the callback or the attribute says otherwise.
bool Ribbon::Flag(const wchar_t* callback, const wchar_t* attribute, const std::wstring& id,
                  const RibbonContext& context) {
    const RibbonElement* element = Find(id);
    if (element && element->Attribute(callback).empty()) {
        return element->Attribute(attribute) != L"false";
    }
    const CallbackResult result = CallForControl(callback, id, context);
    return FAILED(result.status) || result.value.vt != VT_BOOL || result.value.boolVal != VARIANT_FALSE;
}

bool Ribbon::Visible(const std::wstring& id, const RibbonContext& context) {
    return Flag(L"getVisible", L"visible", id, context);
}

bool Ribbon::Enabled(const std::wstring& id, const RibbonContext& context) {
    return Flag(L"getEnabled", L"enabled", id, context);
}

HRESULT Ribbon::Press(const std::wstring& id, const RibbonContext& context) {
    host_.Core()->Tell(StepKind::Ribbon, L"press " + id);
    return CallForControl(L"onAction", id, context).status;
}

CallbackResult Ribbon::LoadImage(const std::wstring& imageName) {
    return Call(document_.loadImage, _variant_t(imageName.c_str()));
}

PicturePtr Ribbon::Image(const std::wstring& id) {
    const RibbonElement* element = Find(id);
    const std::wstring name = element ? element->Attribute(L"image") : std::wstring();
    if (name.empty() || document_.loadImage.empty()) {
        return nullptr;
    }
    if (const auto cached = pictures_.find(name); cached != pictures_.end()) {
        return cached->second;
    }
    const CallbackResult result = LoadImage(name);
    void* picture = nullptr;
    const bool object = result.value.vt == VT_DISPATCH || result.value.vt == VT_UNKNOWN;
    if (SUCCEEDED(result.status) && object && result.value.punkVal) {
        result.value.punkVal->QueryInterface(IID_IPictureDisp, &picture);
    }
    PicturePtr owned(static_cast<IPictureDisp*>(picture), false);
    pictures_[name] = owned;
    return owned;
}

} // namespace workbench
