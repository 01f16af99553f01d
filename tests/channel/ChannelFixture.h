#pragma once

#include "tests/channel/PeerWindow.h"

#include "channel/CMessageTask.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <vector>

/// The calls of the channel's two callbacks. Never destroyed: a window thread may still log when the program ends.
struct ChannelRecords {
    Inbox<std::string> received; // without the empty texts of idle ticks
    Inbox<std::string> log;
    std::atomic<bool> throwOnReceive{false};

    static ChannelRecords& Get() {
        static ChannelRecords& records = *new ChannelRecords;
        return records;
    }

    static void Receive(const char* text) {
        if (*text == '\0') {
            return;
        }
        Get().received.Add(text);
        if (Get().throwOnReceive) {
            throw 1;
        }
    }

    static void Log(const char* text) { Get().log.Add(text); }

    std::size_t CountLog(const std::string& text) const {
        const std::vector<std::string> lines = log.All();
        return static_cast<std::size_t>(std::count(lines.begin(), lines.end(), text));
    }

    /// @param part of the lines.
    bool WaitForLog(std::string_view part, std::size_t count = 1) const {
        return log.WaitUntil([&](const std::vector<std::string>& lines) {
            const auto hasPart = [&](const std::string& line) { return line.find(part) != std::string::npos; };
            return static_cast<std::size_t>(std::ranges::count_if(lines, hasPart)) >= count;
        });
    }
};

/// Starts every test with empty records.
class ChannelFixture : public ::testing::Test {
protected:
    ChannelFixture() {
        records_.received.Clear();
        records_.log.Clear();
        records_.throwOnReceive = false;
    }

    ChannelRecords& records_ = ChannelRecords::Get();
};
