#include "Outlook/AddIns/AddIn.h"

#include "Outlook/AddIns/LogText.h"
#include "Outlook/AddIns/Marker.h"
#include "Outlook/AddIns/ModuleState.h"
#include "Outlook/AddIns/OwnerWindow.h"
#include "resources/resource.h"
#include "support/LogLine.h"

namespace {

constexpr const wchar_t* kSource = L"AddIns/Notify";
constexpr const wchar_t* kWindowClass = L"NBM_OUTLOOK_ADDIN_MSGWND";
constexpr const wchar_t* kOwnerProperty = L"nbm_addin_inst";
constexpr UINT kRunTask = WM_USER + 1; // lParam: a heap-allocated Task that the window frees

using Task = std::function<void()>;

enum NotifyType : int32_t { kScheduled = 101, kModified = 102, kCancelled = 103, kChanged = 200 };

void RunTask(Task& task) noexcept {
    constexpr const wchar_t* kMethod = L"AddIn::MessageWindowProc";
    try {
        task();
    } catch (const _com_error& error) {
        LogLine(kSource, kMethod).Error() << L"task fail: 0x" << Hex(error.Error());
    } catch (...) {
        LogLine(kSource, kMethod).Error() << L"task fail.";
    }
}

/// Frees the tasks that still wait for a window that is about to go.
void DropTasks(HWND window) noexcept {
    MSG message = {};
    while (::PeekMessageW(&message, window, kRunTask, kRunTask, PM_REMOVE)) {
        if (message.message == WM_QUIT) { // comes whatever the filter is, and belongs to the host
            DropTasks(window);
            ::PostQuitMessage(static_cast<int>(message.wParam));
            return;
        }
        delete reinterpret_cast<Task*>(message.lParam);
    }
}

void* CreationParameter(LPARAM creation) noexcept {
    return creation != 0 ? reinterpret_cast<CREATESTRUCTW*>(creation)->lpCreateParams : nullptr;
}

} // namespace

HRESULT NotifyGate::Notify(const NotifyData& data) {
    MC_Lock lock(&lock_);
    return addIn_ != nullptr ? addIn_->NotifyCallback(data) : S_FALSE;
}

void NotifyGate::Close() {
    MC_Lock lock(&lock_);
    addIn_ = nullptr;
}

HRESULT AddIn::NotifyCallback(const NotifyData& data) {
    LogLine(kSource, L"AddIn::NotifyCallback").Info() << L"Type: " << data.type;
    PostTask([this, data] { NotifyProc(data); });
    return S_OK;
}

void AddIn::PostTask(Task task) {
    const HWND window = messageWindow_;
    auto posted = std::make_unique<Task>(std::move(task));
    // Without a window the message would go to the thread itself and reach nobody.
    if (window != nullptr && ::PostMessageW(window, kRunTask, 0, reinterpret_cast<LPARAM>(posted.get()))) {
        posted.release(); // the window procedure's now
    }
}

void AddIn::CreateMessageWindow() {
    if (messageWindow_ != nullptr) {
        return;
    }
    WNDCLASSEXW windowClass = {};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.lpfnWndProc = &AddIn::MessageWindowProc;
    windowClass.hInstance = ::GetModuleHandleW(nullptr);
    windowClass.lpszClassName = kWindowClass;
    ::RegisterClassExW(&windowClass);
    messageWindow_ =
        ::CreateWindowExW(0, kWindowClass, nullptr, 0, 0, 0, 0, 0, nullptr, nullptr, windowClass.hInstance, this);
}

void AddIn::DestroyMessageWindow() {
    const HWND window = messageWindow_;
    if (window == nullptr) {
        return;
    }
    ::DestroyWindow(window);
    // The class would otherwise outlive the module with a dangling procedure. It stays while another add-in object
    // of this process has a window of it.
    ::UnregisterClassW(kWindowClass, ::GetModuleHandleW(nullptr));
}

/// The window goes, at the add-in's wish or because another program has closed it: its number may soon be another
/// window's.
void AddIn::LoseMessageWindow(HWND window) noexcept {
    if (!messageWindow_.compare_exchange_strong(window, nullptr)) {
        return;
    }
    gate_->Wait(); // A notification that has already read the handle still posts.
    DropTasks(window);
}

