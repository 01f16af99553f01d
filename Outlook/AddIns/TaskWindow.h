#pragma once

#include <windows.h>
#include <unknwn.h>

#include <atomic>
#include <functional>

class NotifyGate;

/// The add-in's hidden message window, through which all work reaches the user-interface thread. A posted task runs
/// later in that thread's message loop. User-interface thread, except `Post`.
class TaskWindow {
public:
    using Task = std::function<void()>;

    /// @param gate the gate through which other threads call `Post`. It outlives the window.
    explicit TaskWindow(NotifyGate& gate) noexcept : gate_(gate) {}
    ~TaskWindow() { Destroy(); }
    TaskWindow(const TaskWindow&) = delete;
    TaskWindow& operator=(const TaskWindow&) = delete;

    /// Does nothing when the window exists. When memory is exhausted there is no window, and tasks are lost.
    /// @param owner kept alive while a task runs: a task can pump messages, and the host may release the add-in
    ///   meanwhile. The owner outlives this object.
    void Create(IUnknown* owner);
    /// Destroys the window and frees the tasks that still wait.
    void Destroy();

    /// Runs a task later on the user-interface thread. The task is lost when there is no window. Any thread; threads
    /// other than the user-interface thread call through the gate.
    void Post(Task task);

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
    void Forget() noexcept;

    NotifyGate& gate_;
    std::atomic<HWND> window_{nullptr};
};
