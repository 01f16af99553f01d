#pragma once

#include "Outlook/ObjectModel/ComPointers.h"

#include <new>

/// Logs an exception that reached a boundary. @return the exception's status.
HRESULT ReportCaught(const wchar_t* source, const wchar_t* method, HRESULT status) noexcept;

/// Runs the body of a COM method. An exception becomes a status.
template <class Body>
HRESULT GuardComCall(const wchar_t* source, const wchar_t* method, Body&& body) noexcept {
    try {
        return body();
    } catch (const _com_error& error) {
        return ReportCaught(source, method, error.Error());
    } catch (const std::bad_alloc&) {
        return ReportCaught(source, method, E_OUTOFMEMORY);
    } catch (...) {
        return ReportCaught(source, method, E_UNEXPECTED);
    }
}
