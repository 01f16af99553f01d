#include "workbench/client/Script.h"

#include "workbench/client/Client.h"
#include "workbench/client/Utf.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace meeting_client {
namespace {

constexpr std::int64_t kPollEvery = 10; // ms

} // namespace

Script::Script(Client& client, const std::string& path) : client_(client) {
    if (path.empty()) {
        return;
    }
    std::ifstream file{std::filesystem::path(Widen(path))};
    if (!file) {
        throw std::runtime_error("cannot read the script \"" + path + "\"");
    }
    for (std::string line; std::getline(file, line);) {
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        lines_.push_back(line);
    }
}

void Script::Start() {
    client_.Later().After(std::chrono::milliseconds(0), [this] { Step(); });
}

// One line a step. A wait goes on with `Step` when it is over.
void Script::Step() {
    while (next_ < lines_.size() && (lines_[next_].empty() || lines_[next_].starts_with('#'))) {
        ++next_;
    }
    if (next_ == lines_.size()) {
        return;
    }
    const std::string line = lines_[next_++];
    if (line.starts_with("wait")) {
        if (!StepWait(line)) {
            Fail(line, "not understood");
        }
        return;
    }
    const std::string result = client_.Execute(line);
    if (result != "ok") {
        Fail(line, result);
        return;
    }
    Start();
}

bool Script::StepWait(std::string_view line) {
    std::istringstream words{std::string(line)};
    std::string verb, first, second, more;
    words >> verb >> first >> second >> more;
    if (verb == "wait" && second.empty()) {
        const auto time = ParseNumber(first, 3'600'000);
        if (time) {
            client_.Later().After(std::chrono::milliseconds(*time), [this] { Step(); });
        }
        return time.has_value();
    }
    const bool peer = verb == "wait-peer";
    const auto count = peer ? std::optional<std::uint64_t>(0) : ParseNumber(first, UINT64_MAX);
    const std::string& limitText = peer ? first : second;
    const auto limit = limitText.empty() ? std::optional<std::uint64_t>(10'000) : ParseNumber(limitText, 3'600'000);
    if ((!peer && verb != "wait-message") || !count || !limit || !more.empty()) {
        return false;
    }
    Poll(std::string(line), *count, static_cast<std::int64_t>(*limit));
    return true;
}

void Script::Poll(const std::string& line, std::uint64_t count, std::int64_t left) {
    const bool peer = line.starts_with("wait-peer");
    if (peer ? Link::FindAddin() != nullptr : client_.Channel().MessagesIn() >= count) {
        Start();
    } else if (left <= 0) {
        Fail(line, "waited in vain");
    } else {
        client_.Later().After(std::chrono::milliseconds(kPollEvery),
                              [=, this] { Poll(line, count, left - kPollEvery); });
    }
}

void Script::Fail(const std::string& line, const std::string& reason) {
    std::fprintf(stderr, "meeting_client: script line \"%s\": %s\n", line.c_str(), reason.c_str());
    client_.End(kScriptFailed);
}

} // namespace meeting_client
