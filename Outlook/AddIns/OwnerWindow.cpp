#include "Outlook/AddIns/OwnerWindow.h"

#include "Outlook/AddIns/SinkTables.h"

namespace {

HWND WindowOf(IUnknown* shown) {
    IOleWindowPtr oleWindow;
    HWND window = nullptr;
    if (shown != nullptr && SUCCEEDED(shown->QueryInterface(&oleWindow)) && oleWindow) {
        oleWindow->GetWindow(&window);
    }
    return window;
}

} // namespace

OwnerWindow::OwnerWindow(SinkTables& sinks, Outlook::_Application* application, Outlook::_AppointmentItem* item)
    : sinks_(sinks) {
    if (item == nullptr) {
        Outlook::_ExplorerPtr explorer;
        Outlook::ActiveExplorer(application, explorer);
        window_ = WindowOf(explorer);
        return;
    }
    const bool isFollowed = sinks_.FindItem(item);
    Outlook::_InspectorPtr inspector;
    Outlook::GetInspector(item, inspector);
    window_ = WindowOf(inspector);
    if (!isFollowed) {
        unseen_ = inspector;
    }
}

OwnerWindow::~OwnerWindow() {
    if (!unseen_) {
        return;
    }
    const HWND window = WindowOf(unseen_);
    // A window that the host does not report may be visible. Its events are then still needed.
    if (window != nullptr && !::IsWindowVisible(window)) {
        const SinkTables::RemovedInspector removed = sinks_.RemoveInspector(unseen_);
    }
}
