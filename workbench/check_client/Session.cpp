#include "workbench/check_client/Session.h"

#include "workbench/client/Meetings.h"
#include "workbench/host/Pump.h"
#include "workbench/wire/Window.h"

#include "resources/Connect.h"
#include "tests/fakes/AddInModule.h"

#include <algorithm>
#include <cstdlib>

namespace check_client {
namespace {

constexpr UINT kSendLimit = 3000;  // ms, as the add-in waits
constexpr unsigned kSlice = 1000;  // ms between two lines about a wait
constexpr DWORD kDying = 300;      // ms after which a process that crashed is known to have ended
constexpr DWORD kKillLimit = 5000; // ms
constexpr int kCloseBox = 2;       // closes each dialog of the add-in
constexpr std::size_t kDialogs = 4096;

// The joiner's words for a mistake, and the rule that forbids it.
constexpr struct {
    std::string_view words;
    const char* rule;
} kWireRules[] = {
    {"no bytes", "carried-text"},
    {"not NUL-terminated", "carried-text"},
    {"empty text", "carried-text"},
    {"cbData is not the length + 1", "length"},
    {"number beyond 32 bits", "number"},
    {"whole message too long", "answer-in-segments"},
    {"segment without its prefix", "prefix"},
    {"segment of a wrong size", "body-size"},
    {"last segment of a wrong size", "last-body-size"},
    {"last segment without a first one", "own-numbers"},
};

workbench::HostOptions DrawnRibbon() {
    workbench::HostOptions options;
    options.habits.drawRibbon = true; // the checker clicks what is drawn
    return options;
}

bool IsUtf8(const std::string& text) {
    return ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), static_cast<int>(text.size()), nullptr,
                                 0) != 0;
}

DWORD IdOfProcess(HWND window) {
    DWORD id = 0;
    ::GetWindowThreadProcessId(window, &id);
    return id;
}

UniqueHandle OpenProcessOf(HWND window) {
    return UniqueHandle(::OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE, FALSE, IdOfProcess(window)));
}

} // namespace

int NumberOf(const Json::Value& value) {
    return value.isInt() ? value.asInt() : value.isString() ? std::atoi(value.asCString()) : 0;
}

Session::Session(const Settings& given) : settings(given), outlook(DrawnRibbon()) {
    const HWND addin = wire::Find(wire::kAddinWindow); // one of this process is left of an earlier check
    if (!WindowsOfClass().empty() || (addin && IdOfProcess(addin) != ::GetCurrentProcessId())) {
        throw std::runtime_error("a meeting client or Outlook runs already; end it first");
    }
    Tap::Take();
    outlook.AddStore(L"kim@example.org");
    explorer_ = outlook.OpenExplorer();
    responder_ = std::make_unique<workbench::DialogResponder>(std::vector<int>(kDialogs, kCloseBox));
    LoadAddIn();
}

Session::~Session() {
    try {
        if (!settings.program.empty()) {
            EndClient();
        }
        tap_.Close();
        outlook.Shutdown();
    } catch (...) {
        // The rest ends with this process.
    }
}

// --- The client ---

HWND Session::Window() const noexcept {
    return wire::Find(wire::kClientWindow);
}

std::vector<HWND> Session::WindowsOfClass() {
    std::vector<HWND> windows;
    for (const HWND parent : {HWND_MESSAGE, HWND(nullptr)}) {
        for (HWND next = nullptr; (next = ::FindWindowExW(parent, next, wire::kClientWindow, nullptr)) != nullptr;) {
            if (std::ranges::find(windows, next) == windows.end()) { // the second search may find both kinds
                windows.push_back(next);
            }
        }
    }
    return windows;
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
        return;
    }
    child_.emplace(settings.program, settings.arguments, process::Streams::Own);
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
    if (!trusted_ || !Window()) {
        EndClient();
        StartClient();
        LogIn();
        trusted_ = true;
    }
    return Window() != nullptr;
}

// --- The add-in ---

void Session::LoadAddIn() {
    workbench::AddInHost& addIn = outlook.LoadAddIn(AddInModulePath(), CLSID_NembraMeeting);
    if (addIn.LoadStatus() != S_OK || addIn.Connect() != S_OK) {
        throw std::runtime_error("OutlookAddIn.dll could not be loaded; build it first");
    }
    ListenAtAddIn();
}

