#pragma once

#include "support/UniqueResource.h"

#include <windows.h>

#include <span>
#include <string>

/// The standard controls of the interactive windows, in Outlook's stand-in and in the client's.
namespace interactive {

struct ControlRow {
    const wchar_t* type;
    const wchar_t* text;
    DWORD style;
    int id;
    RECT place; ///< in pixels
};

inline constexpr DWORD kPushButton = WS_TABSTOP | BS_PUSHBUTTON;
inline constexpr DWORD kEditLine = WS_TABSTOP | WS_BORDER | ES_AUTOHSCROLL;
inline constexpr DWORD kList = WS_TABSTOP | WS_BORDER | WS_VSCROLL | LBS_NOTIFY | LBS_NOINTEGRALHEIGHT;

/// Makes visible child controls with one font. The parent window destroys them.
inline void AddControls(HWND parent, std::span<const ControlRow> rows) {
    static const UniqueGdiObject font(::CreateFontW(-12, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                                                    OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY,
                                                    DEFAULT_PITCH, L"Segoe UI"));
    for (const auto& [type, text, style, id, place] : rows) {
        const HWND control =
            ::CreateWindowExW(0, type, text, WS_CHILD | WS_VISIBLE | style, place.left, place.top,
                              place.right - place.left, place.bottom - place.top, parent,
                              reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), ::GetModuleHandleW(nullptr), nullptr);
        ::SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font.Get()), TRUE);
    }
}

inline void MoveControl(HWND control, const RECT& place) {
    ::MoveWindow(control, place.left, place.top, place.right - place.left, place.bottom - place.top, TRUE);
}

inline std::wstring TextOf(HWND window) {
    std::wstring text(static_cast<std::size_t>(::GetWindowTextLengthW(window)) + 1, L'\0');
    text.resize(static_cast<std::size_t>(::GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
    return text;
}

} // namespace interactive
