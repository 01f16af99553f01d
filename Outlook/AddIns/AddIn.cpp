#include "Outlook/AddIns/AddIn.h"

#include "Outlook/AddIns/ComGuard.h"
#include "Outlook/AddIns/LogValues.h"
#include "Outlook/AddIns/ModuleState.h"
#include "Outlook/Business/Meeting.h"
#include "resources/resource.h"
#include "support/LogLine.h"

#include <cwchar>
#include <new>

namespace {

constexpr const wchar_t* kSource = L"AddIns/AddIn";
constexpr long kOldestHostVersion = 15; // Outlook 2013

/// Connects a collection's sink, which is made on first use. A sink that cannot be connected stays and receives no
/// events.
template <class Sink>
void Follow(IEventSinkPtr& sink, AddIn* handler, IUnknown* collection) {
    if (!sink) {
        sink = MakeSink<Sink>(handler, collection);
    } else {
        sink->SetHandler(handler);
        sink->Advise(collection);
    }
}

HRESULT LoadTypeLibrary(ITypeLibPtr& library) {
    HRESULT status = ::LoadRegTypeLib(LIBID_NBMOutlookAddin, 1, 0, 0, &library);
    if (SUCCEEDED(status)) {
        return status;
    }
    std::wstring module;
    ModuleState::GetPath(module); // Without it the next call fails.
    const std::wstring resource = module + L"\\" + std::to_wstring(IDR_TYPELIB);
    status = ::LoadTypeLib(resource.c_str(), &library);
    if (FAILED(status)) {
        LogLine(kSource, L"AddIn::Init").Error() << L"LoadTypelib faile: " << status;
        return status;
    }
    // A failure is harmless: the library is loaded, and the next start tries again.
    ::RegisterTypeLib(library, module.data(), nullptr);
    return status;
}

bool IsHostSupported(Outlook::_Application* application) {
    _bstr_t version;
    Outlook::GetVersion(application, version); // An unreadable version counts as too old.
    const wchar_t* text = version;
    return text != nullptr && std::wcstol(text, nullptr, 10) >= kOldestHostVersion;
}

/// The host's user-interface language; Chinese when the host does not report it.
DWORD ReadLanguage(Outlook::_Application* application) {
    Outlook::LanguageSettingsPtr settings;
    long language = 0;
    const bool isKnown = SUCCEEDED(Outlook::GetLanguageSettings(application, settings)) && settings &&
                         SUCCEEDED(Outlook::GetLanguageID(settings, Outlook::msoLanguageIDUI, language));
    return isKnown ? static_cast<DWORD>(language) : kSimplifiedChinese;
}

} // namespace

AddIn::AddIn()
    : gate_(std::make_shared<NotifyGate>([this](const NotifyData& data) { return NotifyCallback(data); })),
      taskWindow_(*gate_) {}

AddIn::~AddIn() {
    gate_->Close();
    // All sources of calls are muted before the host is called: when a sink releases its window, an event or a waiting
    // task may arrive. Neither may take and release references on an add-in that is being destroyed.
    MuteSink(explorersSink_);
    MuteSink(inspectorsSink_);
    sinks_.Mute();
    taskWindow_.Destroy();
    sinks_.Clear();
    DisconnectSink(explorersSink_);
    DisconnectSink(inspectorsSink_);
    StopGdiplus(gdiplusToken_);
}

HRESULT AddIn::Init() {
    if (typeInfo_) {
        return S_OK;
    }
    ITypeLibPtr library;
    const HRESULT status = LoadTypeLibrary(library);
    return FAILED(status) ? status : library->GetTypeInfoOfGuid(IID_IConnect, &typeInfo_);
}

