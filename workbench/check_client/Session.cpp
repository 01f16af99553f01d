#include "workbench/check_client/Session.h"

#include "workbench/check_client/Tap.h"
#include "workbench/client/Meetings.h"
#include "workbench/host/Pump.h"
#include "workbench/wire/Window.h"

#include "support/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

namespace check_client {
namespace {

constexpr UINT kSendLimit = 3000;  // ms, as the add-in waits
constexpr unsigned kSlice = 1000;  // ms between two lines about a wait
constexpr unsigned kSettled = 200; // ms in which a client answers what needs no person
constexpr DWORD kDying = 300;      // ms after which a process that crashed is known to have ended
constexpr DWORD kKillLimit = 5000; // ms
constexpr int kCloseBox = 2;       // closes each dialog of the add-in

UniqueHandle OpenProcessOf(HWND window) {
    return UniqueHandle(::OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE, FALSE, wire::ProcessOf(window)));
}

} // namespace

int NumberOf(const Json::Value& value) {
    return value.isInt() ? value.asInt() : value.isString() ? std::atoi(value.asCString()) : 0;
}

Session::Session(const Settings& given) : settings(given) {
    const HWND addin = wire::Find(wire::kAddinWindow); // one of this process is left of an earlier check
    if (!WindowsOfClass().empty() || (addin && wire::ProcessOf(addin) != ::GetCurrentProcessId())) {
        throw std::runtime_error("a meeting client or Outlook runs already; end it first");
    }
    tap::Take();
    workbench::HostOptions options;
    options.habits.drawRibbon = true; // the checker clicks what is drawn
    outlook_.Connect(options);
    outlook_.AnswerDialogs([] { return kCloseBox; });
    ListenAtAddIn();
}

Session::~Session() {
    try {
        if (!settings.program.empty()) {
            EndClient();
        }
    } catch (...) {
        // The rest ends with this process.
    }
    tap::Close();
}

// --- The client ---

HWND Session::Window() const noexcept {
    return wire::Find(wire::kClientWindow);
}

std::vector<HWND> Session::WindowsOfClass() {
    return wire::FindAll(wire::kClientWindow, nullptr);
}

bool Session::AskPerson(const std::string& what) const {
    if (!settings.logIn) {
        settings.tell("-> " + what);
    }
    return !settings.logIn;
}

void Session::StartClient() {
    if (settings.program.empty()) {
        AskPerson("Start the client now. Do not log in yet; log out if it has logged in by itself.");
    } else {
        child_.emplace(settings.program, settings.arguments, process::Streams::Own);
    }
}

void Session::EndClient() {
    if (settings.program.empty() && !WindowsOfClass().empty()) {
        AskPerson("End the client.");
    } else if (!settings.program.empty()) {
        for (const HWND window : WindowsOfClass()) { // also of one that the launch URI started
            if (const UniqueHandle process = OpenProcessOf(window)) {
                ::TerminateProcess(process.Get(), 1);
                ::WaitForSingleObject(process.Get(), kKillLimit);
            }
        }
        child_.reset();
    }
    client_.Reset();
    Await("the end of the client", [] { return WindowsOfClass().empty(); });
    ForgetAnswers();
    joiner_ = {};
    lastNumber_ = 0;
}

bool Session::AwaitLogInForm() const {
    if (settings.awaitLogInForm) {
        return settings.awaitLogInForm();
    }
    workbench::PumpUntil([] { return !WindowsOfClass().empty(); }, static_cast<unsigned>(settings.quiet.count()));
    return true;
}

void Session::LogIn() {
    if (settings.logIn) {
        settings.logIn();
    } else {
        AskPerson("Log in to the client.");
    }
    Await("the client's window", [] { return !WindowsOfClass().empty(); });
    if (const auto windows = WindowsOfClass(); !windows.empty()) {
        client_ = OpenProcessOf(windows.front());
    }
}

bool Session::EnsureClient() {
    if (!Window()) {
        EndClient();
        StartClient();
        LogIn();
    }
    return Window() != nullptr;
}

// --- The add-in ---

void Session::RemoveAddInWindow() {
    tap::RemoveWindow();
    if (!Await("the end of the add-in's window", [] { return !wire::Find(wire::kAddinWindow); })) {
        throw NotPassed(Verdict::NotTested, "the add-in's window stays");
    }
}

