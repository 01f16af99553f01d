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

// The words of every suite in the stand-in host.
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;
using workbench::AddInHost;
using workbench::DialogResponder;
using workbench::DialogSeen;
using workbench::DispatchPtr;
using workbench::ExplorerPtr;
using workbench::FailKind;
using workbench::FindDialogs;
using workbench::Habits;
using workbench::HostOptions;
using workbench::InspectorPtr;
using workbench::ItemPtr;
using workbench::kCloseDiscard;
using workbench::kClosePrompt;
using workbench::kCloseSave;
using workbench::PumpFor;
using workbench::PumpUntil;
using workbench::RibbonContext;
using workbench::Surface;
using workbench::UnknownPtr;

/// A status that nothing gives unless a test makes a call fail with it.
inline constexpr HRESULT kForced = static_cast<HRESULT>(0x80040155);

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
    AddInHost& Load(HostOptions options = {});
    /// The same with an explorer open and the add-in connected.
    AddInHost& Connect(HostOptions options = {});
    /// The same with a client that answers nothing by itself.
    void ConnectWithClient(HostOptions options = {});
    void StartClient();
    void StopClient() { client_.reset(); }

    // --- The host's side ---
    workbench::Ribbon& ExplorerRibbon() { return AddIn().Ribbon(Surface::Explorer); }
    workbench::Ribbon& AppointmentRibbon() { return AddIn().Ribbon(Surface::Appointment); }
    /// An appointment with a subject and known times, open in an inspector; saved, and so with an entry id, on demand.
    ItemPtr OpenAppointment(bool saved, const std::wstring& comment = {});

    /// Pumps until the user has answered each dialog that was foreseen. @return false when one did not come.
    static bool Answered(const DialogResponder& user) {
        return PumpUntil([&] { return user.Done(); }, kDeadline);
    }

    /// One of the add-in's own dialogs, in front of that window. DialogTest has the texts, which tell the languages
    /// apart.
    void ExpectDialog(const DialogSeen& dialog, HWND owner);

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
    AddInHost& AddIn() { return *addIn_; }
    meeting_client::ClientProcess& Client() { return *client_; }

private:
    AddinLogReader log_;
    std::unique_ptr<workbench::OutlookHost> host_;
    AddInHost* addIn_ = nullptr;
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
