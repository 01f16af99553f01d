#pragma once

#include "workbench/host/ComHeaders.h"
#include "workbench/host/Call.h"
#include "workbench/host/Events.h"
#include "workbench/host/HostCore.h"

#include <atomic>
#include <memory>
#include <span>
#include <string>

namespace workbench {

/// A row of an object's own table. Numbers are dispatched per object: the same number means different members
/// elsewhere.
struct Member {
    DISPID id;
    const wchar_t* name;
    WORD kinds; // DISPATCH_METHOD, DISPATCH_PROPERTYGET, DISPATCH_PROPERTYPUT
    UINT least; // arguments of a method or get; a put has one more
    UINT most;
    HRESULT (*handler)(Call& call);
};

inline constexpr WORD kMethod = DISPATCH_METHOD;
inline constexpr WORD kGet = DISPATCH_PROPERTYGET;
inline constexpr WORD kGetPut = DISPATCH_PROPERTYGET | DISPATCH_PROPERTYPUT;

struct ObjectClass {
    const wchar_t* name;
    GUID iid;
    std::span<const Member> members;
};

/// Base of all host objects: late binding over a table, call log, habits, ledger. Starts with one reference.
class DispatchObject : public IDispatch, public IConnectionPointContainer, public IOleWindow {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) noexcept override;
    ULONG STDMETHODCALLTYPE AddRef() noexcept override;
    ULONG STDMETHODCALLTYPE Release() noexcept override;
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) noexcept override;
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) noexcept override;
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, LCID locale,
                                            DISPID* ids) noexcept override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID riid, LCID locale, WORD flags, DISPPARAMS* params,
                                     VARIANT* result, EXCEPINFO* exception, UINT* argument) noexcept override;
    HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints** points) noexcept override;
    HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID iid, IConnectionPoint** point) noexcept override;
    HRESULT STDMETHODCALLTYPE GetWindow(HWND* window) noexcept override;
    HRESULT STDMETHODCALLTYPE ContextSensitiveHelp(BOOL enter) noexcept override;

    const std::wstring& Name() const { return name_; }
    /// Takes a reference unless the object is already dying.
    bool TryAddRef() noexcept;
    /// The object whose IUnknown this one shares.
    void ShareIdentity(DispatchObject& identity) { identity_ = UnknownPtr(static_cast<IDispatch*>(&identity)); }

    DispatchObject(const DispatchObject&) = delete;
    DispatchObject& operator=(const DispatchObject&) = delete;

protected:
    DispatchObject(std::shared_ptr<HostCore> core, const ObjectClass& type, const void* key, const std::wstring& label);
    virtual ~DispatchObject();

    virtual std::shared_ptr<EventSource> Source() { return nullptr; }
    virtual bool HasWindow() const { return false; }
    virtual HWND OleWindow() const { return nullptr; }
    /// Runs before a client's Release takes its reference away; may deliver events.
    virtual void BeforeRelease() {}

private:
    ULONG DropReference() noexcept;
    HRESULT Query(REFIID riid, void** object);
    template <class Body>
    HRESULT Counted(const wchar_t* member, REFIID iid, Body&& body);
    HRESULT Run(DISPID id, WORD flags, const DISPPARAMS& params, VARIANT* result);
    bool OnWrongThread() noexcept;
    const Member* FindMember(DISPID id, WORD flags) const;

    std::shared_ptr<HostCore> core_;
    const ObjectClass& type_;
    const void* key_;
    std::wstring name_;
    UnknownPtr identity_;
    std::atomic<long> references_{1};
};

/// A host object over a part of the host's own model, which it keeps alive.
template <class Model>
class ObjectOf final : public DispatchObject {
public:
    ObjectOf(std::shared_ptr<HostCore> core, const ObjectClass& type, const void* key, const std::wstring& label,
             std::shared_ptr<Model> model)
        : DispatchObject(std::move(core), type, key, label), model_(std::move(model)) {}

    static Model& Of(Call& call) { return *static_cast<ObjectOf&>(call.Self()).model_; }

protected:
    std::shared_ptr<EventSource> Source() override {
        if constexpr (requires { model_->SharedEvents(); }) {
            return model_->SharedEvents();
        } else {
            return nullptr;
        }
    }
    bool HasWindow() const override {
        return requires {
            model_->Window();
        };
    }
    HWND OleWindow() const override {
        if constexpr (requires { model_->Window(); }) {
            return model_->Window();
        } else {
            return nullptr;
        }
    }
    void BeforeRelease() override {
        if constexpr (requires { model_->DeliverPendingClose(); }) {
            const std::shared_ptr<Model> model = model_; // the event may take this object's last reference
            model->DeliverPendingClose();
        }
    }

private:
    std::shared_ptr<Model> model_;
};

/// Hands out the COM object of `model`: the living one or a new one, as the habits say. `key` stands for its identity.
template <class Model>
DispatchPtr HandOut(const std::shared_ptr<HostCore>& core, const ObjectClass& type, const void* key,
                    const std::wstring& label, const std::shared_ptr<Model>& model) {
    const auto make = [&] { return new ObjectOf<Model>(core, type, key, label, model); };
    if (core->habits.distinctPointers && core->habits.distinctIdentity) {
        return DispatchPtr(static_cast<IDispatch*>(make()), false);
    }
    DispatchObject* canonical = nullptr;
    {
        const std::scoped_lock lock(core->livingLock);
        const auto found = core->living.find(key);
        if (found != core->living.end() && found->second->TryAddRef()) {
            canonical = found->second;
        }
    }
    if (!canonical) {
        canonical = make();
        const std::scoped_lock lock(core->livingLock);
        core->living[key] = canonical;
    }
    DispatchPtr result(static_cast<IDispatch*>(canonical), false);
    if (core->habits.distinctPointers) {
        auto* fresh = make();
        fresh->ShareIdentity(*canonical);
        result.Attach(static_cast<IDispatch*>(fresh), false);
    }
    return result;
}

} // namespace workbench
