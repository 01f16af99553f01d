#include "workbench/host/CallLog.h"

#include "workbench/host/Describe.h"

#include <algorithm>
#include <utility>

namespace workbench {

std::wstring CallRecord::Text() const {
    return std::to_wstring(number) + L" " + object + L"." + member + L"(" + arguments + L") = " +
           DescribeHex(static_cast<unsigned long>(result)) + (forced ? L" (on purpose)" : L"");
}

void CallLog::FailWhen(Decide decide) {
    const std::scoped_lock lock(lock_);
    decide_ = std::move(decide);
}

void CallLog::FailMember(const std::wstring& member, FailKind kind, HRESULT status) {
    const std::scoped_lock lock(lock_);
    byMember_[member] = Failure{kind, status};
}

void CallLog::ClearFailures() {
    const std::scoped_lock lock(lock_);
    decide_ = nullptr;
    byMember_.clear();
}

std::vector<CallRecord> CallLog::Calls() const {
    const std::scoped_lock lock(lock_);
    return calls_;
}

std::size_t CallLog::Count() const {
    const std::scoped_lock lock(lock_);
    return calls_.size();
}

std::size_t CallLog::CountOf(const std::wstring& member) const {
    const std::scoped_lock lock(lock_);
    return static_cast<std::size_t>(std::count_if(calls_.begin(), calls_.end(), [&](const CallRecord& call) {
        return call.object + L"." + call.member == member;
    }));
}

void CallLog::Reset() {
    const std::scoped_lock lock(lock_);
    calls_.clear();
    ++generation_;
}

std::optional<Failure> CallLog::Begin(CallRecord& record) {
    const std::scoped_lock lock(lock_);
    record.thread = ::GetCurrentThreadId();
    record.number = calls_.size() + 1;
    record.generation = generation_;
    std::optional<Failure> failure = decide_ ? decide_(record) : std::nullopt;
    if (const auto found = byMember_.find(record.object + L"." + record.member); !failure && found != byMember_.end()) {
        failure = found->second;
    }
    record.forced = failure.has_value();
    calls_.push_back(record); // at once: a call may contain further calls, which must follow it
    return failure;
}

void CallLog::End(const CallRecord& record) {
    const std::scoped_lock lock(lock_);
    if (record.generation == generation_) {
        calls_[record.number - 1] = record;
    }
}

} // namespace workbench
