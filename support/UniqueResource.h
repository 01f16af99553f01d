#pragma once

#include <windows.h>

#include <utility>

/// Owns one platform resource and gives it back when it dies. Move-only.
/// Traits: `Value`, `Empty()` (the value that means "nothing owned") and `Close(value)`, called for owned values only.
template <class Traits>
class UniqueResource {
public:
    using Value = typename Traits::Value;

    UniqueResource() noexcept = default;
    explicit UniqueResource(Value value) noexcept : value_(value) {}
    ~UniqueResource() { Reset(); }

    UniqueResource(const UniqueResource&) = delete;
    UniqueResource& operator=(const UniqueResource&) = delete;
    UniqueResource(UniqueResource&& other) noexcept : value_(other.Detach()) {}
    UniqueResource& operator=(UniqueResource&& other) noexcept {
        if (this != &other) {
            Reset(other.Detach());
        }
        return *this;
    }

    Value Get() const noexcept { return value_; }
    explicit operator bool() const noexcept { return value_ != Traits::Empty(); }

    /// Gives the value up without closing it.
    Value Detach() noexcept { return std::exchange(value_, Traits::Empty()); }

    /// Closes what is owned, then owns `value`.
    void Reset(Value value = Traits::Empty()) noexcept {
        const Value old = std::exchange(value_, value);
        if (old != Traits::Empty()) {
            Traits::Close(old);
        }
    }

private:
    Value value_ = Traits::Empty();
};

struct WindowTraits { // Only for windows of the calling thread; another thread's window gets WM_CLOSE instead.
    using Value = HWND;
    static Value Empty() noexcept { return nullptr; }
    static void Close(Value window) noexcept { ::DestroyWindow(window); }
};
using UniqueWindow = UniqueResource<WindowTraits>;

struct HandleTraits { // Kernel objects whose failed creation gives null: threads, events, mappings.
    using Value = HANDLE;
    static Value Empty() noexcept { return nullptr; }
    static void Close(Value handle) noexcept { ::CloseHandle(handle); }
};
using UniqueHandle = UniqueResource<HandleTraits>;

struct FindTraits { // A failed find is INVALID_HANDLE_VALUE, not null.
    using Value = HANDLE;
    static Value Empty() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Value find) noexcept { ::FindClose(find); }
};
using UniqueFind = UniqueResource<FindTraits>;

struct KeyTraits {
    using Value = HKEY;
    static Value Empty() noexcept { return nullptr; }
    static void Close(Value key) noexcept { ::RegCloseKey(key); }
};
using UniqueKey = UniqueResource<KeyTraits>;

struct GdiTraits {
    using Value = HGDIOBJ;
    static Value Empty() noexcept { return nullptr; }
    static void Close(Value object) noexcept { ::DeleteObject(object); }
};
using UniqueGdiObject = UniqueResource<GdiTraits>;
