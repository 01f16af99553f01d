#include "workbench/interactive/Play.h"

#include "workbench/host/Pump.h"
#include "workbench/interactive/HostControls.h"
#include "workbench/process/OwnProgram.h"
#include "workbench/verify/core/LogTail.h"

#include "resources/Connect.h"
#include "support/Text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace interactive {
namespace {

constexpr DWORD kTurn = 50;    // ms between two looks at `done`
constexpr UINT kLogTurn = 100; // ms between two looks at the log

DATE NextHalfHour() {
    SYSTEMTIME now{};
    DATE date = 0;
    ::GetSystemTime(&now);
    ::SystemTimeToVariantTime(&now, &date);
    return std::ceil(date * 48.0) / 48.0;
}

workbench::HostOptions HostOptionsOf(const Options& options) {
    workbench::HostOptions host;
    host.language = options.chinese ? 2052 : 1033;
    host.now = options.now != 0 ? options.now : NextHalfHour();
    host.habits.drawRibbon = true;
    return host;
}

/// Whether this process can show windows to a user.
bool HasDisplay() {
    USEROBJECTFLAGS flags{};
    DWORD size = 0;
    return ::GetUserObjectInformationW(::GetProcessWindowStation(), UOI_FLAGS, &flags, sizeof flags, &size) &&
           (flags.dwFlags & WSF_VISIBLE) != 0;
}

void Print(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

/// Prints what the add-in has added to its log since the last call; the first call prints nothing.
void CALLBACK PrintLog(HWND, UINT, UINT_PTR, DWORD) noexcept {
    try {
        static verify::AddinLogTail tail;
        for (const verify::AddinLogLine& line : tail.Read()) {
            Print(line.hasHead ? "log [" + line.level + "] " + line.function + ": " + line.text : "    " + line.text);
        }
    } catch (const std::exception&) {
        // The next turn reads on.
    }
}

} // namespace

Session::Session(const Options& options)
    : logTimer_(::SetTimer(nullptr, 0, kLogTurn, &PrintLog)), outlook_(HostOptionsOf(options)) {
    PrintLog(nullptr, 0, 0, 0);
    outlook_.AddStore(L"kim@example.org");
    outlook_.askClose = &AskClose;
    outlook_.explorerControls = [this](workbench::Explorer& explorer) { return MakeMainControls(outlook_, explorer); };
    outlook_.inspectorControls = &MakeEditorControls;
    outlook_.Observe([this, verbose = options.verbose](const workbench::Step& step) {
        if (verbose) {
            Print(ToUtf8(step.text));
        }
        if (step.kind == workbench::StepKind::Item) { // the list of appointments follows
            for (const workbench::ExplorerPtr& explorer : outlook_.Explorers()) {
                if (explorer->View()) {
                    explorer->View()->Repaint();
                }
            }
        }
    });
    Print("starting the meeting client and the add-in ...");
    meeting_client::ClientSettings settings;
    settings.arguments = {L"--window", L"--max-seconds", L"86400"};
    settings.whileWaiting = [] { workbench::PumpFor(1); };
    client_ = std::make_unique<meeting_client::ClientProcess>(std::move(settings));
    workbench::AddInHost& addIn = outlook_.LoadAddIn(process::FindBuilt(L"OutlookAddIn.dll"), CLSID_NembraMeeting);
    outlook_.OpenExplorer(L"Calendar");
    if (FAILED(addIn.LoadStatus()) || FAILED(addIn.Connect())) {
        throw std::runtime_error("the add-in could not be loaded");
    }
    outlook_.RefreshWindows();
}

Session::~Session() {
    outlook_.Shutdown();
    outlook_.Observe(nullptr);
    ::KillTimer(nullptr, logTimer_);
    PrintLog(nullptr, 0, 0, 0); // the end of the add-in
}

/// The keys of the ribbon's buttons, and those that move between controls.
bool Session::TakesKey(MSG& message) {
    const HWND root = ::GetAncestor(message.hwnd, GA_ROOT);
    workbench::HostWindow* view = nullptr;
    const auto look = [&](const auto& window) { view = window->Window() == root ? window->View() : view; };
    std::ranges::for_each(outlook_.Explorers(), look);
    std::ranges::for_each(outlook_.Inspectors(), look);
    if (!view) {
        return false;
    }
    if (message.message == WM_SYSKEYDOWN) {
        for (const workbench::RibbonButtonView& button : view->Buttons()) {
            if (button.enabled && button.keyTip.ends_with(static_cast<wchar_t>(message.wParam))) {
                const std::wstring id = button.id; // the press may end the window
                view->Click(id);
                return true;
            }
        }
    }
    return ::IsDialogMessageW(root, &message) != FALSE;
}

bool Session::Run(const std::function<bool()>& done) {
    while (!done()) {
        if (outlook_.Explorers().empty() && !outlook_.ActiveInspector()) {
            return false;
        }
        ::MsgWaitForMultipleObjectsEx(0, nullptr, kTurn, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        MSG message;
        while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            if (!TakesKey(message)) {
                ::TranslateMessage(&message);
                ::DispatchMessageW(&message);
            }
        }
    }
    return true;
}

void Describe(CLI::App& app, Options& options) {
    app.description("Opens the stand-in Outlook and the stand-in client for you to use, with the add-in loaded.");
    app.add_option_function<std::string>(
           "--language", [&options](const std::string& text) { options.chinese = text == "zh"; },
           "language of the stand-in Outlook (default en)")
        ->check(CLI::IsMember({"en", "zh"}));
    app.add_flag("--verbose", options.verbose, "also print every call, event, window and ribbon callback");
}

int Play(const Options& options) {
    if (!HasDisplay()) {
        std::fputs("workbench: there is no display, so nobody could see the windows. Start the program in a desktop "
                   "session: at the machine itself or over a remote desktop, not over ssh and not as a service.\n",
                   stderr);
        return 1;
    }
    Session session(options);
    Print("The stand-in Outlook is open. Close its last window to end the program. The add-in's log follows.");
    session.Run();
    return 0;
}

} // namespace interactive
