#pragma once

#include "tests/Outlook/AddIns/AddInFixture.h"

#include <string>
#include <vector>

/// Appointments of the add-in in a connected host, and what the client heard of them.
class LifeFixture : public AddInFixture {
protected:
    /// The comment of an appointment that the add-in has filled.
    static constexpr const wchar_t* kNewMeeting = LR"({"nbm_flag":true,"is_new_item":true,"conf_id":"c-1"})";
    static constexpr const wchar_t* kKnownMeeting = LR"({"nbm_flag":true,"is_new_item":false,"conf_id":"c-1"})";

    /// The add-in also counts the client as connected, and the commands of an earlier client are forgotten.
    void ConnectWithClient(HostOptions options = {});

    /// The commands that the client has got since the last call, all of them: a start command of the explorer goes
    /// after them and is not among them. No other test of this suite sends that one.
    std::vector<Json::Value> TakeCommands();
    /// The "cmd" members of TakeCommands.
    std::vector<int> TakeCommandNumbers();

    void HideClient() { EXPECT_TRUE(Client().Order("hide").done); }
    /// The add-in counts it as connected then, and nothing comes that was sent while it was away.
    void ShowClient();

    /// The sinks of a connected add-in when no inspector is open and no call is in progress.
    std::vector<std::wstring> RestingSinks();
    std::vector<std::wstring> HeldObjects() { return Host().Objects().Outstanding(); }

private:
    size_t taken_ = 0;
};

/// Which dialog it is, by its buttons: "sync" or "log in", else its text.
std::string DialogKind(const DialogSeen& dialog);
std::vector<std::string> DialogKinds(const std::vector<DialogSeen>& dialogs);
