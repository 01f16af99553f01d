#include "workbench/host/AddInHost.h"

#include "workbench/host/Describe.h"
#include "workbench/host/HostObjects.h"
#include "workbench/host/OutlookHost.h"

namespace workbench {
namespace {

using GetClassObjectFunction = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, LPVOID*);
using CanUnloadFunction = HRESULT(STDAPICALLTYPE*)();

template <class Type>
Type FunctionOf(HMODULE module, const char* name) {
    return reinterpret_cast<Type>(reinterpret_cast<void*>(::GetProcAddress(module, name)));
}

/// The empty array that the host passes as the add-in's custom data.
class CustomData {
public:
    CustomData() : array_(::SafeArrayCreateVector(VT_VARIANT, 1, 0)) {}
    ~CustomData() { ::SafeArrayDestroy(array_); }
    CustomData(const CustomData&) = delete;
    CustomData& operator=(const CustomData&) = delete;
    SAFEARRAY** Get() { return &array_; }

private:
    SAFEARRAY* array_;
};

/// The add-in's connection interface, or null.
class Connection {
public:
    explicit Connection(IUnknown* object) {
        void* found = nullptr;
        status = object ? object->QueryInterface(kIidDtExtensibility2, &found) : E_POINTER;
        interface_ = SUCCEEDED(status) ? static_cast<IAddInConnection*>(found) : nullptr;
    }
    ~Connection() {
        if (interface_) {
            interface_->Release();
        }
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    IAddInConnection* operator->() const { return interface_; }

    HRESULT status = E_FAIL;

private:
    IAddInConnection* interface_ = nullptr;
};

} // namespace

AddInHost::AddInHost(OutlookHost& host) : host_(host) {}

AddInHost::~AddInHost() {
    Exit();
}

void AddInHost::Note(const std::wstring& text) const {
    host_.Core()->Tell(StepKind::AddIn, text);
}

HRESULT AddInHost::LoadFile(const std::wstring& path, REFCLSID clsid) {
    module_ = ::LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (!module_) {
        loadStatus_ = HRESULT_FROM_WIN32(::GetLastError());
        Note(path + L" could not be loaded: " + DescribeHex(static_cast<unsigned long>(loadStatus_)));
        return loadStatus_;
    }
    const auto getClassObject = FunctionOf<GetClassObjectFunction>(module_, "DllGetClassObject");
    void* found = nullptr;
    loadStatus_ =
        getClassObject ? getClassObject(clsid, IID_IClassFactory, &found) : HRESULT_FROM_WIN32(ERROR_PROC_NOT_FOUND);
    if (FAILED(loadStatus_)) {
        return loadStatus_;
    }
    auto* factory = static_cast<IClassFactory*>(found);
    void* object = nullptr;
    loadStatus_ = factory->CreateInstance(nullptr, IID_IUnknown, &object);
    factory->Release();
    if (SUCCEEDED(loadStatus_)) {
        object_.Attach(static_cast<IUnknown*>(object), false);
    }
    Note(path + L" loaded: " + DescribeHex(static_cast<unsigned long>(loadStatus_)));
    return loadStatus_;
}

HRESULT AddInHost::LoadProgId(const std::wstring& progId) {
    CLSID clsid{};
    loadStatus_ = ::CLSIDFromProgID(progId.c_str(), &clsid);
    if (FAILED(loadStatus_)) {
        return loadStatus_;
    }
    void* object = nullptr;
    loadStatus_ = ::CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown, &object);
    if (SUCCEEDED(loadStatus_)) {
        object_.Attach(static_cast<IUnknown*>(object), false);
    }
    Note(L"class " + DescribeIid(clsid) + L": " + DescribeHex(static_cast<unsigned long>(loadStatus_)));
    return loadStatus_;
}

HRESULT AddInHost::Connect(ConnectMode mode) {
    const Habits& habits = host_.habits();
    if (habits.ribbonBeforeConnection && !habits.ribbonByHand) {
        Ribbon(Surface::Explorer);
    }
    const Connection connection(object_);
    HRESULT connectStatus = connection.status;
    if (SUCCEEDED(connectStatus)) {
        CustomData custom;
        const DispatchPtr application = host_.Application();
        const DispatchPtr instance = MakeAddInInstance(host_.Core());
        connectStatus = connection->OnConnection(application, mode, instance, custom.Get());
        connected_ = SUCCEEDED(connectStatus);
        Note(L"OnConnection = " + DescribeHex(static_cast<unsigned long>(connectStatus)));
        if (connected_ && mode == kStartup) {
            connection->OnStartupComplete(custom.Get());
        }
    }
    if (object_ && !habits.ribbonBeforeConnection && !habits.ribbonByHand) {
        Ribbon(Surface::Explorer);
    }
    host_.RefreshWindows();
    return connectStatus;
}

HRESULT AddInHost::Disconnect(DisconnectMode mode) {
    const Connection connection(object_);
    if (FAILED(connection.status)) {
        return connection.status;
    }
    CustomData custom;
    if (mode == kHostShutdown) {
        connection->OnBeginShutdown(custom.Get());
    }
    const HRESULT status = connection->OnDisconnection(mode, custom.Get());
    connected_ = false;
    Note(L"OnDisconnection = " + DescribeHex(static_cast<unsigned long>(status)));
    return status;
}

HRESULT AddInHost::LoadRibbon(Surface surface) {
    std::unique_ptr<workbench::Ribbon>& ribbon = ribbons_[surface];
    if (!ribbon) {
        ribbon = std::make_unique<workbench::Ribbon>(host_, surface, object_);
    }
    return ribbon->Load();
}

Ribbon& AddInHost::Ribbon(Surface surface) {
    if (ribbons_.find(surface) == ribbons_.end()) {
        LoadRibbon(surface);
    }
    return *ribbons_[surface];
}

Ribbon* AddInHost::LoadedRibbon(Surface surface) {
    const auto found = ribbons_.find(surface);
    return found != ribbons_.end() && found->second->Loaded() ? found->second.get() : nullptr;
}

long AddInHost::Exit() {
    if (!object_) {
        return -1;
    }
    if (connected_ && !host_.habits().fastShutdown) {
        Disconnect();
    }
    connected_ = false;
    for (auto& [surface, ribbon] : ribbons_) {
        ribbon->Unload();
    }
    const long left = static_cast<long>(object_.Detach()->Release());
    Note(L"add-in let go, " + std::to_wstring(left) + L" references left");
    return left;
}

HRESULT AddInHost::CanUnload() const {
    const auto canUnload = module_ ? FunctionOf<CanUnloadFunction>(module_, "DllCanUnloadNow") : nullptr;
    return canUnload ? canUnload() : E_NOTIMPL;
}

void AddInHost::UnloadModule() {
    if (module_) {
        ::FreeLibrary(module_);
        module_ = nullptr;
    }
}

} // namespace workbench
