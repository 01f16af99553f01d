#pragma once

#include <windows.h>
#include <objbase.h>

namespace verify {

/// A spy on COM's allocator that lets everything pass; a derived class overrides the calls of interest. The allocator
/// calls under a lock of its own. A spy is never destroyed: COM keeps it as long as a block that it has seen lives.
class MallocSpy : public IMallocSpy {
public:
    MallocSpy(const MallocSpy&) = delete;
    MallocSpy& operator=(const MallocSpy&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) noexcept override {
        *object = riid == IID_IUnknown || riid == IID_IMallocSpy ? this : nullptr;
        return *object != nullptr ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() noexcept override { return 2; }
    ULONG STDMETHODCALLTYPE Release() noexcept override { return 1; }
    SIZE_T STDMETHODCALLTYPE PreAlloc(SIZE_T size) noexcept override { return size; }
    void* STDMETHODCALLTYPE PostAlloc(void* block) noexcept override { return block; }
    void* STDMETHODCALLTYPE PreFree(void* block, BOOL) noexcept override { return block; }
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

protected:
    MallocSpy() { ::CoRegisterMallocSpy(this); }
    ~MallocSpy() = default;
};

} // namespace verify
