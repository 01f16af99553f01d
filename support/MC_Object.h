#pragma once

#include "support/MC_Critical_Section.h"

#include <cstdint>

/// Reference-counted base, made with `new` and one reference. The count is not protected: one thread at a time.
class MC_Object {
public:
    MC_Object() noexcept = default;
    virtual ~MC_Object() = default;

    MC_Object(const MC_Object&) = delete;
    MC_Object& operator=(const MC_Object&) = delete;

    /// The count has 16 bits and wraps. @return the new count.
    virtual uint16_t AddRef() noexcept;
    /// Destroys the object when the count reaches 0. @return the new count.
    virtual uint16_t Release() noexcept;

    /// For derived classes; both do nothing here.
    virtual void OnNotify(uint32_t code, uint64_t value);
    virtual void OnIdle();

    virtual uint16_t GetRefCount() const noexcept;

protected:
    uint16_t refCount_ = 1;
};

/// The same with a locked count: any thread that holds a reference.
class MC_ObjectX : public MC_Object {
public:
    uint16_t AddRef() noexcept override;
    /// A count that is 0 already stays 0.
    uint16_t Release() noexcept override;

private:
    MC_Critical_Section lock_{true};
};
