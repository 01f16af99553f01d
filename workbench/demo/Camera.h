#pragma once

#include <windows.h>

#include <string>

namespace demo {

/// Has pictures of windows taken by whoever reads the standard output: a line "@picture NAME WIDTHxHEIGHT+LEFT+TOP"
/// asks for one, the file FOLDER\NAME.png answers that it has been taken. Does nothing without a folder.
class Camera {
public:
    Camera(std::wstring folder, std::wstring suffix);

    bool On() const { return !folder_.empty(); }
    /// Puts a window into the middle of the screen, if there are pictures.
    void Arrange(HWND window, SIZE size) const;
    /// Takes the window with the dialog over it, if there is one. Waits until the picture is there; handles messages
    /// meanwhile.
    void Take(const std::wstring& name, HWND window);
    /// Takes the whole screen.
    void TakeScreen(const std::wstring& name);
    /// The first picture that nobody took; empty when there is none. `Take` does not throw: it is called from
    /// inside dialogs.
    const std::wstring& Missed() const { return missed_; }

private:
    void Ask(const std::wstring& name, const RECT& place);

    std::wstring folder_;
    std::wstring suffix_;
    std::wstring missed_;
};

} // namespace demo
