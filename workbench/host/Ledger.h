#pragma once

#include <atomic>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace workbench {

/// Knows every COM object the host has handed out. The host itself keeps no reference to
/// its COM objects, so whatever is outstanding is held by the add-in (or by the test). Any thread.
class Ledger {
public:
    /// @param references the object's live counter, read whenever somebody asks.
    void Add(const void* object, std::wstring name, const std::atomic<long>* references);
    void Remove(const void* object);

    /// One readable line for each object that still has references: "Inspector #7: 2 references".
    std::vector<std::wstring> Outstanding() const;
    /// Objects handed out since the start, living or not.
    std::size_t Created() const;

private:
    struct Entry {
        std::wstring name;
        const std::atomic<long>* references;
    };

    mutable std::mutex lock_;
    std::map<const void*, Entry> objects_;
    std::size_t created_ = 0;
};

} // namespace workbench
