#pragma once

#include "workbench/verify/hostile/Notifications.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>

namespace verify {

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

/// The sequence of shots; a seed gives the same one anywhere. Needs no Windows.
///
/// The add-in reads one whole message per tick of its channel and keeps what waits and what never ends without bound.
/// So that a run stays bounded, only one shot in `kShotsPerMessage` may begin a message that gets complete, and parts
/// are kept up to `kMostKept` bytes: the others are made such that the window drops them.
class Mutations {
public:
    static constexpr std::uint64_t kShotsPerMessage = 7;
    static constexpr std::size_t kMostKept = 8 * 1024 * 1024; // bytes

    explicit Mutations(std::uint64_t seed) : dice_(seed), notifications_(dice_) {}
    Mutations(const Mutations&) = delete;
    Mutations& operator=(const Mutations&) = delete;

    /// @param outcome what becomes of it.
    Shot Next(Outcome& outcome);
    Notifications& Texts() noexcept { return notifications_; }
    const WindowModel& Window() const noexcept { return window_; }

private:
    Shot Harmless(); // mostly dropped or kept by the window
    Shot Message();  // mostly completes one
    Shot NoText();   // null and empty texts, absurd sizes
    Shot OtherMessage();
    Shot SystemMessage();
    Shot EndOfKept(); // the end of a message of which parts are kept
    void PlanSegments(std::string text);
    void Terminate(Shot& shot);
    static void Defuse(Shot& shot);

    std::string Spoilt(std::string text);
    std::string SegmentBody();
    std::uint64_t Number(); // colliding, never 0
    std::string_view Token();
    void Mutate(std::string& text);
    void MutateOnce(std::string& text);
    std::size_t Place(std::string_view text) { return static_cast<std::size_t>(dice_.Below(text.size() + 1)); }

    Dice dice_;
    Notifications notifications_;
    WindowModel window_;
    std::deque<Shot> planned_;
    std::uint64_t count_ = 0;
};

} // namespace verify
