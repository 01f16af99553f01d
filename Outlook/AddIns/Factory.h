#pragma once

#include <unknwn.h>

#include <atomic>
#include <cstdint>

/// The class factory of the add-in object. It starts with one reference and frees itself with the last one. Any thread.
class Factory final : public IClassFactory {
public:
    Factory() noexcept = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) noexcept override;
    ULONG STDMETHODCALLTYPE AddRef() noexcept override;
    ULONG STDMETHODCALLTYPE Release() noexcept override;
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID riid, void** ppv) noexcept override;
    HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) noexcept override;

private:
    ~Factory() = default;

    HRESULT Create(IUnknown* outer, REFIID riid, void** ppv);

    std::atomic<uint32_t> refCount_{1};
};
