#include "workbench/verify/endings/Lines.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>

namespace verify {
namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kMarkedName = "rgszName: #"; // as the add-in logs a member that it is asked for
constexpr std::string_view kInnerStamp = "][P:";
constexpr std::size_t kTornKept = 8;
constexpr std::size_t kTornShown = 160; // bytes of one
constexpr std::uint64_t kLongEvery = 50;
constexpr std::size_t kLongLength = 6000;

std::size_t LengthOf(std::uint64_t number) {
    return number % kLongEvery == kLongEvery - 1 ? kLongLength : 10 + static_cast<std::size_t>(number % 97);
}

bool IsDigit(char one) {
    return one >= '0' && one <= '9';
}

/// Takes what fits `pattern` off the front of `text`. '#': one or more digits; '*': up to the character behind it.
bool TakeOff(std::string_view& text, std::string_view pattern) {
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        std::size_t length = 1;
        if (pattern[i] == '#') {
            length = static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), IsDigit) - text.begin());
        } else if (pattern[i] == '*') {
            length = text.find(pattern[i + 1]);
        } else if (text.empty() || text.front() != pattern[i]) {
            return false;
        }
        if (length == 0 || length > text.size()) { // npos, too
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

bool IsLevel(std::string_view text) {
    return text == "Err" || text == "War" || text == "Inf";
}

bool TakeHeader(std::string_view text) {
    return TakeOff(text, "Logone(v3.0) Begin Time:#-#-# #:#:#.#") && text.empty();
}

/// @return the message of an entry; nothing when there is no whole beginning.
std::optional<std::string_view> MessageOf(std::string_view line) {
    if (!TakeOff(line, "[#-#-# #:#:#.#][P:#/T:#][") || !IsLevel(line.substr(0, 3))) {
        return std::nullopt;
    }
    line.remove_prefix(3);
    return TakeOff(line, "][*:# *]") ? std::make_optional(line) : std::nullopt;
}

std::uint64_t ReadNumber(std::string_view text, std::size_t& at) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data() + at, text.data() + text.size(), value);
    at = static_cast<std::size_t>(end - text.data());
    return error == std::errc() ? value : UINT64_MAX;
}

} // namespace

std::string NumberedText(std::string_view mark, std::uint64_t number) {
    std::string text("#");
    text.append(mark).append("/").append(std::to_string(number)).append("/");
    const std::size_t length = LengthOf(number);
    for (std::size_t i = 0; i < length; ++i) {
        text.push_back(static_cast<char>('a' + (number + i) % 26));
    }
    return text.append("/");
}

std::optional<Numbered> ReadNumbered(std::string_view text) {
    const std::size_t slash = text.find('/');
    if (slash == std::string_view::npos || slash < 2 || text.front() != '#') {
        return std::nullopt;
    }
    Numbered line{std::string(text.substr(1, slash - 1)), 0};
    std::size_t at = slash + 1;
    line.number = ReadNumber(text, at);
    return text == NumberedText(line.mark, line.number) ? std::make_optional(line) : std::nullopt;
}

std::string ReadFrom(const std::filesystem::path& path, std::uint64_t offset) {
    std::ifstream file(path, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(offset));
    return {std::istreambuf_iterator<char>(file), {}};
}

void LineChecker::Take(std::string_view content) {
    while (!content.empty()) {
        const std::size_t end = content.find(kLineEnd);
        if (end == std::string_view::npos) {
            AddTorn(content); // without an end
            return;
        }
        TakeLine(content.substr(0, end));
        content.remove_prefix(end + kLineEnd.size());
    }
}

void LineChecker::TakeLine(std::string_view line) {
    if (TakeHeader(line)) {
        ++headers_;
        return;
    }
    const auto message = MessageOf(line);
    if (!message || message->find(kInnerStamp) != std::string_view::npos || line.find('\0') != std::string_view::npos) {
        AddTorn(line);
        return;
    }
    ++entries_;
    if (!message->starts_with(kMarkedName)) {
        return;
    }
    if (const auto numbered = ReadNumbered(message->substr(kMarkedName.size() - 1))) {
        Count(*numbered);
    } else {
        AddTorn(line);
    }
}

void LineChecker::Count(const Numbered& line) {
    const auto [found, isNew] = writers_.try_emplace(line.mark);
    WriterAccount& account = found->second;
    ++account.whole;
    if (isNew) {
        account.first = account.last = line.number;
    } else if (line.number == account.last) {
        ++account.duplicated;
    } else if (line.number < account.last) {
        ++account.disordered;
    } else {
        account.lostInside += line.number - account.last - 1;
        account.last = line.number;
    }
}

void LineChecker::AddTorn(std::string_view line) {
    ++tornCount_;
    if (torn_.size() < kTornKept) {
        std::string shown(line.substr(0, kTornShown));
        std::replace(shown.begin(), shown.end(), '\0', '?');
        torn_.push_back(line.size() > kTornShown ? shown + "..." : shown);
    }
}

} // namespace verify
