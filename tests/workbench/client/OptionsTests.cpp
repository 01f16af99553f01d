#include "workbench/client/Options.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace meeting_client {
namespace {

TEST(Options, WhatIsWrongIsSaid) {
    const std::vector<std::string> wrong[] = {
        {"--max-seconds"},
        {"--max-seconds", "0"},
        {"--max-seconds", "ten"},
        {"--answer-delay", "-1"},
        {"--answer-delay", "1.5"},
        {"--no-such-option"},
        {"https://x/h5page"},
        {"quorvex://a/b/h5page?page=launch"},
        {"quorvex:///h5page?page=launch"},
    };
    for (const auto& arguments : wrong) {
        EXPECT_THROW(ParseOptions(arguments), OptionsError) << arguments.front();
    }
}

TEST(Options, ALaunchUriOfAnyHostIsTakenBesideOptions) {
    const Options options =
        ParseOptions({"--login-after", "manual", "quorvex://meeting.example/h5page?page=launch", "--order", "delay 5"});
    EXPECT_EQ(options.launchUri, "quorvex://meeting.example/h5page?page=launch");
    EXPECT_FALSE(options.loginAfter);
    EXPECT_EQ(options.orders, std::vector<std::string>{"delay 5"});
}

} // namespace
} // namespace meeting_client