void Session::RemoveAddInWindow() {
    tap_.RemoveWindow();
    if (!Await("the end of the add-in's window", [] { return !wire::Find(wire::kAddinWindow); })) {
        throw NotTested("the add-in's window stays");
    }
}

void Session::ReturnAddInWindow() {
    tap_.LetWindowReturn();
    ListenAtAddIn();
}

void Session::ListenAtAddIn() {
    if (!Await("the add-in's window", [] { return wire::Find(wire::kAddinWindow) != nullptr; })) {
        throw std::runtime_error("the add-in has no window");
    }
    tap_.Open(wire::Find(wire::kAddinWindow));
}

void Session::PressStart() {
    explorer_->SwitchFolder(L"Inbox");
    explorer_->Activate();
    if (!explorer_->View()->Click(L"StartMeetingMail")) {
        throw NotTested("the button is not on the ribbon");
    }
}

// --- Messages ---

bool Session::Send(std::string_view message) {
    const auto envelopes = wire::Split(message, NextNumber());
    return std::ranges::all_of(envelopes, [&](const wire::Envelope& envelope) { return SendEnvelope(envelope); });
}

bool Session::SendEnvelope(const wire::Envelope& envelope) {
    return SendEnvelope(envelope.number, envelope.text.c_str(), envelope.text.size() + 1);
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
    if (error == ERROR_ACCESS_DENIED) {
        violations.emplace("same-level", "Windows denied access to the client's window");
    } else {
        violations.emplace("returns-in-time", "the procedure did not return within 3000 ms");
    }
    return false;
}

void Session::Read() {
    for (const Arrival& arrival : Tap::Take()) {
        if (!arrival.ownWindow) {
            violations.emplace("sender", "wParam was no window of the client");
        }
        const auto joined =
            joiner_.Take(arrival.number, arrival.null ? nullptr : arrival.bytes.data(), arrival.bytes.size());
        for (const std::string& fault : joined.faults) {
            for (const auto& [words, rule] : kWireRules) {
                if (fault.starts_with(words)) {
                    violations.emplace(rule, fault);
                }
            }
        }
        if (!joined.message.empty()) {
            if (arrival.number != 0 && arrival.number == lastNumber_) {
                violations.emplace("own-numbers", "two messages in a row have one number");
            }
            lastNumber_ = arrival.number != 0 ? arrival.number : lastNumber_;
            segmented += arrival.number != 0 ? 1 : 0;
            ReadMessage(joined.message);
        }
    }
}

void Session::ReadMessage(const std::string& message) {
    longest = std::max(longest, message.size());
    const auto notification = meeting_client::ParseObject(message);
    if (!notification || !IsUtf8(message)) {
        violations.emplace("json", "no JSON object in UTF-8: " + message.substr(0, 80));
    } else {
        notifications.push_back(*notification);
    }
}

Json::Value Session::Next(const char* what, const std::set<int>& types) {
    Json::Value found;
    Await(what, [&] {
        while (next_ < notifications.size() && found.isNull()) {
            const Json::Value& notification = notifications[next_++];
            if (types.contains(NumberOf(notification["notify"]))) {
                found = notification;
            }
        }
        return !found.isNull();
    });
    return found;
}

Json::Value Session::NextAnswer() {
    return Next("an answer", {101, 102, 103});
}

Json::Value Session::NextChange() {
    return Next("a notification of type 200", {200});
}

void Session::ForgetAnswers() {
    Read();
    next_ = notifications.size();
}

bool Session::Await(const char* what, const std::function<bool()>& done) {
    const auto read = [&] {
        Read();
        return done();
    };
    const ULONGLONG begin = ::GetTickCount64();
    const auto limit = static_cast<ULONGLONG>(settings.limit.count());
    for (ULONGLONG passed = 0; passed < limit; passed = ::GetTickCount64() - begin) {
        if (workbench::PumpUntil(read, static_cast<unsigned>(std::min<ULONGLONG>(kSlice, limit - passed)))) {
            return true;
        }
        if (client_ && ::WaitForSingleObject(client_.Get(), 0) == WAIT_OBJECT_0) {
            break;
        }
        settings.tell("   waiting for " + std::string(what) + ", " + std::to_string((limit - passed) / 1000) +
                      " s left");
    }
    return read();
}

} // namespace check_client
