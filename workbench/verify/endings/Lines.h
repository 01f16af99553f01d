#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/// The form of the add-in's log file, and lines that show whether they are damaged.
namespace verify {

/// A line of known content: a writer's mark, a number, and a filling of a length that depends on the number. One in
/// fifty is longer than a stream's usual buffer.
std::string NumberedText(std::string_view mark, std::uint64_t number);

/// The file from that offset to its end. Another process may write it meanwhile.
std::string ReadFrom(const std::filesystem::path& file, std::uint64_t offset);

/// The lines of one writer, in the order in which they were found.
struct WriterAccount {
    std::uint64_t whole = 0;
    std::uint64_t disordered = 0; // twice, or behind a line with a higher number
    std::uint64_t lostInside = 0; // missing between the first and the last line found
    std::uint64_t first = 0;
    std::uint64_t last = 0;
};

/// The account of a log's lines.
struct LogAccount {
    /// Goes through it piece by piece, from the oldest to the newest.
    /// @param content from the start of a line up to the end of the file.
    void Take(std::string_view content);

    std::uint64_t entries = 0;
    std::vector<std::string> torn;                // their beginnings: lines that are not as a process wrote them
    std::map<std::string, WriterAccount> writers; // of numbered lines, by mark

private:
    bool TakeLine(std::string_view line);
    void Count(const std::string& mark, std::uint64_t number);
};

} // namespace verify
