#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The form of the add-in's log file, and lines that show whether they are damaged. Needs no Windows.
namespace verify {

/// A line of known content: a writer's mark, a number, and a filling of a length that depends on the number. One in
/// fifty is longer than a stream's usual buffer.
std::string NumberedText(std::string_view mark, std::uint64_t number);

struct Numbered {
    std::string mark;
    std::uint64_t number = 0;
};

/// Reads such a line. @return nothing when any of its bytes was changed.
std::optional<Numbered> ReadNumbered(std::string_view text);

/// The file from that offset to its end. Another process may write it meanwhile.
std::string ReadFrom(const std::filesystem::path& file, std::uint64_t offset);

/// The lines of one writer, in the order in which they were found.
struct WriterAccount {
    std::uint64_t whole = 0;
    std::uint64_t duplicated = 0;
    std::uint64_t disordered = 0; // behind a line with a higher number
    std::uint64_t lostInside = 0; // missing between the first and the last line found
    std::uint64_t first = 0;
    std::uint64_t last = 0;
};

/// Goes through what a log holds, piece by piece from the oldest to the newest.
class LineChecker {
public:
    /// @param content from the start of a line up to the end of the file.
    void Take(std::string_view content);

    std::uint64_t Entries() const { return entries_; }
    std::uint64_t Headers() const { return headers_; }
    std::uint64_t TornCount() const { return tornCount_; }
    /// The first of the lines that are not as a process wrote them.
    const std::vector<std::string>& Torn() const { return torn_; }
    /// The numbered lines by writer.
    const std::map<std::string, WriterAccount>& Writers() const { return writers_; }

private:
    void TakeLine(std::string_view line);
    void Count(const Numbered& line);
    void AddTorn(std::string_view line);

    std::uint64_t entries_ = 0;
    std::uint64_t headers_ = 0;
    std::uint64_t tornCount_ = 0;
    std::vector<std::string> torn_;
    std::map<std::string, WriterAccount> writers_;
};

} // namespace verify
