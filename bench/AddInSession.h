#pragma once

#include "workbench/host/OutlookHost.h"

#include <string>

namespace bench {

/// The add-in's module: beside the running program or in a folder above it. @throws when there is none.
std::wstring AddInPath();

/// COM on this thread and a stand-in host with one mailbox and one main window. Ribbons are loaded by hand.
class HostSession {
public:
    HostSession();
    ~HostSession();
    HostSession(const HostSession&) = delete;
    HostSession& operator=(const HostSession&) = delete;

    workbench::OutlookHost& Host() { return *host_; }

private:
    std::unique_ptr<workbench::OutlookHost> host_;
};

/// The same with the add-in loaded and connected.
class AddInSession : public HostSession {
public:
    AddInSession();
    ~AddInSession();

    workbench::AddInHost& AddIn() { return addIn_; }

private:
    workbench::AddInHost& addIn_;
};

} // namespace bench
