#include "resources/Connect.h"
#include "resources/resource.h"
#include "tests/resources/ModuleResources.h"

#include <gtest/gtest.h>
#include <comdef.h>
#include <windows.h>

#include <string>

namespace {

using TypeLibPointer = _com_ptr_t<_com_IIID<ITypeLib, &__uuidof(ITypeLib)>>;
using TypeInfoPointer = _com_ptr_t<_com_IIID<ITypeInfo, &__uuidof(ITypeInfo)>>;

/// Answers every callback, and counts; reached through the type library only.
class RecordingConnect final : public IConnect {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override { return *object = this, S_OK; }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE OnAction(IDispatch* control) override { return Seen(L"OnAction", control); }
    HRESULT STDMETHODCALLTYPE GetLabel(IDispatch* control, BSTR* label) override {
        *label = ::SysAllocString(L"预约会议");
        return Seen(L"GetLabel", control);
    }
    HRESULT STDMETHODCALLTYPE GetVisible(IDispatch* control, VARIANT_BOOL* visible) override {
        *visible = VARIANT_TRUE;
        return Seen(L"GetVisible", control);
    }
    HRESULT STDMETHODCALLTYPE GetEnable(IDispatch* control, VARIANT_BOOL* enable) override {
        *enable = VARIANT_FALSE;
        return Seen(L"GetEnable", control);
    }
    HRESULT STDMETHODCALLTYPE OnLoadImage(BSTR name, IPictureDisp** image) override {
        PICTDESC description = {};
        description.cbSizeofstruct = sizeof(description);
        description.picType = PICTYPE_NONE;
        last = std::wstring(L"OnLoadImage ") + name;
        return ::OleCreatePictureIndirect(&description, IID_IPictureDisp, TRUE, reinterpret_cast<void**>(image));
    }
    HRESULT STDMETHODCALLTYPE OnLoad(IDispatch* ribbon) override { return Seen(L"OnLoad", ribbon); }

    std::wstring last;

private:
    HRESULT Seen(const wchar_t* method, IDispatch* argument) {
        last = argument == this ? method : L"wrong argument";
        return S_OK;
    }
};

class TypeLibrary : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        const std::wstring path = ProgramPath() + L"\\" + std::to_wstring(IDR_TYPELIB);
        ASSERT_EQ(::LoadTypeLibEx(path.c_str(), REGKIND_NONE, &library_), S_OK);
        ASSERT_EQ(library_->GetTypeInfoOfGuid(__uuidof(IConnect), &connect_), S_OK);
    }
    void TearDown() override {
        connect_ = nullptr;
        library_ = nullptr;
        ::CoUninitialize();
    }

    /// One argument, the answer from the return value, as Office calls.
    HRESULT CallAsOffice(DISPID member, const _variant_t& argument, _variant_t& answer) {
        _variant_t copy = argument;
        DISPPARAMS parameters = {&copy, nullptr, 1, 0};
        return connect_->Invoke(&object_, member, DISPATCH_METHOD, &parameters, &answer, nullptr, nullptr);
    }

    RecordingConnect object_;
    TypeLibPointer library_;
    TypeInfoPointer connect_;
};

TEST_F(TypeLibrary, IsFoundByTheModulesPathAlone) {
    // So the platform looks for it once it is registered.
    TypeLibPointer found;
    EXPECT_EQ(::LoadTypeLibEx(ProgramPath().c_str(), REGKIND_NONE, &found), S_OK);
}

