#pragma once

#include "Outlook/ObjectModel/ComPointers.h"

#include <set>
#include <string>

/// Knows the large blocks that COM's allocator has given out since `Watch`, BSTRs among them. Large, because small
/// BSTRs are kept in a cache after they were freed.
class LargeTextSpy final : public IMallocSpy {
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
    LargeTextSpy(const LargeTextSpy&) = delete;
    LargeTextSpy& operator=(const LargeTextSpy&) = delete;

    static std::wstring LargeText() { return std::wstring(kLarge, L'x'); }
    size_t Living() const { return living_.size(); }
    size_t Seen() const { return seen_; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) noexcept override {
        *object = riid == IID_IUnknown || riid == IID_IMallocSpy ? this : nullptr;
        return *object != nullptr ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() noexcept override { return 2; }
    ULONG STDMETHODCALLTYPE Release() noexcept override { return 1; }
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
    void STDMETHODCALLTYPE PostFree(BOOL) noexcept override {}
    SIZE_T STDMETHODCALLTYPE PreRealloc(void* block, SIZE_T size, void** newBlock, BOOL) noexcept override {
        *newBlock = block;
        return size;
    }
    void* STDMETHODCALLTYPE PostRealloc(void* block, BOOL) noexcept override { return block; }
    void* STDMETHODCALLTYPE PreGetSize(void* block, BOOL) noexcept override { return block; }
    SIZE_T STDMETHODCALLTYPE PostGetSize(SIZE_T size, BOOL) noexcept override { return size; }
    void* STDMETHODCALLTYPE PreDidAlloc(void* block, BOOL) noexcept override { return block; }
    int STDMETHODCALLTYPE PostDidAlloc(void*, BOOL, int actual) noexcept override { return actual; }
    void STDMETHODCALLTYPE PreHeapMinimize() noexcept override {}
    void STDMETHODCALLTYPE PostHeapMinimize() noexcept override {}

private:
    LargeTextSpy() { ::CoRegisterMallocSpy(this); }

    SIZE_T size_ = 0; // The allocator calls under a lock of its own.
    std::set<void*> living_;
    size_t seen_ = 0;
};
