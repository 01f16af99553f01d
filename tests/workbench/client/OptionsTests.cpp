#include "workbench/client/CommandLine.h"
#include "workbench/client/Options.h"

#include <windows.h>
#include <shellapi.h>

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

TEST(CommandLine, TheSystemTakesItApartAgain) {
    const std::vector<std::wstring> arguments = {
        L"",         L"plain",     L"two words",        L"notify {\"a\":\"b c\"}",
        L"back\\\\", L"end in \\", L"\\\"quoted\\\\\"", L"\x4F1A\x8BAE"};
    int count = 0;
    wchar_t** texts = ::CommandLineToArgvW(JoinCommandLine(L"C:\\a folder\\x.exe", arguments).c_str(), &count);
    ASSERT_NE(texts, nullptr);
    EXPECT_EQ(std::wstring(texts[0]), L"C:\\a folder\\x.exe");
    EXPECT_EQ(std::vector<std::wstring>(texts + 1, texts + count), arguments);
    ::LocalFree(texts);
}

} // namespace
} // namespace meeting_client
