#include "workbench/faults/Scenes.h"
#include "workbench/faults/Session.h"

#include "support/Text.h"

#include <algorithm>

namespace faults {
namespace {

bool HasSubject(Session& session, const std::string& subject) {
    const auto items = session.Host().Appointments();
    return std::any_of(items.begin(), items.end(),
                       [&](const workbench::ItemPtr& item) { return ToUtf8(item->Subject()) == subject; });
}

std::string Scheduled(const std::string& subject, const std::string& contents) {
    return R"({"notify":101,"confId":"c-2","url":"https://meet.example.org/j/2","startTime":1709629200,)"
           R"("endTime":1709631000,"subject":")" +
           subject + R"(","contents":")" + contents + "\"}";
}

bool NotifyScheduled(Session& session, const std::string& contents) {
    const std::string subject = Session::Unique();
    return session.Notify(Scheduled(subject, contents)) && HasSubject(session, subject);
}

/// Schedule was pressed in an appointment, and its answer is due.
void Scheduling(Session& session) {
    session.CloseInspectors();
    session.Open(false);
    session.Appointment().Press(L"BookMeetingAppointment");
}

void NoWindows(Session& session) {
    session.CloseInspectors();
}

constexpr const char* kWhole = R"({"notify":101,"subject":"cut","confId":"c-3","contents":"body \u4f1a",)"
                               R"("startTime":1709629200,"endTime":1709631000})";

const NamedPlan kPlans[] = {
    {"notify-101-new", {.prepare = &NoWindows, .step = [](Session& session) { return NotifyScheduled(session, "b"); }}},
    {"notify-101-scheduling",
     {.prepare = &Scheduling, .step = [](Session& session) { return NotifyScheduled(session, "b"); }}},
    {"notify-101-segments",
     {.prepare =
          [](Session& session) {
              MeetingClient::EndSegments();
              session.CloseInspectors();
          },
      .step = [](Session& session) { return NotifyScheduled(session, std::string(1000, 'x')); }}},
    {"notify-102",
     {.prepare = &Scheduling,
      .step =
          [](Session& session) {
              return session.Notify(R"({"notify":102,"code":7,"message":"m"})") &&
                     session.DialogsSeen() > session.dialogsBefore;
          }}},
    {"notify-103",
     {.prepare = &NoWindows,
      .step = [](Session& session) { return session.Notify(R"({"notify":103,"code":7,"message":"m"})"); }}},
    {"notify-200",
     {.prepare =
          [](Session& session) {
              session.CloseInspectors();
              session.item = session.Open(true, kMarked);
          },
      .step =
          [](Session& session) {
              const std::string subject = Session::Unique();
              return session.Notify(R"({"notify":200,"subject":")" + subject + R"(","confOutlookId":")" +
                                    ToUtf8(session.item->EntryId()) + "\"}") &&
                     ToUtf8(session.item->Subject()) == subject && session.DialogsSeen() > session.dialogsBefore;
          }}},
    {"notify-other",
     {.prepare = &NoWindows, .step = [](Session& session) { return session.Notify(R"({"notify":777})"); }}},
    {"json-notification",
     {.prepare = &NoWindows, .step = [](Session& session) { return session.Notify(session.text); }, .cutText = kWhole}},
    {"json-marker",
     {.prepare =
          [](Session& session) {
              session.CloseInspectors();
              session.item = session.Open(true, ToWide(session.text).c_str());
          },
      .step =
          [](Session& session) {
              // The marker is set after the preparation; the item is still the same.
              session.item->fields.comment = ToWide(session.text);
              const auto visible = session.Appointment().AskVisible(L"CancelMeeetingAppointment");
              session.Appointment().AskEnabled(L"CancelMeeetingAppointment");
              return SUCCEEDED(visible.status) && session.item->Save();
          },
      .cutText = R"({"nbm_flag":true,"is_new_item":false,"conf_id":"c-\u4f1a"})"}},
};

} // namespace

std::vector<Scene> NotificationScenes() {
    std::vector<Scene> scenes;
    AddScenes(scenes, kPlans);
    return scenes;
}

} // namespace faults