TEST_F(TypeLibrary, MethodsHaveTheirDefaultIdsAndPublishedParameterNames) {
    const struct {
        const wchar_t* method;
        const wchar_t* parameters[2];
    } methods[] = {
        {L"OnAction", {L"ribbtonControl"}},
        {L"GetLabel", {L"ribbonControl", L"label"}},
        {L"GetVisible", {L"ribbonControl", L"visible"}},
        {L"GetEnable", {L"ribbonControl", L"enable"}},
        {L"OnLoadImage", {L"imageName", L"image"}},
        {L"OnLoad", {L"pRibbon"}},
    };
    DISPID expected = 0x60020000;
    for (const auto& entry : methods) {
        SCOPED_TRACE(testing::Message() << entry.method);
        auto* method = const_cast<LPOLESTR>(entry.method);
        DISPID id = 0;
        EXPECT_EQ(connect_->GetIDsOfNames(&method, 1, &id), S_OK);
        EXPECT_EQ(id, expected++);

        BSTR raw[3] = {};
        UINT count = 0;
        ASSERT_EQ(connect_->GetNames(id, raw, 3, &count), S_OK);
        const _bstr_t names[] = {_bstr_t(raw[0], false), _bstr_t(raw[1], false), _bstr_t(raw[2], false)};
        for (UINT at = 0; at < 2; ++at) {
            const wchar_t* wanted = entry.parameters[at];
            // A dispatch description leaves the returned parameter out.
            if (at == 0 || at + 1 < count) {
                EXPECT_STREQ(static_cast<const wchar_t*>(names[at + 1]), wanted);
            }
        }
    }
}

TEST_F(TypeLibrary, OneArgumentCallsReachTheMethodsAndBringTheAnswerBack) {
    const _variant_t control(static_cast<IDispatch*>(&object_));
    _variant_t answer;
    EXPECT_EQ(CallAsOffice(0x60020000, control, answer), S_OK);
    EXPECT_EQ(object_.last, L"OnAction");

    EXPECT_EQ(CallAsOffice(0x60020001, control, answer), S_OK);
    EXPECT_EQ(object_.last, L"GetLabel");
    ASSERT_EQ(answer.vt, VT_BSTR);
    EXPECT_STREQ(answer.bstrVal, L"预约会议");

    answer.Clear();
    EXPECT_EQ(CallAsOffice(0x60020002, control, answer), S_OK);
    EXPECT_EQ(object_.last, L"GetVisible");
    ASSERT_EQ(answer.vt, VT_BOOL);
    EXPECT_EQ(answer.boolVal, VARIANT_TRUE);

    EXPECT_EQ(CallAsOffice(0x60020003, control, answer), S_OK);
    EXPECT_EQ(object_.last, L"GetEnable");
    ASSERT_EQ(answer.vt, VT_BOOL);
    EXPECT_EQ(answer.boolVal, VARIANT_FALSE);

    EXPECT_EQ(CallAsOffice(0x60020004, _variant_t(L"401"), answer), S_OK);
    EXPECT_EQ(object_.last, L"OnLoadImage 401");
    ASSERT_EQ(answer.vt, VT_DISPATCH);
    EXPECT_NE(answer.pdispVal, nullptr);

    EXPECT_EQ(CallAsOffice(0x60020005, control, answer), S_OK);
    EXPECT_EQ(object_.last, L"OnLoad");
}

TEST_F(TypeLibrary, LibraryAndClassCarryTheIdsTheCodeUses) {
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library_->GetLibAttr(&attributes), S_OK);
    EXPECT_TRUE(::IsEqualGUID(attributes->guid, LIBID_NBMOutlookAddin));
    EXPECT_EQ(attributes->wMajorVerNum, 1);
    EXPECT_EQ(attributes->wMinorVerNum, 0);
    library_->ReleaseTLibAttr(attributes);

    BSTR name = nullptr;
    ASSERT_EQ(library_->GetDocumentation(-1, &name, nullptr, nullptr, nullptr), S_OK);
    EXPECT_STREQ(_bstr_t(name, false), L"NBMOutlookAddin");

    TypeInfoPointer coclass;
    ASSERT_EQ(library_->GetTypeInfoOfGuid(CLSID_NembraMeeting, &coclass), S_OK);
    ASSERT_EQ(coclass->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr), S_OK);
    EXPECT_STREQ(_bstr_t(name, false), L"NembraMeeting");
}

} // namespace