LRESULT CALLBACK AddIn::MessageWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    auto* owner = static_cast<AddIn*>(::GetPropW(window, kOwnerProperty));
    switch (message) {
    case WM_NCCREATE:
        // A window has its owner from its creation on: this message can be sent to it by anybody.
        if (owner == nullptr && !::SetPropW(window, kOwnerProperty, CreationParameter(lParam))) {
            return FALSE; // No window: a task would run on an add-in that nothing keeps alive.
        }
        break;
    case WM_NCDESTROY:
        if (owner != nullptr) {
            owner->LoseMessageWindow(window);
        }
        ::RemovePropW(window, kOwnerProperty);
        break;
    case kRunTask: {
        const std::unique_ptr<Task> task(reinterpret_cast<Task*>(lParam));
        if (task != nullptr && *task && owner != nullptr) {
            // A task can pump messages, and the host may let go of the add-in meanwhile.
            const IUnknownPtr alive(static_cast<IConnect*>(owner));
            RunTask(*task);
        }
        return 0;
    }
    default:
        break;
    }
    return ::DefWindowProcW(window, message, wParam, lParam);
}

INT_PTR CALLBACK AddIn::DialogProc(HWND dialog, UINT message, WPARAM wParam, LPARAM /*lParam*/) noexcept {
    if (message == WM_INITDIALOG) {
        // Shared: the system keeps the icon for all dialogs and frees it.
        const HANDLE icon = ::LoadImageW(ModuleState::module, MAKEINTRESOURCEW(IDI_ADDIN), IMAGE_ICON,
                                         ::GetSystemMetrics(SM_CXSMICON), ::GetSystemMetrics(SM_CYSMICON), LR_SHARED);
        ::SendMessageW(dialog, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(icon));
    } else if (message == WM_COMMAND && HIWORD(wParam) == 0) {
        ::EndDialog(dialog, LOWORD(wParam));
    }
    // Deliberate: FALSE for the two above as well. Nothing needs a message to be kept from the dialog manager. It then
    // sets no focus when it makes the dialog, but the dialog passes the focus of its activation on to its first button
    // that can be seen, or keeps it and takes the keys itself.
    return FALSE;
}

INT_PTR AddIn::ShowDialog(int chineseId, int englishId, const OwnerWindow& owner) {
    const int id = IsChinese() ? chineseId : englishId;
    // The owner is asked now: it may have closed since it was found, and a dialog of a closed owner would not appear.
    return ::DialogBoxParamW(ModuleState::module, MAKEINTRESOURCEW(id), owner.Get(), &AddIn::DialogProc, 0);
}

void AddIn::NotifyProc(const NotifyData& data) {
    switch (data.type) {
    case kScheduled:
        return OnMeetingScheduled(data);
    case kModified:
        return OnMeetingModified(data);
    case kCancelled:
        return OnMeetingCancelled(data);
    case kChanged:
        return OnMeetingChanged(data);
    default:
        return;
    }
}

void AddIn::OnMeetingScheduled(const NotifyData& data) {
    Outlook::_AppointmentItemPtr item;
    // Taken first: the calls below can pump messages, and the next notification must not find this inspector again.
    if (Outlook::_InspectorPtr inspector = std::exchange(currentInspector_, nullptr); inspector) {
        GetAppointItemForInspector(inspector, item);
        Outlook::Close(inspector, Outlook::olDiscard);
    }
    if (!item) {
        const HRESULT status = CreateMeetingItem(item);
        if (FAILED(status)) {
            LogLine(kSource, L"AddIn::NotifyProc").Error() << L"Create meeting item fail: 0x" << Hex(status);
            return;
        }
    }
    Outlook::PutMeetingStatus(item, Outlook::olMeeting);
    PutMeeting(item, data);
    SetAppointmentItemFlag(item, Marker::kIsNewItem, true);
    SetAppointmentItemFlag(item, Marker::kFlag, true);
    SetAppointmentItemString(item, Marker::kConfId, data.confId);
    Outlook::Display(item);
}

void AddIn::OnMeetingModified(const NotifyData& data) {
    if (data.code != 0) {
        LogLine(kSource, L"AddIn::NotifyProc").Error() << L"Modify meeting fail: " << data.code;
    }
    if (currentInspector_) {
        ShowDialog(IDD_UPDATED_ZH, IDD_UPDATED_EN, OwnerWindow(sinks_, application_, nullptr));
    }
}

void AddIn::OnMeetingCancelled(const NotifyData& data) {
    if (data.code != 0) {
        LogLine(kSource, L"AddIn::NotifyProc").Error() << L"Cancel meeting fail: " << data.code;
    }
}

void AddIn::OnMeetingChanged(const NotifyData& data) {
    Outlook::_AppointmentItemPtr item;
    if (FAILED(GetAppointItemFromEntryId(data.confOutlookId, item)) || !item) {
        return; // The lookup has logged it.
    }
    PutMeeting(item, data);
    // The user saves it.
    ShowDialog(IDD_UPDATED_ZH, IDD_UPDATED_EN, OwnerWindow(sinks_, application_, item));
}
