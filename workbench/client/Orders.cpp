#include "workbench/client/Client.h"

#include "workbench/client/Control.h"

#include <algorithm>

namespace meeting_client {
namespace {

constexpr std::uint64_t kLargestMessage = 64 * 1024 * 1024;
constexpr std::uint64_t kLongestWait = 3'600'000; // ms
constexpr int kBulkType = 900;                    // a notification that the add-in passes through and ignores
constexpr char kDone[] = "ok";

// Takes the first word off the arguments.
std::string_view NextWord(std::string_view& arguments) {
    const std::size_t end = std::min(arguments.find(' '), arguments.size());
    const std::string_view word = arguments.substr(0, end);
    arguments.remove_prefix(std::min(end + 1, arguments.size()));
    return word;
}

std::string Filler(std::uint64_t size) {
    return std::string(static_cast<std::size_t>(size), 'x');
}

std::string BulkText(std::uint64_t index, std::size_t size) {
    const std::string head =
        "{\"notify\":" + std::to_string(kBulkType) + ",\"code\":" + std::to_string(index) + ",\"message\":\"";
    const std::string tail = "\"}";
    if (size < head.size() + tail.size()) {
        return Filler(size);
    }
    return head + std::string(size - head.size() - tail.size(), 'x') + tail;
}

} // namespace

const std::map<std::string, Client::Handler, std::less<>>& Client::Handlers() {
    static const std::map<std::string, Handler, std::less<>> handlers = {
        {"notify", &Client::DoNotify}, {"send", &Client::DoSend},     {"bulk", &Client::DoBulk},
        {"change", &Client::DoChange}, {"raw", &Client::DoRaw},       {"torn", &Client::DoTorn},
        {"answer", &Client::DoAnswer}, {"delay", &Client::DoDelay},   {"hang", &Client::DoHang},
        {"die", &Client::DoDie},       {"hide", &Client::DoHide},     {"die-midway", &Client::DoDieMidway},
        {"show", &Client::DoShow},     {"status", &Client::DoStatus}, {"quit", &Client::DoQuit},
        {"settle", &Client::DoSettle},
    };
    return handlers;
}

std::string Client::Execute(const std::string& order) {
    std::string result = CarryOut(order);
    TranscriptEntry entry;
    entry.kind = "order";
    entry.bytes = order;
    entry.result = result;
    transcript_.Write(std::move(entry));
    return result;
}

std::string Client::CarryOut(std::string_view order) {
    const std::string_view verb = NextWord(order);
    const auto found = Handlers().find(verb);
    if (found == Handlers().end()) {
        return "no such order";
    }
    return (this->*found->second)(order);
}

std::string Client::DoNotify(Arguments arguments) {
    return ParseObject(arguments) ? Send(arguments) : "notify needs a JSON object";
}

std::string Client::DoSend(Arguments arguments) {
    return arguments.empty() ? "send needs a text" : Send(arguments);
}

std::string Client::DoBulk(Arguments arguments) {
    const auto count = ParseNumber(NextWord(arguments), 100'000'000);
    const auto size = ParseNumber(NextWord(arguments), kLargestMessage);
    const auto apart = arguments.empty() ? std::optional<std::uint64_t>(0) : ParseNumber(arguments, kLongestWait);
    if (!count || !size || !apart || *count == 0 || *size == 0) {
        return "bulk needs COUNT BYTES [MS]";
    }
    BulkStep(0, *count, static_cast<std::size_t>(*size), std::chrono::milliseconds(*apart));
    return kDone;
}

// One message a step: what comes in meanwhile is handled between two of them.
void Client::BulkStep(std::uint64_t index, std::uint64_t count, std::size_t size, std::chrono::milliseconds apart) {
    if (index == count) {
        transcript_.Note("bulk done");
        return;
    }
    agenda_.After(index == 0 ? std::chrono::milliseconds(0) : apart, [=, this] {
        const std::string result = link_.Send(BulkText(index, size));
        if (result == kDone) {
            BulkStep(index + 1, count, size, apart);
        } else {
            transcript_.Note("bulk stopped after " + std::to_string(index) + ": " + result);
        }
    });
}

std::string Client::DoChange(Arguments arguments) {
    const std::string confId(NextWord(arguments));
    const auto changes = ParseObject(arguments);
    if (!changes) {
        return "change needs CONFID JSON";
    }
    const auto notification = meetings_.Change(confId, *changes);
    ShowPanel(nullptr);
    return notification ? Send(Compact(*notification)) : "no such meeting";
}

std::string Client::DoRaw(Arguments arguments) {
    const auto number = ParseNumber(NextWord(arguments), UINT64_MAX);
    const std::string_view what = NextWord(arguments);
    const bool null = what == "null";
    const auto bytes = null || what == "-" ? std::optional<std::string>(std::string()) : FromHex(what);
    if (!number || !bytes || what.empty()) {
        return "raw needs NUMBER HEX|-|null [CB]";
    }
    std::string buffer = *bytes;
    std::uint64_t size = buffer.size();
    if (!arguments.empty()) {
        const auto given = ParseNumber(arguments, kLargestMessage);
        if (!given) {
            return "CB must be a number up to 67108864";
        }
        size = *given;
        buffer.resize(std::max(buffer.size(), static_cast<std::size_t>(size)), '\xCD');
    }
    return link_.SendRaw(*number, null ? nullptr : buffer.data(), static_cast<std::size_t>(size));
}

std::string Client::DoTorn(Arguments arguments) {
    const auto size = ParseNumber(NextWord(arguments), kLargestMessage);
    const auto segments = ParseNumber(arguments, kLargestMessage);
    if (!size || !segments || *segments == 0 || *segments >= wire::Split(Filler(*size), 1).size()) {
        return "torn needs BYTES COUNT, and COUNT less than the message's segments";
    }
    const std::string result = link_.Send(Filler(*size), static_cast<std::size_t>(*segments));
    return result.starts_with("torn") ? kDone : result;
}

std::string Client::DoAnswer(Arguments arguments) {
    const auto command = ParseNumber(NextWord(arguments), INT32_MAX);
    const std::string_view mode = NextWord(arguments);
    AnswerRule rule{AnswerRule::Mode::Live, std::string(arguments)};
    if (mode == "none") {
        rule.mode = AnswerRule::Mode::None;
    } else if (mode == "text" && !arguments.empty()) {
        rule.mode = AnswerRule::Mode::Text;
    } else if (mode == "merge" && ParseObject(arguments)) {
        rule.mode = AnswerRule::Mode::Merge;
    } else if (mode != "default") {
        return "answer needs CMD default|none, CMD text TEXT or CMD merge JSON";
    }
    if (!command) {
        return "answer needs a command number";
    }
    rules_[static_cast<int>(*command)] = rule;
    return kDone;
}

std::string Client::DoDelay(Arguments arguments) {
    const auto delay = ParseNumber(arguments, kLongestWait);
    if (!delay) {
        return "delay needs milliseconds";
    }
    answerDelay_ = std::chrono::milliseconds(*delay);
    return kDone;
}

std::string Client::DoHang(Arguments arguments) {
    const auto time = ParseNumber(arguments, kLongestWait);
    if (!time) {
        return "hang needs milliseconds";
    }
    transcript_.Note("hangs");
    ::ReplyMessage(kOrderDone); // whoever gave the order goes on; from here on nothing is taken from the queue
    ::Sleep(static_cast<DWORD>(*time));
    transcript_.Note("hangs no more");
    return kDone;
}

std::string Client::DoDie(Arguments) {
    transcript_.Note("dies");
    ::TerminateProcess(::GetCurrentProcess(), kDiedAsOrdered); // as in a crash: no clean-up, no farewell
    return kDone;
}

std::string Client::DoDieMidway(Arguments arguments) {
    const std::string result = DoTorn(arguments);
    return result == kDone ? DoDie({}) : result;
}

std::string Client::DoHide(Arguments) {
    link_.Hide();
    return kDone;
}

std::string Client::DoShow(Arguments) {
    return link_.Show() ? kDone : "the window could not be made";
}

std::string Client::DoStatus(Arguments) {
    transcript_.Note("copydata in " + std::to_string(link_.CopyDataIn()) + ", messages in " +
                     std::to_string(link_.MessagesIn()) + ", messages out " + std::to_string(link_.MessagesOut()) +
                     ", unfinished " + std::to_string(link_.Unfinished()) + ", meetings " +
                     std::to_string(meetings_.All().size()) + (link_.IsShown() ? ", window shown" : ", window hidden"));
    return kDone;
}

std::string Client::DoSettle(Arguments) {
    while (agenda_.RunDue()) {
    }
    return kDone;
}

std::string Client::DoQuit(Arguments) {
    End(kEnded);
    return kDone;
}

} // namespace meeting_client
