#include "bench/AddInSession.h"
#include "bench/ConnectFloor.h"
#include "bench/Parts.h"
#include "bench/WorkFolder.h"

#include <iterator>

namespace bench {
namespace {

using TypeInfoPtr = _com_ptr_t<workbench::NamedInterface<ITypeInfo, &IID_ITypeInfo>>;

/// One callback of the ribbon as Office makes it: by number, the answer in the call's result.
class Callback {
public:
    Callback(IDispatch* target, const wchar_t* name, const _variant_t& argument)
        : target_(target), argument_(argument) {
        auto* text = const_cast<LPOLESTR>(name); // only read
        Require(SUCCEEDED(target->GetIDsOfNames(IID_NULL, &text, 1, LOCALE_USER_DEFAULT, &id_)), "no such callback");
    }

    void operator()() {
        _variant_t answer;
        DISPPARAMS params{&argument_, nullptr, 1, 0};
        const HRESULT status =
            target_->Invoke(id_, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, &answer, nullptr, nullptr);
        Require(SUCCEEDED(status), "a callback fails");
    }

private:
    IDispatch* target_;
    DISPID id_ = 0;
    _variant_t argument_;
};

struct CallbackCase {
    const wchar_t* name;
    const char* title;
    const char* platform; // what the bare implementation does
    int calls;            // per sample
};

constexpr CallbackCase kCases[] = {
    {L"GetLabel", "GetLabel", "id of the control, LoadString, BSTR", 500},
    {L"GetVisible", "GetVisible, main window", "context, QueryInterface, a log line", 200},
    {L"GetEnable", "GetEnable, main window", "context, QueryInterface, a log line", 200},
    {L"OnLoadImage", "OnLoadImage", "resource, stream, GDI+, picture", 20},
};

} // namespace

void MeasureCallbacks(const Effort& effort) {
    const WorkFolder folder;
    AddInSession session;
    const workbench::DispatchPtr addIn(session.AddIn().Object());
    TypeInfoPtr typeInfo;
    Require(addIn->GetTypeInfo(0, LOCALE_USER_DEFAULT, &typeInfo) == S_OK, "no type information");
    EmptyConnect empty(typeInfo);
    HandLog log(folder.File("floor.txt"));
    PlatformConnect platform(typeInfo, session.AddIn().Module(), log);
    const workbench::DispatchPtr control =
        session.AddIn().Ribbon(workbench::Surface::Explorer).MakeControl(L"BookMeetingMail");

    for (const CallbackCase& each : kCases) {
        const bool takesImage = each.name == std::wstring(L"OnLoadImage");
        const _variant_t argument = takesImage ? _variant_t(L"402") : _variant_t(control.GetInterfacePtr());
        const auto forget = [&](Callback callback) {
            return [&session, callback]() mutable {
                callback();
                session.Host().ResetCalls(); // the stand-in keeps every call it gets
            };
        };
        const int samples = effort.Of(15, 7);
        const auto product = forget(Callback(addIn, each.name, argument));
        Report(Compare(each.title, "empty method", samples, each.calls, product,
                       forget(Callback(&empty, each.name, argument))));
        Report(Compare(each.title, each.platform, samples, each.calls, product,
                       forget(Callback(&platform, each.name, argument)), Aim::AtMostTimes(1.5)));
    }
}

} // namespace bench
