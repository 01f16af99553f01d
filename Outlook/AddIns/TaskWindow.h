#pragma once

#include <windows.h>
#include <unknwn.h>

#include <atomic>
#include <functional>

class NotifyGate;

/// The add-in's hidden message window: the one way for work to reach the user-interface thread. A task that is posted
/// to it runs later in that thread's message loop. User-interface thread, but for `Post`.
class TaskWindow {
public:
    using Task = std::function<void()>;

    /// @param gate the way by which other threads come to `Post`. It outlives the window.
    explicit TaskWindow(NotifyGate& gate) noexcept : gate_(gate) {}
    ~TaskWindow() { Destroy(); }
    TaskWindow(const TaskWindow&) = delete;
    TaskWindow& operator=(const TaskWindow&) = delete;

    /// Does nothing when the window exists. Without memory there is no window, and tasks are lost.
    /// @param owner kept alive while a task runs: a task can pump messages, and the host may let go of the add-in
    ///   meanwhile. The owner outlives this object.
    void Create(IUnknown* owner);
    /// Destroys the window and frees the tasks that still wait.
    void Destroy();

    /// Runs a task later on the user-interface thread. It is lost when there is no window. Any thread; others than the
    /// user-interface thread come through the gate.
    void Post(Task task);

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
    void Forget() noexcept;

    NotifyGate& gate_;
    std::atomic<HWND> window_{nullptr};
};
