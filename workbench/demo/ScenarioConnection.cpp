#include "workbench/demo/Scenarios.h"
#include "workbench/demo/Stage.h"

#include "workbench/host/Describe.h"

#include "resources/Connect.h"

#include <objbase.h>

#include <filesystem>

// How the add-in comes into Outlook, and how it goes.
namespace demo {
namespace {

constexpr wchar_t kNotificationWindow[] = L"NBM_OUTLOOK_ADDIN_MSGWND";
constexpr wchar_t kChannelWindow[] = L"NbmProxyOutlookServerWnd";

std::wstring Hex(HRESULT status) {
    return workbench::DescribeHex(static_cast<unsigned long>(status));
}

void TellRibbon(Stage& stage, workbench::Surface surface) {
    workbench::Ribbon& ribbon = stage.addIn->Ribbon(surface);
    stage.story.Check(std::wstring(L"The add-in gives the ribbon of ") + workbench::RibbonId(surface),
                      ribbon.Loaded() && ribbon.OnLoadCount() == 1);
    stage.story.Data(L"XML", std::to_wstring(ribbon.Xml().size()) + L" characters");
    for (const workbench::RibbonElement& element : ribbon.Controls()) {
        if (element.element == L"tab") {
            stage.story.Data(L"tab", element.id);
        } else if (element.element == L"group") {
            stage.story.Data(L"  group", L"\"" + ribbon.Label(element.id, nullptr) + L"\"   " + element.id);
        } else if (element.element == L"button") {
            const bool image = ribbon.Image(element.id) != nullptr;
            stage.story.Data(L"  button", L"\"" + ribbon.Label(element.id, nullptr) + L"\"   " + element.id +
                                              (image ? L", image " : L", no image ") + element.Attribute(L"image"));
            if (!image) {
                throw StepFailed("the button has no image");
            }
        }
    }
}

std::wstring ModulePath(HMODULE module) {
    wchar_t path[MAX_PATH] = L"";
    ::GetModuleFileNameW(module, path, MAX_PATH);
    return path;
}

void CreateAddIn(Stage& stage) {
    Story& story = stage.story;
    if (stage.registration) { // as Outlook makes an add-in: by the ProgID that its list names; COM finds the file
        const std::wstring progId = stage.registration->FindInOutlooksList();
        story.Act(L"It creates the add-in by its ProgID: CLSIDFromProgID, CoCreateInstance", 20'000);
        stage.addIn = &stage.outlook.LoadAddInByProgId(progId);
    } else {
        story.Act(L"It loads the add-in's file: DllGetClassObject, then CreateInstance", 20'000);
        stage.addIn = &stage.outlook.LoadAddIn(stage.dll, CLSID_NembraMeeting);
    }
    story.Data(L"status", Hex(stage.addIn->LoadStatus()));
    if (FAILED(stage.addIn->LoadStatus())) {
        throw StepFailed("the add-in could not be loaded");
    }
    stage.log.Tell(story, L"Built at ");
    stage.log.Tell(story, L"Factory::CreateInstance");
    stage.module = ::GetModuleHandleW(std::filesystem::path(stage.dll).filename().c_str());
    story.Check(L"The add-in's file is in Outlook's process", ModulePath(stage.module) == stage.dll);
    story.Data(L"module", stage.dll);
    story.Data(L"class", workbench::DescribeIid(CLSID_NembraMeeting));
}

/// Asks the module as COM does before it unloads the module.
HRESULT CanUnload(HMODULE module) {
    using Function = HRESULT(STDAPICALLTYPE*)();
    const auto ask = reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(module, "DllCanUnloadNow")));
    return ask ? ask() : E_NOTIMPL;
}

std::wstring Joined(const std::vector<std::wstring>& lines) {
    std::wstring all;
    for (const std::wstring& line : lines) {
        all += (all.empty() ? L"" : L", ") + line;
    }
    return all.empty() ? L"none" : all;
}

} // namespace

void InstallAddIn(Stage& stage) {
    if (stage.options.byPath) {
        return;
    }
    stage.story.Scenario(L"The add-in is installed");
    stage.registration = std::make_unique<Registration>(stage.story, stage.dll, stage.options.installed);
    stage.registration->Install();
}

void StartOutlook(Stage& stage) {
    Story& story = stage.story;
    story.Scenario(L"Outlook starts");
    story.Act(L"The stand-in Outlook opens its main window");
    stage.explorer = stage.outlook.OpenExplorer(L"Inbox");
    stage.camera.Arrange(stage.explorer->Window(), kMainSize);
    story.Data(L"window", L"\"" + stage.explorer->Caption() + L"\"");
    story.Data(L"version", stage.outlook.version + L", language " + std::to_wstring(stage.outlook.language));

    CreateAddIn(stage);

    story.Act(L"It connects the add-in: OnConnection, OnStartupComplete", 20'000);
    const HRESULT connected = stage.addIn->Connect();
    story.Data(L"status", Hex(connected));
    if (FAILED(connected)) {
        throw StepFailed("the add-in did not connect");
    }
    story.Data(L"log file", verify::AddinLogFile().wstring());
    stage.log.Tell(story, L"RibbonID: ");

    story.Await(L"The add-in has its two hidden windows", [] {
        const HWND notify = ::FindWindowW(kNotificationWindow, nullptr);
        return notify && ::FindWindowExW(HWND_MESSAGE, nullptr, kChannelWindow, kChannelWindow);
    });
    story.Data(L"notifications", kNotificationWindow);
    story.Data(L"channel", kChannelWindow);
    TellRibbon(stage, workbench::Surface::Explorer);
    TellRibbon(stage, workbench::Surface::Appointment);

    stage.camera.Take(L"main-window-mail", stage.explorer->Window());
}

void EndOutlook(Stage& stage) {
    Story& story = stage.story;
    story.Scenario(L"Outlook ends");
    stage.EndClient();
    stage.explorer->SwitchFolder(L"Calendar");
    stage.camera.Take(L"main-window-calendar", stage.explorer->Window()); // with what the story left in it
    const std::size_t sinks = stage.outlook.AdvisedSinks().size();

    story.Act(L"Outlook disconnects the add-in: OnBeginShutdown, OnDisconnection, last Release", 20'000);
    story.Data(L"event sinks", std::to_wstring(sinks) + L" objects had sinks of the add-in");
    const long left = stage.addIn->Exit();
    story.Data(L"references", std::to_wstring(left) + L" left on the add-in");
    story.Data(L"can unload", Hex(CanUnload(stage.module)));
    stage.log.Tell(story, L"freed");
    story.Check(L"Nobody holds the add-in any more", left == 0);
    story.Check(L"Its notification window is gone", !::FindWindowW(kNotificationWindow, nullptr));
    stage.outlook.Shutdown();
    const std::vector<std::wstring> outstanding = stage.outlook.Objects().Outstanding();
    story.Data(L"still held", Joined(outstanding));
    story.Check(L"The add-in holds nothing of Outlook any more", outstanding.empty());
    ::CoFreeUnusedLibraries();
    story.Check(L"COM looks for modules to unload; this one stays, its channel lives as long as Outlook's process",
                ModulePath(stage.module) == stage.dll);
}

void RemoveAddIn(Stage& stage) {
    if (!stage.registration || stage.options.installed) {
        return;
    }
    stage.story.Scenario(L"The add-in is removed");
    stage.registration->Remove();
}

void TellCount(Stage& stage) {
    Story& story = stage.story;
    story.Scenario(L"The count");
    story.Data(L"steps", std::to_wstring(story.Steps()));
    story.Data(L"channel", std::to_wstring(stage.commands.all) + L" commands, " +
                               std::to_wstring(stage.notifications.all) + L" notifications");
    story.Data(L"dialogs", std::to_wstring(stage.dialogs));
    story.Data(L"Outlook", std::to_wstring(stage.outlook.CallCount()) + L" calls by the add-in, " +
                               std::to_wstring(stage.outlook.Objects().Created()) + L" objects handed out");
    story.Data(L"wrong thread", std::to_wstring(stage.outlook.WrongThreadCalls()) + L" calls");
    story.Data(L"log", std::to_wstring(stage.log.Lines().size()) + L" lines");
    for (const auto& [text, count] : stage.log.Complaints()) {
        story.Data(L"", std::to_wstring(count) + L" times " + text);
    }
    if (stage.outlook.WrongThreadCalls() != 0) {
        throw StepFailed("the add-in called Outlook from a thread that is not Outlook's");
    }
}

} // namespace demo
