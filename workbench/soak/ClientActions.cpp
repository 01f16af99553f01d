#include "workbench/soak/Soak.h"

#include "workbench/client/Meetings.h"
#include "workbench/client/TranscriptEntry.h"

#include "support/Text.h"

#include <json/value.h>

#include <iterator>

// The client's own notifications, and the starts and ends of its process.
namespace soak {
namespace {

constexpr unsigned kShortHang = 1500; // ms; the channel waits for 3000
constexpr unsigned kLongHang = 4500;
// Bytes of a notification's text: whole messages, and ones of two and more segments; the longest still fit a log line.
constexpr std::size_t kContents[] = {10, 400, 700, 780, 1000, 1700, 1800, 3000, 12'000};
constexpr std::int64_t kMeetingStart = 1'772'618'400; // 2026-03-04 10:00 UTC

} // namespace

void Soak::Notify(const Draw& draw) {
    constexpr int kTypes[] = {101, 102, 103, 200, 200};
    const std::string id = ToUtf8(NextId());
    const std::vector<workbench::ItemPtr> items = host_->Appointments();
    Json::Value json(Json::objectValue);
    json["notify"] = kTypes[draw.a % std::size(kTypes)];
    json["confId"] = id;
    json["confOutlookId"] = items.empty() ? std::string() : ToUtf8(items[draw.b % items.size()]->EntryId());
    json["subject"] = "Notification " + id;
    json["url"] = "https://meeting.nembra.example/j/" + id;
    json["contents"] = "Contents\r\nof " + id + std::string(kContents[draw.c / 4 % std::size(kContents)], 'c');
    json["startTime"] = Json::Int64(kMeetingStart);
    json["endTime"] = Json::Int64(kMeetingStart + 3600);
    json["code"] = draw.c % 3 == 0 ? 404 : 0;
    json["message"] = "m" + id;
    client_.Order("notify " + meeting_client::Compact(json));
}

void Soak::NotifyUnknown(const Draw& draw) {
    constexpr int kTypes[] = {0, -1, 104, 199, 201, 2147483647};
    client_.Order("notify {\"notify\":" + std::to_string(kTypes[draw.a % std::size(kTypes)]) + ",\"message\":\"u" +
                  ToUtf8(NextId()) + "\"}");
}

void Soak::SendMalformed(const Draw& draw) {
    static const char* const kTexts[] = {"{\"notify\":101,",
                                         "[101] ",
                                         "{\"notify\":\"101\"} ",
                                         "no JSON at all ",
                                         "{\"notify\":1e99} ",
                                         "{\"notify\":101}}} ",
                                         "{\"notify\":{}} ",
                                         "null ",
                                         "%s%n%d ",
                                         "{\"confId\":7} "};
    client_.Order("send " + (kTexts[draw.a % std::size(kTexts)] + ToUtf8(NextId())));
}

/// Data that are no message at all: nothing may come of them.
void Soak::SendRaw(const Draw& draw) {
    static const char* const kOrders[] = {"raw 0 null",        "raw 0 -",         "raw 4000000001 null",
                                          "raw 4000000002 00", "raw 4000000003 ", "raw 4000000004 -"};
    std::string order = kOrders[draw.a % std::size(kOrders)];
    if (order.ends_with(' ')) {
        order += meeting_client::ToHex("no segment of a message"); // without the beginning that each segment has
    }
    client_.Order(order);
}

void Soak::SendBulk(const Draw& draw) {
    client_.Order("bulk " + std::to_string(5 + draw.a % 25) + " " + std::to_string(40 + draw.b % 900));
}

/// A message whose end never comes: the add-in keeps the parts.
void Soak::TearMessage(const Draw& draw) {
    client_.Order("torn 3000 " + std::to_string(1 + draw.a % 2));
}

/// From now on commands are answered otherwise, or not at all.
void Soak::ChangeAnswers(const Draw& draw) {
    static const char* const kRules[] = {"default", "none", R"(merge {"code":500})", "text no JSON", "default"};
    client_.Order("answer " + std::to_string(4 + draw.a % 3) + " " + kRules[draw.b % std::size(kRules)]);
}

void Soak::StartClientAgain(const Draw&) {
    if (!client_.Alive()) {
        StartClient();
    }
}

void Soak::QuitClient(const Draw&) {
    if (client_.Alive()) {
        EndClient(false);
    }
}

void Soak::KillClient(const Draw& draw) {
    if (!client_.Alive()) {
        return;
    }
    if (draw.a % 2 == 0) { // with a command underway
        Press(workbench::Surface::Explorer, L"StartVideoMeetingCalendar", {});
        Pump(static_cast<unsigned>(draw.b % 30));
    }
    if (client_.Alive()) {
        EndClient(true);
    }
}

/// The messages that follow must still arrive.
void Soak::KillClientMidway(const Draw& draw) {
    if (client_.TakesOrders()) {
        client_.Order("die-midway 3000 " + std::to_string(1 + draw.a % 2));
        EndClient(true);
    }
}

void Soak::HangClient(const Draw& draw) {
    if (!client_.TakesOrders()) {
        return;
    }
    ReadAll();
    client_.Hang(draw.a % 2 == 0 ? kLongHang : kShortHang);
}

void Soak::HideClient(const Draw&) {
    if (client_.TakesCommands()) {
        client_.Hide();
        ReadAll();
        commands_.ExcuseFirst();
    }
}

void Soak::ShowClient(const Draw&) {
    if (client_.TakesOrders()) {
        client_.Show();
    }
}

void Soak::DelayAnswers(const Draw& draw) {
    client_.Order("delay " + std::to_string(draw.a % 3 * 150));
}

} // namespace soak
