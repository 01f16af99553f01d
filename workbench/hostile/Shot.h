#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace hostile {

/// One thing that the sender does to the add-in's windows.
struct Shot {
    enum class Kind {
        CopyData,     ///< WM_COPYDATA to the channel's window
        ChannelOther, ///< another message to it: `number` is the message
        NotifyOther,  ///< another message to the notification window: `number` is the message
        CloseChannel, ///< WM_CLOSE to the channel's window
    };

    /// True for a message whose number is below WM_USER, where its arguments mean something to the system.
    bool IsSystem() const noexcept {
        return (kind == Kind::ChannelOther || kind == Kind::NotifyOther) && number < 0x400;
    }

    Kind kind = Kind::CopyData;
    bool posted = false;      ///< instead of sent; for the system's messages only
    std::uint64_t number = 0; ///< dwData, all 64 bits
    std::string bytes;        ///< lpData and cbData as they are: a terminator stands here or is missing
    bool null = false;        ///< lpData is null, and cbData is `claimed`
    std::uint32_t claimed = 0;
};

enum class Outcome {
    Dropped,  ///< nothing is left of it
    Kept,     ///< a part of a message, held until its end comes
    Complete, ///< a message that reaches the reader
};

/// Predicts the result of a shot by the rules of the wire format (docs/protocol.md). It shares no code with the
/// add-in's channel, so that a mistake on one side does not cancel the same mistake on the other. Needs no Windows.
class WindowModel {
public:
    Outcome Look(const Shot& shot) const { return Sort(shot).outcome; }
    Outcome Take(const Shot& shot);

    std::size_t KeptBytes() const noexcept { return keptBytes_; }
    /// Bytes by message number.
    const std::map<std::uint32_t, std::size_t>& Kept() const noexcept { return kept_; }

private:
    struct Sorted {
        Outcome outcome = Outcome::Dropped;
        bool segment = false;
        std::uint32_t number = 0;
        std::size_t body = 0; // bytes
    };
    Sorted Sort(const Shot& shot) const;

    std::map<std::uint32_t, std::size_t> kept_;
    std::size_t keptBytes_ = 0;
};

inline constexpr const char* kPrefix = "%pre_nbmsdk%";
inline constexpr const char* kEnd = "%end_flag%";

} // namespace hostile