void Session::ReturnAddInWindow() {
    tap::LetWindowReturn();
    ListenAtAddIn();
}

void Session::ListenAtAddIn() {
    if (!Await("the add-in's window", [] { return wire::Find(wire::kAddinWindow) != nullptr; })) {
        throw std::runtime_error("the add-in has no window");
    }
    tap::Open(wire::Find(wire::kAddinWindow));
}

bool Session::PressStart() {
    const workbench::ExplorerPtr explorer = Outlook().ActiveExplorer();
    explorer->SwitchFolder(L"Inbox");
    explorer->Activate();
    return explorer->View()->Click(L"StartMeetingMail");
}

// --- Messages ---

void Session::Send(std::string_view message) {
    const auto envelopes = wire::Split(message, NextNumber());
    std::ranges::all_of(envelopes, [&](const wire::Envelope& envelope) { return SendEnvelope(envelope); });
}

bool Session::SendEnvelope(std::uint64_t number, const char* bytes, std::size_t size) {
    const HWND client = Window();
    if (!client) {
        return false;
    }
    const DWORD error = wire::SendBytes(client, wire::Find(wire::kAddinWindow), number, bytes, size, kSendLimit);
    // A client that ends meanwhile gives any of these errors.
    if (error == ERROR_SUCCESS || ::WaitForSingleObject(client_.Get(), kDying) != WAIT_TIMEOUT) {
        return error == ERROR_SUCCESS;
    }
    faults.push_back(error == ERROR_ACCESS_DENIED ? "Windows denied access to the client's window"
                                                  : "the procedure did not return within 3000 ms");
    return false;
}

void Session::Read() {
    for (const tap::Arrival& arrival : tap::Take()) {
        if (!arrival.ownWindow) {
            faults.push_back("wParam was no window of the client");
        }
        const auto joined =
            joiner_.Take(arrival.number, arrival.null ? nullptr : arrival.bytes.data(), arrival.bytes.size());
        faults.insert(faults.end(), joined.faults.begin(), joined.faults.end());
        if (!joined.message.empty()) {
            ReadMessage(arrival.number, joined.message);
        }
    }
}

void Session::ReadMessage(std::uint64_t number, const std::string& message) {
    if (number != 0) {
        if (number == lastNumber_) {
            faults.push_back("two messages in a row have one number");
        }
        lastNumber_ = number;
        ++segmented;
    }
    const auto notification = meeting_client::ParseObject(message);
    if (!notification || ToUtf8(ToWide(message)) != message) {
        faults.push_back("no JSON object in UTF-8: " + message.substr(0, 80));
    } else {
        notifications.push_back(*notification);
    }
}

Json::Value Session::Next(const char* what, const std::set<int>& types, std::chrono::milliseconds limit) {
    Json::Value found;
    const auto look = [&] {
        while (next_ < notifications.size() && found.isNull()) {
            const Json::Value& notification = notifications[next_++];
            if (types.contains(NumberOf(notification["notify"]))) {
                found = notification;
            }
        }
        return !found.isNull();
    };
    Await(what, look, limit);
    return found;
}

Json::Value Session::AnswerToSent() {
    if (settings.settle) {
        settings.settle();
    }
    return NextAnswer(settings.settle ? std::chrono::milliseconds(0) : settings.limit);
}

Json::Value Session::Ask(std::string_view message) {
    Send(message);
    return AnswerToSent();
}

void Session::LetAnswersPass() {
    if (settings.settle) {
        settings.settle();
    } else {
        workbench::PumpFor(kSettled);
    }
    ForgetAnswers();
}

void Session::ForgetAnswers() {
    Read();
    next_ = notifications.size();
}

bool Session::Await(const char* what, const std::function<bool()>& done, std::chrono::milliseconds limit) {
    const auto read = [&] {
        Read();
        return done();
    };
    const auto end = std::chrono::steady_clock::now() + limit;
    for (auto left = limit; left.count() > 0;) {
        if (workbench::PumpUntil(read, std::min(kSlice, static_cast<unsigned>(left.count())))) {
            return true;
        }
        if (client_ && ::WaitForSingleObject(client_.Get(), 0) == WAIT_OBJECT_0) {
            break;
        }
        left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        settings.tell(fmt::format("   waiting for {}, {} s left", what, std::max<long long>(left.count(), 0) / 1000));
    }
    return read();
}

} // namespace check_client
