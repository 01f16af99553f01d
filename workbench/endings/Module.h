#pragma once

#include <windows.h>
#include <oaidl.h>

#include <string>

namespace endings {

/// The add-in's module and one object of it, without a host. COM is initialised.
class Module {
public:
    /// @throws std::runtime_error
    Module();
    ~Module();
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    IDispatch* Object() const { return object_; }
    HRESULT CanUnload() const;
    /// Has the add-in log a line with that text.
    void Log(const std::string& text) const { LogBy(object_, text); }
    static void LogBy(IDispatch* object, const std::string& text);

    /// @return the references that are left.
    ULONG ReleaseObject();
    void Free();
    /// Whether it is mapped in this process, whoever loaded it.
    static bool IsMapped();

private:
    HMODULE module_ = nullptr;
    IDispatch* object_ = nullptr;
};

} // namespace endings
