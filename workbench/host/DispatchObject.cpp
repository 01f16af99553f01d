#include "workbench/host/DispatchObject.h"

#include "workbench/host/ConnectionPoint.h"
#include "workbench/host/Describe.h"

#include <cwchar>
#include <new>

namespace workbench {
namespace {

constexpr WORD kAnyPut = DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF;

/// Runs `body`; what it throws becomes a status.
template <class Body>
HRESULT Guard(Body&& body) noexcept {
    try {
        return body();
    } catch (const _com_error& error) {
        return error.Error();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

void FillTexts(EXCEPINFO& exception, HRESULT status) noexcept {
    exception.scode = status;
    exception.bstrSource = ::SysAllocString(L"Microsoft Outlook");
    exception.bstrDescription = ::SysAllocString(L"The operation failed.");
    exception.bstrHelpFile = ::SysAllocString(L"vbaol11.chm");
}

HRESULT STDMETHODCALLTYPE FillInLater(EXCEPINFO* exception) noexcept {
    // The status waits in pvReserved: this function is given nothing else.
    FillTexts(*exception, static_cast<HRESULT>(reinterpret_cast<LONG_PTR>(exception->pvReserved)));
    exception->pvReserved = nullptr;
    exception->pfnDeferredFillIn = nullptr;
    return S_OK;
}

HRESULT RaiseException(HRESULT status, bool deferred, EXCEPINFO* exception) noexcept {
    if (exception) {
        *exception = EXCEPINFO{};
        if (deferred) {
            exception->pvReserved = reinterpret_cast<void*>(static_cast<LONG_PTR>(status));
            exception->pfnDeferredFillIn = &FillInLater;
        } else {
            FillTexts(*exception, status);
        }
    }
    return DISP_E_EXCEPTION;
}

/// Failures of the call itself; everything else is the member's and travels as an exception.
bool IsCallFailure(HRESULT status) {
    return HRESULT_FACILITY(status) == FACILITY_DISPATCH || status == RPC_E_WRONG_THREAD ||
           status == RPC_E_DISCONNECTED;
}

} // namespace

DispatchObject::DispatchObject(std::shared_ptr<HostCore> core, const ObjectClass& type, const void* key,
                               const std::wstring& label)
    : core_(std::move(core)), type_(type), key_(key), name_(std::wstring(type.name) + L" " + label) {
    core_->ledger.Add(this, name_, &references_);
}

DispatchObject::~DispatchObject() {
    core_->ledger.Remove(this);
}

bool DispatchObject::TryAddRef() noexcept {
    long seen = references_.load();
    while (seen != 0) {
        if (references_.compare_exchange_weak(seen, seen + 1)) {
            return true;
        }
    }
    return false;
}

ULONG DispatchObject::AddRef() noexcept {
    return static_cast<ULONG>(++references_);
}

ULONG DispatchObject::Release() noexcept {
    if (::GetCurrentThreadId() == core_->thread && core_->host) {
        Guard([&] {
            BeforeRelease();
            return S_OK;
        });
    }
    return DropReference();
}

ULONG DispatchObject::DropReference() noexcept {
    const long left = --references_;
    if (left == 0) {
        const std::shared_ptr<HostCore> core = core_;
        {
            const std::scoped_lock lock(core->livingLock);
            const auto found = core->living.find(key_);
            if (found != core->living.end() && found->second == this) {
                core->living.erase(found);
            }
        }
        delete this;
    }
    return static_cast<ULONG>(left);
}

/// Runs `body` as a numbered call if such calls are to be counted.
template <class Body>
HRESULT DispatchObject::Counted(const wchar_t* member, REFIID iid, Body&& body) {
    if (!core_->habits.countQueryInterface) {
        return body();
    }
    CallRecord record;
    record.object = type_.name;
    record.member = member;
    record.arguments = DescribeIid(iid);
    const auto failure = core_->calls.Begin(record);
    record.result = failure ? failure->status : body();
    core_->calls.End(record);
    if (core_->observer) {
        core_->Tell(StepKind::Call, record.Text());
    }
    return record.result;
}

HRESULT DispatchObject::QueryInterface(REFIID riid, void** object) noexcept {
    if (!object) {
        return E_POINTER;
    }
    *object = nullptr;
    return Guard([&] { return Counted(L"QueryInterface", riid, [&] { return Query(riid, object); }); });
}

HRESULT DispatchObject::Query(REFIID riid, void** object) {
    if (riid == IID_IUnknown && identity_) {
        return identity_->QueryInterface(riid, object);
    }
    if (riid == IID_IUnknown || riid == IID_IDispatch || riid == type_.iid) {
        *object = static_cast<IDispatch*>(this);
    } else if (riid == IID_IConnectionPointContainer && Source()) {
        *object = static_cast<IConnectionPointContainer*>(this);
    } else if (riid == IID_IOleWindow && HasWindow() && !core_->habits.noOleWindow) {
        *object = static_cast<IOleWindow*>(this);
    } else {
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

HRESULT DispatchObject::GetTypeInfoCount(UINT* count) noexcept {
    if (!count) {
        return E_POINTER;
    }
    *count = 0;
    return S_OK;
}

HRESULT DispatchObject::GetTypeInfo(UINT, LCID, ITypeInfo** info) noexcept {
    if (info) {
        *info = nullptr;
    }
    return E_NOTIMPL;
}

HRESULT DispatchObject::GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, LCID, DISPID* ids) noexcept {
    if (riid != IID_NULL) {
        return DISP_E_UNKNOWNINTERFACE;
    }
    if (!names || !ids || count == 0) {
        return E_INVALIDARG;
    }
    if (OnWrongThread()) {
        return RPC_E_WRONG_THREAD;
    }
    for (UINT i = 0; i < count; ++i) {
        ids[i] = DISPID_UNKNOWN;
    }
    for (const Member& member : type_.members) {
        if (_wcsicmp(member.name, names[0]) == 0) {
            ids[0] = member.id;
            return count == 1 ? S_OK : DISP_E_UNKNOWNNAME;
        }
    }
    return DISP_E_UNKNOWNNAME;
}

bool DispatchObject::OnWrongThread() noexcept {
    if (::GetCurrentThreadId() == core_->thread) {
        return false;
    }
    ++core_->wrongThreadCalls;
    return true;
}

const Member* DispatchObject::FindMember(DISPID id, WORD flags) const {
    for (const Member& member : type_.members) {
        // A method is never a property; a put must be asked for as a put.
        const WORD wanted = (flags & kAnyPut) ? static_cast<WORD>(DISPATCH_PROPERTYPUT) : flags;
        if (member.id == id && (member.kinds & wanted) != 0) {
            return &member;
        }
    }
    return nullptr;
}

HRESULT DispatchObject::Invoke(DISPID id, REFIID riid, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                               EXCEPINFO* exception, UINT*) noexcept {
    if (riid != IID_NULL) {
        return DISP_E_UNKNOWNINTERFACE;
    }
    if (!params) {
        return E_INVALIDARG;
    }
    AddRef(); // an event fired by the call may take the caller's reference away
    if (result) {
        ::VariantInit(result);
    }
    const HRESULT status = Guard([&] {
        CallRecord record;
        record.object = type_.name;
        record.member = (flags & kAnyPut) ? L"put " : L"";
        const Member* member = FindMember(id, flags);
        record.member += member ? std::wstring(member->name) : DescribeHex(static_cast<unsigned long>(id));
        record.arguments = DescribeArguments(*params);

        const auto failure = core_->calls.Begin(record);
        bool raise = false;
        HRESULT outcome = S_OK;
        if (failure && failure->kind != FailKind::NullResult) {
            outcome = failure->status;
            raise = failure->kind == FailKind::Exception;
        } else if (failure) {
            if (result && !core_->habits.nullAsEmpty) {
                result->vt = VT_DISPATCH;
                result->pdispVal = nullptr;
            }
        } else {
            outcome = Guard([&] { return Run(id, flags, *params, result); });
            raise = FAILED(outcome) && !IsCallFailure(outcome);
        }
        record.result = outcome;
        core_->calls.End(record);
        if (core_->observer) {
            core_->Tell(StepKind::Call, record.Text());
        }
        return raise ? RaiseException(outcome, core_->habits.deferredExceptions, exception) : outcome;
    });
    DropReference();
    return status;
}

HRESULT DispatchObject::Run(DISPID id, WORD flags, const DISPPARAMS& params, VARIANT* result) {
    if (OnWrongThread()) {
        return RPC_E_WRONG_THREAD;
    }
    if (!core_->host) {
        return RPC_E_DISCONNECTED;
    }
    const Member* member = FindMember(id, flags);
    if (!member) {
        return DISP_E_MEMBERNOTFOUND;
    }
    const bool put = (flags & kAnyPut) != 0;
    const UINT more = put ? 1U : 0U;
    if (params.cArgs < member->least + more || params.cArgs > member->most + more) {
        return DISP_E_BADPARAMCOUNT;
    }
    if (put) {
        // Without the named argument the host cannot tell the new value from an index.
        if (params.cNamedArgs != 1 || !params.rgdispidNamedArgs || params.rgdispidNamedArgs[0] != DISPID_PROPERTYPUT) {
            return DISP_E_PARAMNOTFOUND;
        }
    } else if (params.cNamedArgs != 0) {
        return DISP_E_NONAMEDARGS;
    }
    Call call(*this, *core_, flags, params, result);
    return member->handler(call);
}

HRESULT DispatchObject::EnumConnectionPoints(IEnumConnectionPoints** points) noexcept {
    if (!points) {
        return E_POINTER;
    }
    *points = nullptr;
    return E_NOTIMPL;
}

HRESULT DispatchObject::FindConnectionPoint(REFIID iid, IConnectionPoint** point) noexcept {
    if (!point) {
        return E_POINTER;
    }
    *point = nullptr;
    if (OnWrongThread()) {
        return RPC_E_WRONG_THREAD;
    }
    return Guard([&] {
        return Counted(L"FindConnectionPoint", iid, [&] {
            const std::shared_ptr<EventSource> source = Source();
            if (!source || !source->Offers(iid)) {
                return CONNECT_E_NOCONNECTION;
            }
            *point = new ConnectionPoint(core_, source, iid);
            return S_OK;
        });
    });
}

HRESULT DispatchObject::GetWindow(HWND* window) noexcept {
    if (!window) {
        return E_POINTER;
    }
    *window = OnWrongThread() ? nullptr : OleWindow();
    return *window ? S_OK : E_FAIL;
}

HRESULT DispatchObject::ContextSensitiveHelp(BOOL) noexcept {
    return E_NOTIMPL;
}

} // namespace workbench
