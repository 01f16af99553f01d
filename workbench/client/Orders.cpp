#include "workbench/client/Client.h"

#include "workbench/client/Control.h"

#include <fmt/format.h>

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

std::string BulkText(std::uint64_t index, std::size_t size) {
    std::string text = fmt::format(R"({{"notify":{},"code":{},"message":""}})", kBulkType, index);
    if (size < text.size()) {
        return std::string(size, 'x');
    }
    return text.insert(text.size() - 2, size - text.size(), 'x');
}

} // namespace

const std::map<std::string_view, Client::Handler>& Client::Handlers() {
    static const std::map<std::string_view, Handler> handlers = {
        {"notify", [](Client& client,
                      Arguments json) { return ParseObject(json) ? client.Send(json) : "notify needs a JSON object"; }},
        {"send", [](Client& client, Arguments text) { return text.empty() ? "send needs a text" : client.Send(text); }},
        {"bulk", [](Client& client, Arguments arguments) { return client.Bulk(arguments); }},
        {"change", [](Client& client, Arguments arguments) { return client.Change(arguments); }},
        {"raw", [](Client& client, Arguments arguments) { return client.Raw(arguments); }},
        {"torn", [](Client& client, Arguments arguments) { return client.Torn(arguments); }},
        {"answer", [](Client& client, Arguments arguments) { return client.SetAnswer(arguments); }},
        {"delay",
         [](Client& client, Arguments text) {
             const auto delay = ParseNumber(text, kLongestWait);
             client.answerDelay_ = std::chrono::milliseconds(delay.value_or(0));
             return std::string(delay ? kDone : "delay needs milliseconds");
         }},
        {"hang", [](Client& client, Arguments arguments) { return client.Hang(arguments); }},
        {"die-midway",
         [](Client& client, Arguments arguments) {
             const std::string result = client.Torn(arguments);
             return result == kDone ? client.Die() : result;
         }},
        {"hide",
         [](Client& client, Arguments) {
             client.link_.Hide();
             return std::string(kDone);
         }},
        {"show", [](Client& client,
                    Arguments) { return std::string(client.link_.Show() ? kDone : "the window could not be made"); }},
        {"status", [](Client&, Arguments) { return std::string(kDone); }},
        {"settle",
         [](Client& client, Arguments) {
             while (client.agenda_.RunDue()) {
             }
             return std::string(kDone);
         }},
        {"quit",
         [](Client& client, Arguments) {
             client.End(kEnded);
             return std::string(kDone);
         }},
    };
    return handlers;
}

std::string Client::Execute(const std::string& order) {
    std::string_view arguments = order;
    const auto found = Handlers().find(NextWord(arguments));
    TranscriptEntry entry;
    entry.kind = "order";
    entry.bytes = order;
    entry.result = found == Handlers().end() ? "no such order" : found->second(*this, arguments);
    transcript_.Write(entry);
    return entry.result;
}

std::string Client::Bulk(Arguments arguments) {
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
    agenda_.After(index == 0 ? std::chrono::milliseconds(0) : apart, [=, this] {
        const std::string result = link_.Send(BulkText(index, size));
        if (result != kDone) {
            transcript_.Note("bulk stopped after " + std::to_string(index) + ": " + result);
        } else if (index + 1 < count) {
            BulkStep(index + 1, count, size, apart);
        }
    });
}

std::string Client::Change(Arguments arguments) {
    const std::string confId(NextWord(arguments));
    const auto changes = ParseObject(arguments);
    if (!changes) {
        return "change needs CONFID JSON";
    }
    const auto notification = meetings_.Change(confId, *changes);
    ShowPanel(nullptr);
    return notification ? Send(Compact(*notification)) : "no such meeting";
}

std::string Client::Raw(Arguments arguments) {
    const auto number = ParseNumber(NextWord(arguments), UINT64_MAX);
    const std::string_view what = NextWord(arguments);
    const bool null = what == "null";
    const auto bytes = null || what == "-" ? std::optional<std::string>(std::string()) : FromHex(what);
    if (!number || !bytes || what.empty() || !arguments.empty()) {
        return "raw needs NUMBER HEX|-|null";
    }
    return link_.SendRaw(*number, null ? nullptr : bytes->data(), bytes->size());
}

std::string Client::Torn(Arguments arguments) {
    const std::string message(ParseNumber(NextWord(arguments), kLargestMessage).value_or(0), 'x');
    const std::size_t segments = ParseNumber(arguments, kLargestMessage).value_or(0);
    if (segments == 0 || segments >= wire::Split(message, 1).size()) {
        return "torn needs BYTES COUNT, and COUNT less than the message's segments";
    }
    const std::string result = link_.Send(message, segments);
    return result.starts_with("torn") ? kDone : result;
}

std::string Client::SetAnswer(Arguments arguments) {
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

std::string Client::Hang(Arguments arguments) {
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

std::string Client::Die() {
    transcript_.Note("dies");
    ::TerminateProcess(::GetCurrentProcess(), kDiedAsOrdered); // as in a crash: no clean-up, no farewell
    return kDone;
}

} // namespace meeting_client
