#pragma once

#include "workbench/verify/core/MallocSpy.h"

#include <set>
#include <string>

/// Knows the large blocks that COM's allocator has given out since `Watch`, BSTRs among them. Large, because small
/// BSTRs are kept in a cache after they were freed.
class LargeTextSpy final : public verify::MallocSpy {
public:
    static constexpr size_t kLarge = 200'000; // bytes

    /// The one spy of the process. It is never taken away again: COM calls it until the last block that it has seen is
    /// freed, and the cache may keep some for good.
    static LargeTextSpy& Watch() {
        static LargeTextSpy& spy = *new LargeTextSpy;
        spy.living_.clear();
        spy.seen_ = 0;
        return spy;
    }

    static std::wstring LargeText() { return std::wstring(kLarge, L'x'); }
    size_t Living() const { return living_.size(); }
    size_t Seen() const { return seen_; }

    SIZE_T STDMETHODCALLTYPE PreAlloc(SIZE_T size) noexcept override { return size_ = size; }
    void* STDMETHODCALLTYPE PostAlloc(void* block) noexcept override {
        if (block != nullptr && size_ >= kLarge) {
            living_.insert(block);
            ++seen_;
        }
        return block;
    }
    void* STDMETHODCALLTYPE PreFree(void* block, BOOL) noexcept override {
        living_.erase(block);
        return block;
    }

private:
    LargeTextSpy() = default;

    SIZE_T size_ = 0; // The allocator calls under a lock of its own.
    std::set<void*> living_;
    size_t seen_ = 0;
};
