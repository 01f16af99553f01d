#include "bench/AddInSession.h"
#include "bench/Parts.h"
#include "bench/Receiver.h"
#include "workbench/host/Pump.h"
#include "workbench/wire/Window.h"

#include <cstdio>

namespace bench {
namespace {

using Members = std::vector<std::wstring>;

constexpr unsigned kDeadline = 5'000; // milliseconds
constexpr char kScheduled[] = R"({"notify":101,"confId":"c-1","subject":"Review","url":"https://m/1",)"
                              R"("contents":"Join","startTime":1709629200,"endTime":1709631000})";

// The members that each behaviour needs. The lists are derived from the behaviour, not from the add-in's code.

/// The snapshot of an appointment: what a ribbon's answer depends on and what a command carries.
const Members kSnapshot = {
    L"AppointmentItem.MeetingStatus", L"AppointmentItem.Subject",  L"AppointmentItem.Location",
    L"AppointmentItem.Body",          L"AppointmentItem.StartUTC", L"AppointmentItem.FormDescription",
    L"FormDescription.Comment",       L"AppointmentItem.EndUTC",   L"AppointmentItem.EntryID"};

/// One key of the marker: the comment read, the key set, the comment written.
const Members kMarkerKey = {L"AppointmentItem.FormDescription", L"FormDescription.Comment",
                            L"AppointmentItem.FormDescription", L"FormDescription.put Comment"};

/// A scheduled meeting put into an appointment, and shown.
const Members kFilled = {L"AppointmentItem.put MeetingStatus", L"AppointmentItem.put Subject",
                         L"AppointmentItem.put Location",      L"AppointmentItem.put StartUTC",
                         L"AppointmentItem.put EndUTC",        L"AppointmentItem.put Body"};

Members Chain(std::initializer_list<Members> lists) {
    Members all;
    for (const Members& list : lists) {
        all.insert(all.end(), list.begin(), list.end());
    }
    return all;
}

Members CallsOf(workbench::OutlookHost& host) {
    Members members;
    for (const workbench::CallRecord& call : host.Calls()) {
        members.push_back(call.object + L"." + call.member);
    }
    return members;
}

/// One line of the table: the number of calls, and which they are when they are not those wanted.
class CallRow {
public:
    CallRow(const std::string& name, Members needed)
        : needed_(std::move(needed)), row_{name, "calls", {}, "what it asks for", {}, Aim::EqualToFloor()} {}

    void Add(const Members& made) {
        row_.values.push_back(static_cast<double>(made.size()));
        row_.floorValues.push_back(static_cast<double>(needed_.size()));
        if (made != needed_) {
            std::fprintf(stderr, "%s: the calls are not those wanted\n", row_.name.c_str());
            Print("made", made);
            Print("wanted", needed_);
        }
    }
    void Finish() const { Report(row_); }

private:
    static void Print(const char* title, const Members& members) {
        std::fprintf(stderr, "  %s:", title);
        for (const std::wstring& member : members) {
            std::fprintf(stderr, " %ls", member.c_str());
        }
        std::fprintf(stderr, "\n");
    }

    Members needed_;
    Row row_;
};

void ReportCalls(const std::string& name, const Members& made, const Members& needed) {
    CallRow row(name, needed);
    row.Add(made);
    row.Finish();
}

struct AppointmentKind {
    const char* name;
    long meetingStatus;
    const wchar_t* comment; // the marker, if any
    bool saved;
};

constexpr AppointmentKind kKinds[] = {
    {"new appointment", 0, L"", false},
    {"saved appointment", 0, L"", true},
    {"Outlook's own meeting", 1, L"", true},
    {"comment of somebody else", 0, L"a note", true},
    {"meeting of the add-in", 1, LR"({"conf_id":"c-1","is_new_item":false,"nbm_flag":true})", true},
    {"cancelled meeting of the add-in", 5, LR"({"conf_id":"c-1","is_new_item":false,"nbm_flag":true})", true},
};

void MeasureVisible(AddInSession& session) {
    workbench::OutlookHost& host = session.Host();
    workbench::Ribbon& explorer = session.AddIn().Ribbon(workbench::Surface::Explorer);
    host.ResetCalls();
    explorer.AskVisible(L"BookMeetingMail");
    ReportCalls("GetVisible, main window", CallsOf(host), {L"IRibbonControl.Context"});

    workbench::Ribbon& ribbon = session.AddIn().Ribbon(workbench::Surface::Appointment);
    const Members needed =
        Chain({{L"IRibbonControl.Context", L"Inspector.CurrentItem"}, kSnapshot, {L"IRibbonControl.Id"}});
    for (const AppointmentKind& kind : kKinds) {
        const workbench::ItemPtr item = host.NewAppointment();
        item->fields.comment = kind.comment;
        item->fields.meetingStatus = kind.meetingStatus;
        if (kind.saved) {
            item->Save();
        }
        const workbench::InspectorPtr inspector = host.OpenInspector(item);
        CallRow row(std::string("GetVisible, ") + kind.name, needed);
        for (const wchar_t* button : {L"BookMeetingAppointment", L"CancelMeeetingAppointment"}) {
            host.ResetCalls();
            ribbon.AskVisible(button);
            row.Add(CallsOf(host));
        }
        row.Finish();
        inspector->Close(workbench::kCloseDiscard);
    }
}

/// Sends the notification and waits until the appointment is on show.
Members CallsPerNotification(workbench::OutlookHost& host) {
    host.ResetCalls();
    Require(wire::Send(wire::Find(wire::kAddinWindow), nullptr, kScheduled, 1), "a notification is not taken");
    const auto shown = [&] { return host.CountOf(L"AppointmentItem.Display") > 0; };
    Require(workbench::PumpUntil(shown, kDeadline), "a notification has no effect");
    workbench::PumpFor(100); // the window that has opened tells the add-in
    return CallsOf(host);
}

void MeasureNotifications(AddInSession& session) {
    workbench::OutlookHost& host = session.Host();
    const Members filled = Chain({kFilled, kMarkerKey, kMarkerKey, kMarkerKey, {L"AppointmentItem.Display"}});
    // Each window that opens or closes is looked at: is it an appointment's?
    const Members opened = {L"Inspector.CurrentItem"};
    ReportCalls("notification 101, new appointment", CallsPerNotification(host),
                Chain({{L"Application.CreateItem"}, filled, opened}));

    const Receiver client;
    const workbench::ItemPtr item = host.NewAppointment();
    host.OpenInspector(item);
    workbench::Ribbon& ribbon = session.AddIn().Ribbon(workbench::Surface::Appointment);
    Require(ribbon.Press(L"BookMeetingAppointment") == S_OK, "a press fails");
    Require(workbench::PumpUntil([&] { return client.State().messages > 0; }, kDeadline), "a command does not arrive");
    const Members closed = {L"Inspector.CurrentItem", L"AppointmentItem.Saved", L"AppointmentItem.FormDescription",
                            L"FormDescription.Comment"};
    ReportCalls("notification 101, window that asked", CallsPerNotification(host),
                Chain({{L"Inspector.CurrentItem", L"Inspector.Close"}, closed, filled, opened}));
}

} // namespace

void MeasureCalls(const Effort&) {
    AddInSession session;
    MeasureVisible(session);
    MeasureNotifications(session);
}

} // namespace bench
