#include "workbench/verify/endings/Lines.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>

namespace verify {

std::string NumberedText(std::string_view mark, std::uint64_t number) {
    std::string filling(number % 50 == 49 ? 6000 : 10 + static_cast<std::size_t>(number % 97), 'a');
    for (std::size_t i = 0; i < filling.size(); ++i) {
        filling[i] = static_cast<char>('a' + (number + i) % 26);
    }
    return fmt::format("#{}/{}/{}/", mark, number, filling);
}

std::string ReadFrom(const std::filesystem::path& path, std::uint64_t offset) {
    std::ifstream file(path, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(offset));
    return {std::istreambuf_iterator<char>(file), {}};
}

void LogAccount::Take(std::string_view content) {
    constexpr std::string_view kLineEnd = "\r\n";
    while (!content.empty()) {
        const std::size_t end = content.find(kLineEnd);
        const std::string_view line = content.substr(0, end);
        if (end == std::string_view::npos || !TakeLine(line)) {
            constexpr std::size_t kShown = 160;
            std::string& shown = torn.emplace_back(line.substr(0, kShown));
            std::replace(shown.begin(), shown.end(), '\0', '?');
        }
        content.remove_prefix(std::min(content.size(), line.size() + kLineEnd.size()));
    }
}

/// @return false when it is torn.
bool LogAccount::TakeLine(std::string_view line) {
    static const std::regex newLog(R"(Logone\(v3\.0\) Begin Time:\d+-\d+-\d+ \d+:\d+:\d+\.\d+)");
    static const std::regex head(
        R"(\[\d+-\d+-\d+ \d+:\d+:\d+\.\d+\]\[P:\d+/T:\d+\]\[(Err|War|Inf)\]\[[^:]+:\d+ [^\]]+\])");
    static const std::regex numbered(R"(rgszName: #(\w+)/(\d{1,18})/)"); // as the add-in logs a name
    const char* const end = line.data() + line.size();
    std::cmatch found;
    if (!std::regex_search(line.data(), end, found, head, std::regex_constants::match_continuous)) {
        return std::regex_match(line.data(), end, newLog);
    }
    const std::string_view text = line.substr(static_cast<std::size_t>(found.length()));
    if (text.find("][P:") != std::string_view::npos || line.find('\0') != std::string_view::npos) {
        return false;
    }
    ++entries;
    if (!text.starts_with("rgszName: #")) {
        return true;
    }
    if (!std::regex_search(text.data(), end, found, numbered, std::regex_constants::match_continuous)) {
        return false;
    }
    const std::string mark = found[1];
    const std::uint64_t number = std::stoull(found[2]);
    if (text != "rgszName: " + NumberedText(mark, number)) {
        return false;
    }
    Count(mark, number);
    return true;
}

void LogAccount::Count(const std::string& mark, std::uint64_t number) {
    const auto [found, isNew] = writers.try_emplace(mark);
    WriterAccount& account = found->second;
    ++account.whole;
    if (isNew) {
        account.first = account.last = number;
    } else if (number <= account.last) {
        ++account.disordered;
    } else {
        account.lostInside += number - account.last - 1;
        account.last = number;
    }
}

} // namespace verify
