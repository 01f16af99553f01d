#pragma once

#include <windows.h>

#include <cstddef>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace workbench {

enum class FailKind {
    Status,     // Invoke itself returns the status
    NullResult, // success, but the result is "no object" (see Habits::nullAsEmpty); the status is not used
    Exception   // DISP_E_EXCEPTION, the status in EXCEPINFO.scode (see Habits::deferredExceptions)
};

struct Failure {
    FailKind kind = FailKind::Exception;
    HRESULT status = E_FAIL;
};

/// One call of the add-in on a host object.
struct CallRecord {
    std::size_t number = 0; // from 1
    std::wstring object;    // class name as in Outlook: "AppointmentItem"
    std::wstring member;    // "Subject", "put Subject", "QueryInterface"
    std::wstring arguments; // short, for reading
    HRESULT result = S_OK;  // the real status: the scode when Invoke returned DISP_E_EXCEPTION
    bool forced = false;    // made to fail by the test
    DWORD thread = 0;
    std::size_t generation = 0; // how often the log had been reset

    std::wstring Text() const; // "12 AppointmentItem.Subject() = 0x0"
};

/// Numbers and keeps every object-model call and says which of them must fail. Any thread.
class CallLog {
public:
    /// Asks for each call whether and how it is to fail; numbers start at 1 after Reset. On any thread, under the lock
    /// of the log.
    using Decide = std::function<std::optional<Failure>(const CallRecord&)>;
    void FailWhen(Decide decide);
    /// Makes every call of `member` ("AppointmentItem.StartUTC", puts as "AppointmentItem.put Subject") fail until
    /// ClearFailures.
    void FailMember(const std::wstring& member, FailKind kind, HRESULT status);
    void ClearFailures();

    std::vector<CallRecord> Calls() const;
    std::size_t Count() const;
    /// Whether "AppointmentItem.Save" and the like was called.
    std::size_t CountOf(const std::wstring& member) const;
    /// Forgets the calls; the next one is number 1 again.
    void Reset();

    /// For host objects: starts a record and says whether the call has to fail.
    std::optional<Failure> Begin(CallRecord& record);
    /// For host objects: files the finished record under its number.
    void End(const CallRecord& record);

private:
    mutable std::mutex lock_;
    std::vector<CallRecord> calls_;
    Decide decide_;
    std::map<std::wstring, Failure> byMember_;
    std::size_t generation_ = 0;
};

} // namespace workbench
