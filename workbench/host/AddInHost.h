#pragma once

#include "workbench/host/ComHeaders.h"
#include "workbench/host/OfficeIds.h"
#include "workbench/host/OfficeInterfaces.h"
#include "workbench/host/Ribbon.h"

#include <map>
#include <memory>
#include <string>

namespace workbench {

class OutlookHost;

/// One loaded add-in, from its creation to its end. Host thread.
class AddInHost {
public:
    explicit AddInHost(OutlookHost& host);
    ~AddInHost();
    AddInHost(const AddInHost&) = delete;
    AddInHost& operator=(const AddInHost&) = delete;

    // How the object is made; OutlookHost::LoadAddIn and its relatives call one of these. COM must be initialised.
    HRESULT LoadFile(const std::wstring& path, REFCLSID clsid); // LoadLibrary, DllGetClassObject, CreateInstance
    HRESULT LoadProgId(const std::wstring& progId);             // CoCreateInstance

    /// Status of the load; S_OK when there is an object.
    HRESULT LoadStatus() const { return loadStatus_; }
    IUnknown* Object() const { return object_; }
    HMODULE Module() const { return module_; }

    /// OnConnection by v-table, then OnStartupComplete if it went well; loads the explorer ribbon before or after as
    /// the habits say. @return the status of OnConnection.
    HRESULT Connect(ConnectMode mode = kStartup);
    /// OnBeginShutdown (for a host shutdown) and OnDisconnection. @return the status of OnDisconnection.
    HRESULT Disconnect(DisconnectMode mode = kHostShutdown);
    bool Connected() const { return connected_; }

    /// Loads that ribbon now, in whatever state the connection is; again if it is loaded already.
    HRESULT LoadRibbon(Surface surface);
    /// The ribbon, loaded on first use.
    workbench::Ribbon& Ribbon(Surface surface);
    /// The ribbon if it has been loaded, else null.
    workbench::Ribbon* LoadedRibbon(Surface surface);

    /// Ends the add-in as the host does on exit: Disconnect if connected (unless Habits::fastShutdown), then lets go of
    /// its ribbons and the object. Sinks it left advised stay until OutlookHost::DropSinks or Shutdown.
    /// @return the references left on the object after the host's last Release, -1 when there was no object.
    long Exit();
    /// After Exit: what DllCanUnloadNow says; E_NOTIMPL when the add-in does not come from a file.
    HRESULT CanUnload() const;
    /// After Exit: FreeLibrary, if the add-in was loaded from a file. Not done by itself: threads of it may still live.
    void UnloadModule();

private:
    void Note(const std::wstring& text) const;

    OutlookHost& host_;
    UnknownPtr object_;
    HMODULE module_ = nullptr;
    HRESULT loadStatus_ = E_FAIL;
    bool connected_ = false;
    std::map<Surface, std::unique_ptr<workbench::Ribbon>> ribbons_;
};

} // namespace workbench
