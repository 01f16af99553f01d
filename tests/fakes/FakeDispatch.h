#pragma once

#include "Outlook/ObjectModel/ComPointers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <string>
#include <utility>
#include <vector>

/// The result of a member of a FakeDispatch.
struct FakeAnswer {
    HRESULT status = S_OK;
    _variant_t value = {};     // also handed out by a call that fails
    HRESULT scode = S_OK;      // of the exception record, when the status is DISP_E_EXCEPTION
    std::wstring texts = {};   // its three texts; empty: none
    bool fillsInLater = false; // the record is filled by its function only
};

/// A late-bound object on the stack: answers by name, records its calls in order, fails the test on a member that it
/// was not told about, and must be let go of by everybody at its end.
class FakeDispatch final : public IDispatch {
public:
    struct Call {
        std::wstring member;
        WORD kind = 0;
        std::vector<_variant_t> arguments; // as in rgvarg, that is the last one first
        std::vector<DISPID> named;
    };

    /// Answers QueryInterface for `interfaceId` besides IUnknown and IDispatch.
    explicit FakeDispatch(REFIID interfaceId = IID_NULL) : interfaceId_(interfaceId) {}
    ~FakeDispatch() { EXPECT_EQ(references_, 1) << "references left on a fake object"; }
    FakeDispatch(const FakeDispatch&) = delete;
    FakeDispatch& operator=(const FakeDispatch&) = delete;

    void On(const std::wstring& member, FakeAnswer answer) { answers_[member] = std::move(answer); }
    void On(const std::wstring& member, const _variant_t& value) {
        answers_[member] = FakeAnswer();
        answers_[member].value = value;
    }
    const std::vector<Call>& Calls() const { return calls_; }
    size_t Lookups() const { return lookups_; }
    /// The object as one of the host's interfaces.
    template <class Interface>
    Interface* As() {
        return static_cast<Interface*>(static_cast<IDispatch*>(this));
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) noexcept override {
        *object = nullptr;
        if (riid != IID_IUnknown && riid != IID_IDispatch && riid != interfaceId_) {
            return E_NOINTERFACE;
        }
        *object = static_cast<IDispatch*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() noexcept override { return static_cast<ULONG>(++references_); }
    ULONG STDMETHODCALLTYPE Release() noexcept override { return static_cast<ULONG>(--references_); }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) noexcept override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) noexcept override { return E_NOTIMPL; }

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, LCID,
                                            DISPID* ids) noexcept override {
        ++lookups_;
        EXPECT_TRUE(riid == IID_NULL && count == 1);
        if (answers_.count(names[0]) == 0) {
            return DISP_E_UNKNOWNNAME;
        }
        *ids = IdOf(names[0]);
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID riid, LCID, WORD kind, DISPPARAMS* params, VARIANT* result,
                                     EXCEPINFO* exception, UINT*) noexcept override {
        EXPECT_TRUE(riid == IID_NULL);
        const std::wstring member = NameOf(id);
        Call call{member, kind, {}, {}};
        call.arguments.assign(params->rgvarg, params->rgvarg + params->cArgs);
        call.named.assign(params->rgdispidNamedArgs, params->rgdispidNamedArgs + params->cNamedArgs);
        calls_.push_back(std::move(call));
        const auto found = answers_.find(member);
        if (found == answers_.end()) {
            ADD_FAILURE() << "unknown member with id " << id;
            return DISP_E_MEMBERNOTFOUND;
        }
        FakeAnswer& answer = found->second;
        if (result != nullptr) {
            ::VariantCopy(result, &answer.value);
        }
        if (answer.status == DISP_E_EXCEPTION && exception != nullptr) {
            Later().scode = answer.scode;
            Later().texts = answer.texts;
            if (answer.fillsInLater) {
                exception->pfnDeferredFillIn = &Fill;
            } else {
                Fill(exception);
            }
        }
        return answer.status;
    }

private:
    /// One name has one id in all fakes: the layer under test remembers ids for the whole process.
    static std::vector<std::wstring>& Names() {
        static std::vector<std::wstring> names;
        return names;
    }
    static DISPID IdOf(const std::wstring& name) {
        std::vector<std::wstring>& names = Names();
        for (size_t index = 0; index < names.size(); ++index) {
            if (names[index] == name) {
                return static_cast<DISPID>(index) + 100;
            }
        }
        names.push_back(name);
        return static_cast<DISPID>(names.size()) + 99;
    }
    static std::wstring NameOf(DISPID id) {
        const auto index = static_cast<size_t>(id - 100);
        return index < Names().size() ? Names()[index] : std::wstring();
    }
    static FakeAnswer& Later() {
        static FakeAnswer answer;
        return answer;
    }
    static HRESULT STDMETHODCALLTYPE Fill(EXCEPINFO* exception) noexcept {
        const FakeAnswer& answer = Later();
        exception->scode = answer.scode;
        if (!answer.texts.empty()) {
            exception->bstrSource = ::SysAllocString(answer.texts.c_str());
            exception->bstrDescription = ::SysAllocString(answer.texts.c_str());
            exception->bstrHelpFile = ::SysAllocString(answer.texts.c_str());
        }
        return S_OK;
    }

    const IID interfaceId_;
    std::map<std::wstring, FakeAnswer> answers_;
    std::vector<Call> calls_;
    size_t lookups_ = 0;
    std::atomic<long> references_{1};
};
