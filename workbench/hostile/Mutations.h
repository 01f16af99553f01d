#pragma once

#include "workbench/hostile/Shot.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <random>
#include <string>
#include <string_view>

namespace hostile {

/// The sequence of shots; a seed gives the same one anywhere. Needs no Windows.
///
/// The add-in reads one whole message per tick of its channel, some 25 to 50 a second, and keeps what waits and what
/// never ends without bound. So that a run stays bounded, only one shot in `kShotsPerMessage` may complete a message,
/// and parts are kept up to `kMostKept` bytes: the others are made such that the window drops them.
class Mutations {
public:
    static constexpr std::uint64_t kShotsPerMessage = 250;
    static constexpr std::size_t kMostKept = 8 * 1024 * 1024; // bytes

    explicit Mutations(std::uint64_t seed) : random_(seed) {}

    /// @param outcome what becomes of it.
    Shot Next(Outcome& outcome);
    const WindowModel& Window() const noexcept { return window_; }

private:
    std::uint64_t Below(std::uint64_t bound) { return random_() % bound; }
    bool OneIn(std::uint64_t count) { return Below(count) == 0; }
    template <class Table>
    auto Any(const Table& table) {
        return table[static_cast<std::size_t>(Below(std::size(table)))];
    }

    Shot Harmless(); // mostly dropped or kept by the window
    Shot Message();  // mostly completes one
    Shot NoText();   // null and empty texts, absurd sizes
    Shot OtherMessage();
    Shot EndOfKept(); // the end of a message of which parts are kept
    void PlanSegments(std::string text);
    void Terminate(Shot& shot);
    static void Defuse(Shot& shot);

    std::string Notification();
    std::string Strange();
    std::string RandomBytes(std::size_t length);
    std::string SegmentBody();
    std::uint64_t Number(); // colliding, never 0
    void Mutate(std::string& text);
    void MutateOnce(std::string& text);
    std::size_t Place(std::string_view text) { return static_cast<std::size_t>(Below(text.size() + 1)); }

    std::mt19937_64 random_; // its sequence is the same with every library, unlike the distributions'
    WindowModel window_;
    std::deque<Shot> planned_;
    std::uint64_t count_ = 0;
};

} // namespace hostile
