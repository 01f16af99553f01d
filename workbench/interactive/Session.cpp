#include "workbench/interactive/Session.h"

#include "workbench/demo/Stage.h"
#include "workbench/verify/core/LogTail.h"
#include "workbench/host/Pump.h"
#include "workbench/interactive/EditorControls.h"
#include "workbench/interactive/MainControls.h"
#include "workbench/process/Progress.h"

#include "resources/Connect.h"
#include "support/Text.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace interactive {
namespace {

constexpr long kChineseUi = 2052;
constexpr long kEnglishUi = 1033;
constexpr DWORD kTurn = 50; // ms between two looks at `done`

DATE NextHalfHour() {
    SYSTEMTIME now{};
    DATE date = 0;
    ::GetSystemTime(&now);
    ::SystemTimeToVariantTime(&now, &date);
    return std::ceil(date * 48.0) / 48.0;
}

workbench::HostOptions HostOptionsOf(const Options& options) {
    workbench::HostOptions host;
    host.language = options.chinese ? kChineseUi : kEnglishUi;
    host.now = options.now != 0 ? options.now : NextHalfHour();
    host.habits.drawRibbon = true;
    return host;
}

void Print(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

/// Prints what the add-in adds to its log. On a thread of its own: the main one may be in a dialog of the add-in.
std::jthread FollowLog() {
    return std::jthread([tail = verify::AddinLogTail()](std::stop_token stop) mutable {
        for (bool last = false; !last;) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            last = stop.stop_requested();
            for (const verify::AddinLogLine& line : tail.Read()) {
                Print(line.hasHead ? "log [" + line.level + "] " + line.function + ": " + line.text
                                   : "    " + line.text);
            }
        }
    });
}

} // namespace

Session::Session(const Options& options) : log_(FollowLog()), outlook_(HostOptionsOf(options)) {
    outlook_.AddStore(L"kim@example.org");
    outlook_.askClose = &AskClose;
    outlook_.explorerControls = [this](workbench::Explorer& explorer) {
        return std::make_shared<MainControls>(outlook_, explorer);
    };
    outlook_.inspectorControls = [](workbench::Inspector& inspector) {
        return std::make_shared<EditorControls>(inspector);
    };
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
    {
        const std::jthread progress = process::ShowProgress("starting the meeting client ...");
        meeting_client::ClientSettings settings;
        settings.arguments = {L"--window", L"--max-seconds", L"86400"};
        settings.whileWaiting = [] { workbench::PumpFor(1); };
        client_ = std::make_unique<meeting_client::ClientProcess>(std::move(settings));
    }
    const std::jthread progress = process::ShowProgress("loading the add-in ...");
    workbench::AddInHost& addIn = outlook_.LoadAddIn(demo::FindBuilt(L"OutlookAddIn.dll"), CLSID_NembraMeeting);
    outlook_.OpenExplorer(L"Calendar");
    if (FAILED(addIn.LoadStatus()) || FAILED(addIn.Connect())) {
        throw std::runtime_error("the add-in could not be loaded");
    }
    outlook_.RefreshWindows();
}

Session::~Session() {
    outlook_.Shutdown();
    outlook_.Observe(nullptr);
}

workbench::HostWindow* Session::HostWindowOf(HWND window) const {
    for (const workbench::ExplorerPtr& explorer : outlook_.Explorers()) {
        if (explorer->Window() == window) {
            return explorer->View();
        }
    }
    for (const workbench::InspectorPtr& inspector : outlook_.Inspectors()) {
        if (inspector->Window() == window) {
            return inspector->View();
        }
    }
    return nullptr;
}

/// The keys of the ribbon's buttons, and those that move between controls.
bool Session::TakesKey(MSG& message) {
    const HWND root = ::GetAncestor(message.hwnd, GA_ROOT);
    workbench::HostWindow* view = HostWindowOf(root);
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

bool HasDisplay() {
    USEROBJECTFLAGS flags{};
    DWORD size = 0;
    return ::GetUserObjectInformationW(::GetProcessWindowStation(), UOI_FLAGS, &flags, sizeof flags, &size) &&
           (flags.dwFlags & WSF_VISIBLE) != 0;
}

} // namespace interactive
