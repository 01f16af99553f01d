#include "workbench/demo/ClientLaunch.h"

#include "workbench/demo/Programs.h"
#include "workbench/host/Pump.h"

#include <iterator>

namespace demo {
namespace {

constexpr unsigned kStartLimit = 20'000; // ms
constexpr unsigned kNoticed = 300;       // ms in which the add-in, which looks every 20 ms, has surely seen the client

std::wstring NewFile() {
    wchar_t folder[MAX_PATH + 1] = L"";
    wchar_t file[MAX_PATH] = L"";
    if (!::GetTempPathW(static_cast<DWORD>(std::size(folder)), folder) ||
        !::GetTempFileNameW(folder, L"nbd", 0, file)) {
        throw StepFailed("no temporary file for the client's transcript");
    }
    return file;
}

std::wstring RegisteredCommand() {
    wchar_t text[4096] = L"";
    DWORD size = sizeof text;
    ::RegGetValueW(HKEY_CLASSES_ROOT, L"quorvex\\shell\\open\\command", nullptr, RRF_RT_REG_SZ, nullptr, text, &size);
    return text;
}

} // namespace

ClientLaunch::ClientLaunch(Stage& stage) : stage_(stage), transcript_(NewFile()) {
    stage_.story.Act(L"The client's installation registers its launch URI", kProgramLimit + 1000);
    const auto code = RunToEnd(meeting_client::ClientProcess::FindProgram(),
                               {L"--register-uri", L"--transcript", transcript_, L"--login-after", L"2500",
                                L"--max-seconds", L"180", L"--parent", std::to_wstring(::GetCurrentProcessId())});
    const std::wstring command = RegisteredCommand();
    stage_.story.Data(L"quorvex://", command);
    if (code != 0U || command.empty()) {
        ::DeleteFileW(transcript_.c_str());
        throw StepFailed("the launch URI could not be registered");
    }
}

ClientLaunch::~ClientLaunch() {
    RunToEnd(meeting_client::ClientProcess::FindProgram(), {L"--unregister-uri"});
    ::DeleteFileW(transcript_.c_str());
}

void ClientLaunch::AwaitClient() {
    DWORD process = 0;
    stage_.story.Await(
        L"The add-in has started the client by its URI",
        [&] {
            process = meeting_client::ClientProcess::FindRunning();
            return process != 0;
        },
        kStartLimit);
    stage_.AttachClient(process, transcript_);
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
