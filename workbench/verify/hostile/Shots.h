#pragma once

#include "workbench/wire/Envelope.h"

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>

namespace verify {

enum class Outcome {
    Dropped,  ///< nothing is left of it
    Kept,     ///< a part of a message, held until its end comes
    Complete, ///< a message that reaches the reader
};

/// One message to a window of the add-in.
struct Shot {
    /// True for a message below WM_USER, where its arguments mean something to the system.
    bool IsSystem() const noexcept { return message < WM_USER && message != WM_COPYDATA && message != WM_CLOSE; }
    /// The text that it carries, up to the terminator.
    std::string_view Text() const noexcept;

    UINT message = WM_COPYDATA;
    bool toNotifyWindow = false; ///< instead of the channel's window
    bool posted = false;         ///< instead of sent; for the system's messages only
    std::uint64_t number = 0;    ///< dwData, all 64 bits
    /// lpData and cbData as they are: a terminator stands here or is missing. Nothing: lpData is null.
    std::optional<std::string> bytes;
    std::uint32_t claimed = 0; ///< cbData for a null lpData
    Outcome outcome = Outcome::Dropped;
};

/// The sequence of shots from a seed. The workbench's joiner, which shares no code with the add-in's channel, predicts
/// the outcome of each.
///
/// The add-in reads one whole message per tick of its channel and keeps what waits and what never ends without bound.
/// So that a run stays bounded, only one shot in `kShotsPerMessage` may begin a message that gets complete, and parts
/// are kept up to `kMostKept` bytes: the others are made such that the window drops them.
class Shots {
public:
    static constexpr std::uint64_t kShotsPerMessage = 7;
    static constexpr std::size_t kMostKept = 8 * 1024 * 1024; // bytes

    /// @param entryId of an appointment that exists, which some notifications name.
    explicit Shots(std::uint64_t seed, std::string entryId = "00000000A1B2")
        : engine_(seed), entryId_(std::move(entryId)) {}

    Shot Next();
    /// Predicts the outcome of a shot after those before it.
    Outcome Predict(const Shot& shot);
    std::size_t KeptBytes() const noexcept { return joiner_.UnfinishedBytes(); }

    /// A notification of any type. @param crooked some members are missing, twice there, of a wrong type or out of
    /// every range; it is mostly JSON all the same.
    std::string Notification(bool crooked);

private:
    // The engine's sequence is the same with every library, unlike the distributions'.
    std::uint64_t Below(std::uint64_t bound) { return engine_() % bound; }
    bool OneIn(std::uint64_t count) { return Below(count) == 0; }
    template <class Table>
    auto Any(const Table& table) {
        return table[static_cast<std::size_t>(Below(std::size(table)))];
    }
    std::string Bytes(std::size_t length);

    Shot Dropped(); // or kept
    Shot Message(); // mostly completes one
    Shot NoText();  // null and empty texts, absurd sizes
    Shot OtherMessage();
    Shot CopyData(std::uint64_t number, std::string text);

    std::uint64_t CollidingNumber(); // never 0
    std::uint64_t FreshNumber();
    std::string SegmentBody();
    std::string Text();
    std::string Strange();
    std::string Value(std::string_view member);
    std::string WrongValue();
    std::string LongText();
    std::string Mutated(std::string text);

    std::mt19937_64 engine_;
    const std::string entryId_;
    wire::Joiner joiner_;
    std::deque<Shot> planned_; // segments
    std::uint64_t count_ = 0;
};

} // namespace verify