HRESULT AddIn::QueryInterface(REFIID riid, void** ppv) noexcept {
    return GuardComCall(kSource, L"AddIn::QueryInterface", [&]() -> HRESULT {
        LogLine(kSource, L"AddIn::QueryInterface").Debug() << IdText(riid);
        if (ppv == nullptr) {
            LogLine(kSource, L"AddIn::QueryInterface").Error() << L"ppv is nullptr.";
            return E_POINTER;
        }
        AddRef();
        if (riid == __uuidof(IUnknown) || riid == __uuidof(IDispatch) || riid == IID_IConnect) {
            *ppv = static_cast<IConnect*>(this);
        } else if (riid == __uuidof(_IDTExtensibility2)) {
            *ppv = static_cast<_IDTExtensibility2*>(this);
        } else if (riid == __uuidof(IRibbonExtensibility)) {
            *ppv = static_cast<IRibbonExtensibility*>(this);
        } else {
            Release();
            LogLine(kSource, L"AddIn::QueryInterface").Error() << L"no interface: " << IdText(riid);
            *ppv = nullptr;
            return E_NOINTERFACE;
        }
        return S_OK;
    });
}

ULONG AddIn::AddRef() noexcept {
    const uint32_t before = refCount_++;
    LogLine(kSource, L"AddIn::AddRef").Debug() << L"nRef = " << before;
    return before + 1;
}

ULONG AddIn::Release() noexcept {
    const uint32_t before = refCount_--;
    LogLine(kSource, L"AddIn::Release").Debug() << L"nRef = " << before;
    if (before == 1) {
        LogLine(kSource, L"AddIn::Release").Info() << L"freed";
        delete this;
    }
    return before - 1;
}

HRESULT AddIn::GetTypeInfoCount(UINT* pctinfo) noexcept {
    return GuardComCall(kSource, L"AddIn::GetTypeInfoCount", [&]() -> HRESULT {
        if (pctinfo == nullptr) {
            LogLine(kSource, L"AddIn::GetTypeInfoCount").Error() << L"Invalid param.";
            return E_POINTER;
        }
        *pctinfo = 1;
        return S_OK;
    });
}

HRESULT AddIn::GetTypeInfo(UINT index, LCID /*lcid*/, ITypeInfo** ppTInfo) noexcept {
    if (ppTInfo != nullptr) {
        *ppTInfo = nullptr;
    }
    if (index != 0) {
        return DISP_E_BADINDEX;
    }
    if (ppTInfo == nullptr) {
        return E_POINTER;
    }
    if (!typeInfo_) {
        return E_FAIL;
    }
    typeInfo_.AddRef();
    *ppTInfo = typeInfo_.GetInterfacePtr();
    return S_OK;
}

HRESULT AddIn::GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, LCID /*lcid*/, DISPID* dispids) noexcept {
    return GuardComCall(kSource, L"AddIn::GetIDsOfNames", [&]() -> HRESULT {
        if (riid != IID_NULL) {
            return DISP_E_UNKNOWNINTERFACE;
        }
        if (names == nullptr || dispids == nullptr || count == 0 || names[0] == nullptr) {
            return E_INVALIDARG;
        }
        LogLine(kSource, L"AddIn::GetIDsOfNames").Info() << L"rgszName: " << names[0];
        return typeInfo_->GetIDsOfNames(names, count, dispids);
    });
}

HRESULT AddIn::Invoke(DISPID dispid, REFIID riid, LCID /*lcid*/, WORD flags, DISPPARAMS* params, VARIANT* result,
                      EXCEPINFO* excepInfo, UINT* argErr) noexcept {
    return GuardComCall(kSource, L"AddIn::Invoke", [&]() -> HRESULT {
        if (riid != IID_NULL) {
            return DISP_E_UNKNOWNINTERFACE;
        }
        ::SetErrorInfo(0, nullptr);
        return typeInfo_->Invoke(static_cast<IConnect*>(this), dispid, flags, params, result, excepInfo, argErr);
    });
}

HRESULT AddIn::OnConnection(IDispatch* application, ext_ConnectMode /*connectMode*/, IDispatch* /*addInInst*/,
                            SAFEARRAY** /*custom*/) noexcept {
    return GuardComCall(kSource, L"AddIn::OnConnection", [&] { return Connect(application); });
}

