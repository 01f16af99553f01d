#include "workbench/client/Options.h"

#include "workbench/client/Faults.h"

#include <charconv>
#include <limits>
#include <regex>

namespace meeting_client {
namespace {

constexpr char kAbout[] =
    R"(Stand-in for the NEMBRA CLOUD Meeting client: answers the add-in over the window-message channel.

It owns the hidden window NbmProxyOutlookClientWnd and sends to NbmProxyOutlookServerWnd. Left alone it behaves like a
live client: command 4 is answered with notification 101 and a new meeting (in the next full hour when the command names
no time), 5 with 103, 6 with 102 (code 404 for a meeting that it does not know); 0 to 3 are shown.)";

constexpr char kOrders[] =
    R"(Orders (--order, or a WM_COPYDATA with the UTF-8 text to window NbmWorkbenchClientControl, which answers
1 done, 2 refused; the reason of a refusal stands in the transcript):
  notify JSON                 send a notification; the JSON must be an object
  send TEXT                   send any text
  bulk COUNT BYTES [MS]       send COUNT notifications of type 900 and BYTES bytes each, MS apart (default 0)
  change CONFID JSON          change a meeting (subject, startTime, endTime) and send notification 200
  raw NUMBER HEX|-|null       one WM_COPYDATA: dwData NUMBER, these bytes and no NUL
  torn BYTES COUNT            the first COUNT segments of a message of BYTES bytes, never the rest
  answer CMD default|none     answer that command as a live client, or not at all
  answer CMD text TEXT        answer it with this text
  answer CMD merge JSON       answer it as a live client, with these members replaced (null: left out)
  delay MS                    wait before each answer
  hang MS                     take no message from the queue for MS
  die-midway BYTES COUNT      "torn", then end at once, as in a crash
  hide, show                  channel window away, and there again
  status                      do nothing; the answer tells that all earlier orders are done
  settle                      send the answers that are due before this order is done
  quit                        end in an orderly way

Transcript: one JSON object a line, UTF-8, written through at once:
  time    UTC with milliseconds
  kind    copydata (one WM_COPYDATA), message (whole, joined), order, fault (what the add-in did against the wire
          format), note (what the client did otherwise)
  dir     in or out                      dwData, cbData  as they travelled; "bytes" for a message
  text    the text without its NUL, or "hex" when it is not UTF-8; "null": true when there were no bytes
  terminated  false when the NUL was missing
  result  ok, or what went wrong

Exit codes: 0 ended in an orderly way, 1 wrong command line, 2 could not start, 3 another client has the channel window,
5 time ran out, 9 died as ordered.)";

std::string CheckLaunchUri(const std::string& uri) {
    static const std::regex launch(R"(quorvex://[^/?# ]+/h5page\?page=launch)");
    return std::regex_match(uri, launch) ? "" : "not a launch URI: " + uri;
}

std::vector<std::string> FaultNames() {
    std::vector<std::string> names;
    for (const Fault& fault : kFaults) {
        names.emplace_back(fault.name);
    }
    return names;
}

} // namespace

std::optional<std::uint64_t> ParseNumber(std::string_view text, std::uint64_t most) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() || number > most) {
        return std::nullopt;
    }
    return number;
}

void Describe(CLI::App& app, Options& options) {
    constexpr auto kMost = std::numeric_limits<std::uint32_t>::max();
    app.description(kAbout);
    app.footer(kOrders);
    app.add_option("uri", options.launchUri, "quorvex://HOST/h5page?page=launch: the launch that starts it")
        ->check(&CheckLaunchUri);
    app.add_option("--transcript", options.transcript, "append every message to this file, see below");
    app.add_option("--order", options.orders,
                   "carry out one order before the channel window appears; may be given often")
        ->allow_extra_args(false);
    app.add_flag("--ignore", options.ignoreCommands, "answer no command");
    app.add_flag("--hidden", options.hidden, "start without the channel window, as before a log-in");
    app.add_option("--login-after", options.loginAfter,
                   "launched by URI: the channel window appears after that many ms (default 1000)")
        ->check(CLI::Range(0U, 3'600'000U));
    app.add_flag("--window", options.panel,
                 "show a window with the messages and the meetings; answers wait for its button \"Answer\"");
    app.add_option("--first-number", options.firstNumber,
                   "number of its first segmented message; the add-in keeps parts whose client died, so a client that "
                   "follows another does well to go on with numbers not used yet")
        ->check(CLI::Range(1U, kMost));
    app.add_option("--max-seconds", options.longest, "end by itself after that time (default 600)")
        ->check(CLI::Range(1U, 86'400U));
    app.add_option("--parent", options.parent, "end when the process of this id ends");
    app.add_option_function<std::string>("--fault", &SetFault, "make a mistake, to try the checker of clients")
        ->check(CLI::IsMember(FaultNames()));
    app.add_flag("--register-uri", options.registerUri,
                 "let this user's launch URI start this program with the other options given, then end");
    app.add_flag("--unregister-uri", options.unregisterUri, "take that away, then end");
}

} // namespace meeting_client
