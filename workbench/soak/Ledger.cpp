#include "workbench/soak/Soak.h"

#include <cstdio>
#include <utility>

// The account at the end.
namespace soak {
namespace {

// Between two ends of sessions nothing of Outlook or the client is left. A leak grows with every session; these absorb
// what the system and the C library keep for later.
constexpr std::size_t kFewestUsages = 3; // else the middle is the start or the end
constexpr DWORD kHandleSlack = 16;
constexpr DWORD kObjectSlack = 8;
constexpr std::size_t kByteSlack = 16U << 20;
constexpr std::size_t kHeapSlack = 256U << 10;

void TellFlow(const char* what, const MessageFlow& flow) {
    std::printf("  %-44s sent %zu, delivered once %zu, lost %zu, duplicated %zu, overtaken %zu\n", what,
                flow.SentCount(), flow.Delivered(), flow.Lost(), flow.Duplicated(), flow.Overtaken());
    std::printf("  %-44s in flight at a kill, in a hang or on a busy machine: %zu; taken but not written down by a "
                "killed sender: %zu\n",
                "", flow.LostExcused(), flow.Unrecorded());
    for (const std::string& text : flow.Forgiven()) {
        std::printf("    %s\n", text.c_str());
    }
}

void TellCount(const char* what, std::uint64_t count) {
    std::printf("  %-44s %llu\n", what, static_cast<unsigned long long>(count));
}

} // namespace

/// Reports the violations in the messages of this session.
void Soak::CheckMessages() {
    for (MessageFlow* flow : {&commands_, &notifications_}) {
        flow->GiveUp();
        for (const std::string& fault : flow->TakeFaults()) {
            Violation(fault);
        }
    }
    for (const std::string& fault : std::exchange(client_.faults, {})) {
        Violation("the client holds against the add-in: " + fault);
    }
}

void Soak::TakeUsage() {
    usages_.push_back(gauges::MeasureUsage());
}

/// From the middle to the end, so that what is made once and kept does not count. The add-in keeps the parts of
/// messages without an end for good; they grow by doubling.
void Soak::CheckUsage() {
    if (usages_.size() < kFewestUsages) {
        std::printf("resources are not judged: too few runs of Outlook\n");
        return;
    }
    const gauges::Usage& middle = usages_[(usages_.size() - 1) / 2];
    const gauges::Usage& end = usages_.back();
    const auto check = [this](const char* what, std::size_t before, std::size_t after, std::size_t slack) {
        if (after > before + slack) {
            Violation(std::string(what) + " grew from " + std::to_string(before) + " to " + std::to_string(after));
        }
    };
    check("handles", middle.handles, end.handles, kHandleSlack);
    check("windows", middle.windows, end.windows, 0);
    check("GDI objects", middle.gdiObjects.value_or(0), end.gdiObjects.value_or(0), kObjectSlack);
    check("USER objects", middle.userObjects.value_or(0), end.userObjects.value_or(0), kObjectSlack);
    check("private bytes", middle.privateBytes, end.privateBytes, kByteSlack + 2 * client_.tornBytes);
    check("allocated bytes", middle.heapBytes, end.heapBytes, kHeapSlack + 2 * client_.tornBytes);
}

void Soak::TellLedger() {
    std::printf("\nLedger of seed %llu\n", static_cast<unsigned long long>(options_.seed));
    TellCount("actions", actions_);
    TellCount("runs of Outlook", sessions_);
    TellCount("reconnections of the add-in", reconnects_);
    TellCount("explorers opened", explorersOpened_);
    TellCount("inspectors opened", inspectorsOpened_);
    TellCount("  closed (the others went with Outlook)", inspectorsClosed_);
    TellCount("presses", presses_);
    TellCount("dialogs answered", dialogs_);
    TellCount("calls on host objects", hostCalls_);
    TellCount("host objects handed out", hostObjects_);
    TellCount("host references outstanding", outstanding_);
    TellCount("sinks still advised", sinksLeft_);
    TellCount("clients started", client_.starts);
    TellCount("  killed", client_.kills);
    TellCount("  hung", client_.hangs);
    TellFlow("commands to the client", commands_);
    TellCount("commands that found no client", log_.refused);
    TellFlow("notifications to the add-in", notifications_);
    TellCount("  not acknowledged in time", client_.unacknowledged);
    TellCount("  without an end, kept by the add-in", client_.torn);
    TellCount("error lines in the add-in's log", log_.errors);
    TellCount("warning lines in the add-in's log", log_.warnings);
    std::printf("  %-44s %lld ms (%s)\n", "longest action", static_cast<long long>(longestAction_.count()),
                longestName_.c_str());
    std::printf("  at the start:         %s\n", Describe(usageAtStart_).c_str());
    std::printf("  after session 1:      %s\n", Describe(usages_.front()).c_str());
    std::printf("  in the middle:        %s\n", Describe(usages_[(usages_.size() - 1) / 2]).c_str());
    std::printf("  at the end:           %s\n", Describe(usages_.back()).c_str());
    for (const std::string& violation : violations_) {
        std::printf("VIOLATION: %s\n", violation.c_str());
    }
    std::printf("%s\n", violations_.empty() ? "no violation" : "there were violations");
    std::fflush(stdout);
}

} // namespace soak
