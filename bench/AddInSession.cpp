#include "bench/AddInSession.h"

#include "bench/Measure.h"
#include "resources/Connect.h"
#include "workbench/process/OwnProgram.h"

#include <filesystem>

namespace bench {

std::wstring AddInPath() {
    std::filesystem::path folder = std::filesystem::path(process::ProgramPath()).parent_path();
    for (; folder.has_relative_path(); folder = folder.parent_path()) {
        if (std::filesystem::exists(folder / L"OutlookAddIn.dll")) {
            return (folder / L"OutlookAddIn.dll").wstring();
        }
    }
    throw std::runtime_error("OutlookAddIn.dll is not built");
}

HostSession::HostSession() {
    ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    workbench::HostOptions options;
    options.habits.ribbonByHand = true;
    host_ = std::make_unique<workbench::OutlookHost>(options);
    host_->AddStore(L"Mailbox");
    host_->OpenExplorer(L"Calendar");
}

HostSession::~HostSession() {
    host_.reset();
    ::CoUninitialize();
}

AddInSession::AddInSession() : addIn_(Host().LoadAddIn(AddInPath(), CLSID_NembraMeeting)) {
    Require(addIn_.LoadStatus() == S_OK, "the add-in cannot be loaded");
    Require(addIn_.Connect() == S_OK, "the add-in does not connect");
}

AddInSession::~AddInSession() {
    addIn_.Exit();
}

} // namespace bench
