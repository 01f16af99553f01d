#pragma once

#include "workbench/faults/MeetingClient.h"
#include "workbench/faults/Scene.h"

#include "workbench/host/DialogResponder.h"
#include "workbench/host/OutlookHost.h"

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace faults {

inline constexpr const wchar_t* kMarked = LR"({"nbm_flag":true,"is_new_item":false,"conf_id":"c-1"})";
inline constexpr const wchar_t* kMarkedNew = LR"({"nbm_flag":true,"is_new_item":true,"conf_id":"c-1"})";

/// One run of Outlook with the add-in. Host thread.
class Session {
public:
    enum class Start { Loaded, Connected };

    Session(StagedModule& module, bool withClient, Start start, int dialogAnswer);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    workbench::OutlookHost& Host() { return *host_; }
    workbench::AddInHost& AddIn() { return *addIn_; }
    bool Running() const { return host_ != nullptr; }
    /// Outlook anew, after `End`.
    void Begin();
    /// Ends Outlook. @return what it still holds or is not as it should be.
    std::vector<std::string> End();

    workbench::Ribbon& Explorer() { return AddIn().Ribbon(workbench::Surface::Explorer); }
    workbench::Ribbon& Appointment() { return AddIn().Ribbon(workbench::Surface::Appointment); }
    workbench::ItemPtr Open(bool saved, const wchar_t* comment = L"");
    void CloseInspectors();

    /// Lets everything that is under way arrive: channel rounds and posted messages.
    void Settle();
    bool Notify(std::string_view json);
    bool CommandCame(int command) const;
    void ForgetCommands() const;
    std::size_t DialogsSeen() const { return responder_->Seen().size(); }
    /// A number that no other text of this process has.
    static std::string Unique();

    // Objects that the preparation makes for the step.
    workbench::ItemPtr item;
    workbench::ExplorerPtr explorer;
    std::uint64_t before = 0;
    std::uint64_t dialogsBefore = 0;
    std::string text;

private:
    StagedModule& module_;
    const Start start_;
    const int dialogAnswer_;
    std::unique_ptr<workbench::OutlookHost> host_;
    workbench::AddInHost* addIn_ = nullptr;
    std::unique_ptr<workbench::DialogResponder> responder_;
};

/// The parts of a scene within Outlook. Without `cutText` there are no cut texts.
struct SessionPlan {
    bool withClient = true;
    Session::Start start = Session::Start::Connected;
    void (*prepare)(Session&) = nullptr;
    bool (*step)(Session&) = nullptr;
    const char* cutText = nullptr;
    int dialogAnswer = IDCANCEL;
};

/// Such a scene as the worker plays it.
class SessionAct final : public Act {
public:
    SessionAct(StagedModule& module, const SessionPlan& plan);

    void Prepare() override;
    bool Step() override;
    bool Works() override;
    bool Degraded() override;
    std::vector<std::string> End() override;
    std::uint64_t Cuts() const override;
    void Cut(std::uint64_t number) override;

private:
    SessionPlan plan_;
    Session session_;
};

struct NamedPlan {
    const char* name;
    SessionPlan plan;
};

void AddScenes(std::vector<Scene>& scenes, std::span<const NamedPlan> plans);

/// Preparation: only an appointment with one of our meetings is open.
template <bool Saved>
void OpenOurs(Session& session) {
    session.CloseInspectors();
    session.item = session.Open(Saved, kMarked);
}

/// Preparation: the same, saved, and the ribbon of its window is there.
inline void ShowOurs(Session& session) {
    OpenOurs<true>(session);
    session.Appointment();
}

} // namespace faults
