#include "workbench/host/Ledger.h"

#include <algorithm>

namespace workbench {

void Ledger::Add(const void* object, std::wstring name, const std::atomic<long>* references) {
    const std::scoped_lock lock(lock_);
    objects_[object] = Entry{std::move(name), references};
    ++created_;
}

void Ledger::Remove(const void* object) {
    const std::scoped_lock lock(lock_);
    objects_.erase(object);
}

std::vector<std::wstring> Ledger::Outstanding() const {
    const std::scoped_lock lock(lock_);
    std::vector<std::wstring> lines;
    for (const auto& [object, entry] : objects_) {
        const long count = entry.references->load();
        lines.push_back(entry.name + L": " + std::to_wstring(count) + (count == 1 ? L" reference" : L" references"));
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

std::size_t Ledger::Created() const {
    const std::scoped_lock lock(lock_);
    return created_;
}

} // namespace workbench
