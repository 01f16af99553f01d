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

class TypeLibrary : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        const std::wstring path = ProgramPath() + L"\\" + std::to_wstring(IDR_TYPELIB);
        ASSERT_EQ(::LoadTypeLibEx(path.c_str(), REGKIND_NONE, &library_), S_OK);
        // Under its own number, and by the module's path alone, as the platform looks for it once it is registered.
        TypeLibPointer found;
        EXPECT_EQ(::LoadTypeLibEx(ProgramPath().c_str(), REGKIND_NONE, &found), S_OK);
        ASSERT_EQ(library_->GetTypeInfoOfGuid(__uuidof(IConnect), &connect_), S_OK);
    }
    void TearDown() override {
        connect_ = nullptr;
        library_ = nullptr;
        ::CoUninitialize();
    }

    TypeLibPointer library_;
    TypeInfoPointer connect_;
};

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

// The registration of the library asks for its id and version.
TEST_F(TypeLibrary, LibraryAndClassHaveTheirNames) {
    BSTR name = nullptr;
    ASSERT_EQ(library_->GetDocumentation(-1, &name, nullptr, nullptr, nullptr), S_OK);
    EXPECT_STREQ(_bstr_t(name, false), L"NBMOutlookAddin");

    TypeInfoPointer coclass;
    ASSERT_EQ(library_->GetTypeInfoOfGuid(CLSID_NembraMeeting, &coclass), S_OK);
    ASSERT_EQ(coclass->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr), S_OK);
    EXPECT_STREQ(_bstr_t(name, false), L"NembraMeeting");
}

} // namespace
