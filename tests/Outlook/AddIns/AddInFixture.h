#pragma once

#include "tests/Outlook/AddIns/AddinLogReader.h"
#include "tests/fakes/AddInModule.h"
#include "tests/fakes/StatusMatcher.h"
#include "workbench/client/ClientProcess.h"
#include "workbench/host/DialogResponder.h"
#include "workbench/host/OutlookHost.h"
#include "workbench/host/Pump.h"

#include <gmock/gmock.h>
#include <json/value.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The real module, loaded by the stand-in host in this process; the meeting client is a process of its own.
class AddInFixture : public testing::Test {
protected:
    static constexpr unsigned kDeadline = 15'000; // milliseconds; only a failure waits this long

    AddInFixture();
    ~AddInFixture() override;

    void TearDown() override;
    /// Ends the add-in and the host: nothing of the host may be held by then, no sink advised, no add-in left.
    void EndHost();

    /// Starts a host with one mailbox and the add-in loaded, not connected. An earlier host ends first.
    workbench::AddInHost& Load(workbench::HostOptions options = {});
    /// The same with an explorer open and the add-in connected.
    workbench::AddInHost& Connect(workbench::HostOptions options = {});
    /// By default a client that answers nothing by itself.
    void StartClient(std::vector<std::wstring> arguments = {L"--ignore"});
    void StopClient() { client_.reset(); }

    // --- The host's side ---
    workbench::Ribbon& ExplorerRibbon() { return AddIn().Ribbon(workbench::Surface::Explorer); }
    workbench::Ribbon& AppointmentRibbon() { return AddIn().Ribbon(workbench::Surface::Appointment); }
    /// An appointment with a subject and known times, open in an inspector; saved, and so with an entry id, on demand.
    workbench::ItemPtr OpenAppointment(bool saved, const std::wstring& comment = {});

    // --- The client's side ---
    /// Pumps until the client has got that many whole messages; the last one.
    std::string WaitForCommand(size_t count = 1);
    /// The next command that the client gets; null when none came.
    Json::Value NextCommand();
    /// Sends a command of its own and looks at the messages before it. @return true when there are none.
    bool NothingWasSent();
    /// Has the client send a notification and pumps until the add-in has handled it.
    void Notify(const std::string& json);

    std::vector<std::string> LogLines() const { return log_.Lines(); }
    AddinLogReader& Log() { return log_; }

    workbench::OutlookHost& Host() { return *host_; }
    workbench::AddInHost& AddIn() { return *addIn_; }
    meeting_client::ClientProcess& Client() { return *client_; }

private:
    AddinLogReader log_;
    std::unique_ptr<workbench::OutlookHost> host_;
    workbench::AddInHost* addIn_ = nullptr;
    std::optional<meeting_client::ClientProcess> client_;
    size_t commandsTaken_ = 0;
    int fence_ = 10'000; // notification types that mean nothing to the add-in
};

/// Subject and times of AddInFixture::OpenAppointment; the seconds are the times' as Unix time.
inline constexpr const wchar_t* kPlannedSubject = L"Planning \x4f1a\x8bae";
inline constexpr const char* kPlannedSubjectUtf8 = "Planning \xe4\xbc\x9a\xe8\xae\xae";
inline constexpr DATE kPlannedStart = 45356.375;
inline constexpr int64_t kPlannedStartSeconds = 1709629200;
inline constexpr int64_t kPlannedEndSeconds = 1709631000; // half an hour later

std::string ToNarrow(const std::wstring& text);
/// A window's centre on the screen, as the meeting client is told it.
POINT CentreOf(HWND window);
/// The JSON of a text, null when it is none.
Json::Value ParseJson(const std::string& text);