HRESULT AddIn::Connect(IDispatch* application) {
    HRESULT status = TakeApplication(application);
    if (FAILED(status)) {
        return status;
    }
    // Deliberate: without an explorer the status of the call is returned, also S_OK. The add-in then does nothing until
    // Outlook loads it again, with a window.
    Outlook::_ExplorerPtr explorer;
    status = FindActiveExplorer(explorer);
    if (!explorer) {
        return status;
    }
    if (!IsHostSupported(application_)) {
        return CO_E_NOT_SUPPORTED;
    }
    OnNewExplorer(explorer);
    status = FollowExplorers();
    if (FAILED(status)) {
        return status;
    }
    status = FollowInspectors();
    if (FAILED(status)) {
        return status;
    }
    languageId_ = ReadLanguage(application_);
    status = StartMeetingLink();
    if (FAILED(status)) {
        return status;
    }
    if (gdiplusToken_ == 0) {
        gdiplusToken_ = StartGdiplus(gdiplusInput_);
    }
    taskWindow_.Create(static_cast<IConnect*>(this));
    return status;
}

HRESULT AddIn::TakeApplication(IDispatch* application) {
    const HRESULT status = application == nullptr ? E_POINTER : application->QueryInterface(&application_);
    if (FAILED(status)) {
        LogLine(kSource, L"AddIn::OnConnection").Error() << L"Query _Application interface fail.";
    }
    return status;
}

HRESULT AddIn::FindActiveExplorer(Outlook::_ExplorerPtr& explorer) {
    const HRESULT status = Outlook::ActiveExplorer(application_, explorer);
    if (!explorer) {
        LogLine(kSource, L"AddIn::OnConnection").Error() << L"Query _Explorer interface fail.";
    }
    return status;
}

HRESULT AddIn::FollowExplorers() {
    Outlook::_ExplorersPtr explorers;
    const HRESULT status = Outlook::GetExplorers(application_, explorers);
    if (FAILED(status)) {
        LogLine(kSource, L"AddIn::OnConnection").Error() << L"Query _Explorers fail.";
    } else if (explorers) {
        Follow<ExplorersEventsSink>(explorersSink_, this, explorers);
    }
    return status;
}

HRESULT AddIn::FollowInspectors() {
    Outlook::_InspectorsPtr inspectors;
    const HRESULT status = Outlook::GetInspectors(application_, inspectors);
    if (FAILED(status)) {
        LogLine(kSource, L"AddIn::OnConnection").Error() << L"Query _Inspectors fail.";
    } else if (inspectors) {
        Follow<InspectorsEventsSink>(inspectorsSink_, this, inspectors);
    }
    return status;
}

HRESULT AddIn::StartMeetingLink() {
    Meeting& meeting = Meeting::GetInstance();
    HRESULT status = E_OUTOFMEMORY;
    try {
        status = meeting.Init([gate = gate_](const NotifyData& data) { return gate->Notify(data); });
    } catch (const std::bad_alloc&) {
        // The callback could not be allocated.
    }
    if (FAILED(status)) {
        LogLine(kSource, L"AddIn::OnConnection").Error() << L"Init event handler fail.";
    }
    eventHandler_ = SUCCEEDED(status) ? &meeting : nullptr;
    return status;
}

HRESULT AddIn::OnDisconnection(ext_DisconnectMode /*removeMode*/, SAFEARRAY** /*custom*/) noexcept {
    return GuardComCall(kSource, L"AddIn::OnDisconnection", [this] {
        DisconnectSink(explorersSink_);
        DisconnectSink(inspectorsSink_);
        taskWindow_.Destroy();
        StopGdiplus(gdiplusToken_);
        return S_OK;
    });
}

HRESULT AddIn::OnAddInsUpdate(SAFEARRAY** /*custom*/) noexcept {
    return S_OK;
}

HRESULT AddIn::OnStartupComplete(SAFEARRAY** /*custom*/) noexcept {
    return S_OK;
}

HRESULT AddIn::OnBeginShutdown(SAFEARRAY** /*custom*/) noexcept {
    return S_OK;
}
