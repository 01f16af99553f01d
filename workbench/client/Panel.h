#pragma once

#include "support/UniqueResource.h"

#include <json/value.h>

#include <deque>
#include <string>
#include <vector>

namespace meeting_client {

/// A small window to look at: the meetings and the last commands. It moves to the middle of the window that the last
/// command came from. Texts are UTF-8.
class Panel {
public:
    Panel();

    void SetMeetings(std::vector<std::string> lines);
    void AddCommand(const Json::Value& command);

private:
    static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept;
    void Paint();
    void MoveTo(int centerX, int centerY);

    std::vector<std::string> meetings_;
    std::deque<std::string> commands_;
    UniqueGdiObject font_;
    UniqueGdiObject heading_;
    UniqueWindow window_; // last: it paints with the others
};

} // namespace meeting_client
