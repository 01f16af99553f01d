#include "tests/Outlook/Life/LifeFixture.h"

void LifeFixture::ConnectWithClient(HostOptions options) {
    Connect(std::move(options));
    StartClient();
    taken_ = 0;
    // The add-in learns of a client by looking for its window, which a command makes it do at once.
    EXPECT_THAT(TakeCommands(), IsEmpty());
}

std::vector<Json::Value> LifeFixture::TakeCommands() {
    constexpr int kFence = 3;
    EXPECT_EQ(ExplorerRibbon().Press(L"StartAudioMeetingMail"), S_OK);
    std::vector<std::string> texts;
    const auto arrived = [&] {
        texts = Client().Messages();
        return texts.size() > taken_ && ParseJson(texts.back())["cmd"] == kFence;
    };
    EXPECT_TRUE(PumpUntil(arrived, kDeadline)) << testing::PrintToString(texts);
    std::vector<Json::Value> commands;
    for (size_t i = taken_; i + 1 < texts.size(); ++i) {
        commands.push_back(ParseJson(texts[i]));
    }
    taken_ = texts.size();
    return commands;
}

std::vector<int> LifeFixture::TakeCommandNumbers() {
    std::vector<int> numbers;
    for (const Json::Value& command : TakeCommands()) {
        numbers.push_back(command["cmd"].isInt() ? command["cmd"].asInt() : -1);
    }
    return numbers;
}

void LifeFixture::ShowClient() {
    EXPECT_TRUE(Client().Order("show").done);
    EXPECT_THAT(TakeCommands(), IsEmpty()) << "a command that found no client came later";
}

std::vector<std::wstring> LifeFixture::RestingSinks() {
    std::vector<std::wstring> sinks{L"Explorers: 1 sink", L"Inspectors: 1 sink"};
    for (const ExplorerPtr& explorer : Host().Explorers()) {
        sinks.push_back(L"Explorer #" + std::to_wstring(explorer->Number()) + L": 1 sink");
    }
    return sinks;
}

std::string DialogKind(const DialogSeen& dialog) {
    const std::vector<int> buttons = dialog.VisibleButtons();
    if (buttons == std::vector<int>{4, 5} || buttons == std::vector<int>{5, 4}) {
        return "sync";
    }
    const bool askedToLogIn = !dialog.texts.empty() && (dialog.texts[0].find(L"Log in") != std::wstring::npos ||
                                                        dialog.texts[0].find(L"\x767b\x5f55") != std::wstring::npos);
    if (buttons.empty() && askedToLogIn) {
        return "log in";
    }
    return dialog.texts.empty() ? "?" : ToNarrow(dialog.texts[0]);
}

std::vector<std::string> DialogKinds(const std::vector<DialogSeen>& dialogs) {
    std::vector<std::string> kinds;
    for (const DialogSeen& dialog : dialogs) {
        kinds.push_back(DialogKind(dialog));
    }
    return kinds;
}
