#include "workbench/client/Options.h"

namespace meeting_client {

std::string_view HelpText() {
    return R"(Stand-in for the NEMBRA CLOUD Meeting client: answers the add-in over the window-message channel.

usage: meeting_client [OPTION...] [quorvex://HOST/h5page?page=launch]

It owns the hidden window NbmProxyOutlookClientWnd and sends to NbmProxyOutlookServerWnd. Left alone it behaves like a
live client: command 4 is answered with notification 101 and a new meeting (in the next full hour when the command names
no time), 5 with 103, 6 with 102 (code 404 for a meeting that it does not know); 0 to 3 are shown.

  --transcript FILE   append every message to FILE ("-": standard output), see below
  --script FILE       carry out the orders in FILE, one a line, after the start
  --order TEXT        carry out one order before the channel window appears; may be given often
  --answer-delay MS   wait before each answer (default 0)
  --ignore            answer no command
  --hidden            start without the channel window, as before a log-in
  --login-after MS    launched by URI: the channel window appears after MS (default 1000); "manual": with order "login"
  --top-level         a hidden top-level channel window instead of a message-only one
  --window            show a small window with the meetings and the last commands
  --first-number N    number of its first segmented message (default 1); the add-in keeps parts whose client died, so a
                      client that follows another does well to go on with numbers not used yet
  --max-seconds N     end by itself after N seconds (default 600)
  --parent PID        end when that process ends
  --register-uri      let this user's launch URI start this program with the other options given, then end
  --unregister-uri    take that away, then end
  --help              this text

Orders (--order, script lines, or a WM_COPYDATA with the UTF-8 text to window NbmWorkbenchClientControl, which answers
1 done, 2 refused; the reason of a refusal stands in the transcript):
  notify JSON                 send a notification; the JSON must be an object
  send TEXT                   send any text
  sendsize BYTES              send a text of that many bytes
  bulk COUNT BYTES [MS]       send COUNT notifications of type 900 and BYTES bytes each, MS apart (default 0)
  change CONFID JSON          change a meeting (subject, startTime, endTime, ...) and send notification 200
  raw NUMBER HEX|-|null [CB]  one WM_COPYDATA: dwData NUMBER, these bytes and no NUL; cbData CB (filled up with CD)
  torn BYTES COUNT            the first COUNT segments of a message of BYTES bytes, never the rest
  answer CMD default|none     answer that command as a live client, or not at all
  answer CMD text TEXT        answer it with this text
  answer CMD merge JSON       answer it as a live client, with these members replaced (null: left out)
  delay MS                    wait before each answer
  ignore on|off               answer no command, or again
  on message|copydata N ORDER carry ORDER out when the Nth message or WM_COPYDATA since the start comes in; "die" and
                              "hang" happen while its sender still waits
  hang MS                     take no message from the queue for MS
  die                         end at once, as in a crash
  die-midway BYTES COUNT      "torn", then "die"
  hide, show, login           channel window away, and there again
  status                      write the counters to the transcript
  quit                        end in an orderly way
only in a script; # begins a comment:
  wait MS                     do nothing for MS
  wait-message N [MS]         until N messages have come in since the start; fails after MS (default 10000)
  wait-peer [MS]              until the add-in's window is there

Transcript: one JSON object a line, UTF-8, written through at once:
  time    UTC with milliseconds          us      microseconds since the start
  kind    copydata (one WM_COPYDATA), message (whole, joined), order, fault (what the add-in did against the wire
          format), note (what the client did otherwise)
  dir     in or out                      dwData, cbData  as they travelled; "bytes" for a message
  text    the text without its NUL, or "hex" when it is not UTF-8; "null": true when there were no bytes
  terminated  false when the NUL was missing
  result  ok, or what went wrong

Exit codes: 0 ended in an orderly way, 1 wrong command line, 2 could not start, 3 another client has the channel window,
4 script failed, 5 time ran out, 9 died as ordered.
)";
}

} // namespace meeting_client
