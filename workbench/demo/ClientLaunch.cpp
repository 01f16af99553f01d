#include "workbench/demo/ClientLaunch.h"

#include "workbench/demo/Programs.h"
#include "workbench/host/Pump.h"

#include <utility>

namespace demo {
namespace {

constexpr unsigned kStartLimit = 20'000; // ms
constexpr unsigned kNoticed = 300;       // ms in which the add-in, which looks every 20 ms, has surely seen the client

} // namespace

ClientLaunch::ClientLaunch(Stage& stage)
    : stage_(stage),
      transcript_(std::filesystem::temp_directory_path() /
                  (L"nembra-demo-" + std::to_wstring(::GetCurrentProcessId()) + L".txt")) {
    std::filesystem::remove(transcript_); // of an earlier launch, or of an earlier process with this id
    stage_.story.Act(L"The client's installation registers its launch URI", kProgramLimit + 1000);
    const auto code = RunToEnd(meeting_client::ClientProcess::FindProgram(),
                               {L"--register-uri", L"--transcript", transcript_, L"--login-after", L"2500",
                                L"--max-seconds", L"180", L"--parent", std::to_wstring(::GetCurrentProcessId())});
    const std::wstring command = ReadText(HKEY_CLASSES_ROOT, L"quorvex\\shell\\open\\command");
    stage_.story.Data(L"quorvex://", command);
    if (code != 0U || command.empty()) {
        throw StepFailed("the launch URI could not be registered");
    }
}

ClientLaunch::~ClientLaunch() {
    try {
        RunToEnd(meeting_client::ClientProcess::FindProgram(), {L"--unregister-uri"});
    } catch (const std::exception&) {
        // The entry stays until the next registration.
    }
    std::error_code ignored;
    std::filesystem::remove(transcript_, ignored);
}

void ClientLaunch::AwaitClient() {
    DWORD process = 0;
    const auto started = [&] { return (process = meeting_client::ClientProcess::FindRunning()) != 0; };
    stage_.story.Await(L"The add-in has started the client by its URI", started, kStartLimit);
    meeting_client::ClientSettings settings;
    settings.attachTo = process;
    settings.transcript = transcript_;
    settings.waitForWindow = false;
    stage_.TakeClient(std::move(settings));
    stage_.story.Data(L"process", std::to_wstring(process));
    for (const meeting_client::TranscriptEntry& entry : stage_.Client().Transcript()) {
        if (entry.kind == "note") {
            stage_.story.Data(L"it notes", std::wstring(entry.bytes.begin(), entry.bytes.end()));
        }
    }
    stage_.story.Await(
        L"Its user has logged in: its channel window is there", [&] { return stage_.Client().Window() != nullptr; },
        kStartLimit);
    workbench::PumpFor(kNoticed);
}

} // namespace demo
