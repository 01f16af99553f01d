#pragma once

#include "workbench/hostile/Notifications.h"
#include "workbench/hostile/Shot.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

namespace hostile {

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
    void Mutate(std::string& text);
    void MutateOnce(std::string& text);
    std::size_t Place(std::string_view text) { return static_cast<std::size_t>(dice_.Below(text.size() + 1)); }

    Dice dice_;
    Notifications notifications_;
    WindowModel window_;
    std::deque<Shot> planned_;
    std::uint64_t count_ = 0;
};

} // namespace hostile
