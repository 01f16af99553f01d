#include "tests/workbench/FakeAddIn.h"
#include "tests/workbench/HostFixture.h"
#include "tests/workbench/LateBinding.h"

#include "workbench/host/DialogResponder.h"
#include "workbench/host/Pump.h"

namespace workbench {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const wchar_t* kXml = LR"(<?xml version="1.0" encoding="utf-8"?>
<customUI xmlns="http://schemas.microsoft.com/office/2009/07/customui" onLoad="OnLoad" loadImage="Picture">
  <ribbon><tabs><tab idMso="TabMail"><group id="Group" label="Things">
    <!-- <button id="Old"/> -->
    <button id="Go" size="large" image="7" tag="t" getLabel="Label" onAction="Action"/>
    <button id="Maybe" label="Fixed" getVisible="Visible" getEnabled="Enabled" onAction="Action"/>
  </group></tab></tabs></ribbon>
</customUI>)";

class HostRibbon : public HostFixture {
protected:
    HostRibbon() {
        addIn_.xml = kXml;
        addIn_.callbacks[L"OnLoad"] = [this](const VARIANT& ui, VARIANT&) {
            ui_ = ui.pdispVal;
            return S_OK;
        };
        addIn_.callbacks[L"Label"] = [](const VARIANT& control, VARIANT& result) {
            const std::wstring text = L"<" + Get(control.pdispVal, L"Id").Text() + L">";
            result.vt = VT_BSTR;
            result.bstrVal = ::SysAllocString(text.c_str());
            return S_OK;
        };
        addIn_.callbacks[L"Visible"] = [this](const VARIANT&, VARIANT& result) {
            result.vt = VT_BOOL;
            result.boolVal = visible_ ? VARIANT_TRUE : VARIANT_FALSE;
            return S_OK;
        };
        addIn_.callbacks[L"Enabled"] = [](const VARIANT&, VARIANT&) { return E_FAIL; };
        addIn_.callbacks[L"Picture"] = [](const VARIANT&, VARIANT&) { return E_FAIL; };
        addIn_.callbacks[L"Action"] = [this](const VARIANT& control, VARIANT&) {
            pressed_.push_back(Get(control.pdispVal, L"Id").Text());
            context_ = Get(control.pdispVal, L"Context").Object();
            return S_OK;
        };
    }

    void TearDown() override {
        ui_ = nullptr;
        context_ = nullptr;
        HostFixture::TearDown();
        EXPECT_EQ(addIn_.references, 0);
    }

    FakeAddIn addIn_;
    DispatchPtr ui_;
    DispatchPtr context_;
    std::vector<std::wstring> pressed_;
    bool visible_ = true;
};

TEST_F(HostRibbon, CallbacksGiveTheControlsTheirState) {
    const ExplorerPtr explorer = host_.OpenExplorer();
    AddInHost& addIn = host_.AdoptAddIn(addIn_.Unknown());
    EXPECT_EQ(addIn.Connect(), S_OK);
    EXPECT_THAT(addIn_.calls, ElementsAre(L"OnConnection", L"OnStartupComplete", L"GetCustomUI", L"OnLoad"));

    Ribbon& ribbon = addIn.Ribbon(Surface::Explorer);
    ASSERT_EQ(ribbon.Controls().size(), 4u); // tab, group, two buttons
    EXPECT_EQ(ribbon.Find(L"Go")->group, L"Group");
    EXPECT_EQ(ribbon.Label(L"Go"), L"<Go>");
    EXPECT_EQ(ribbon.Label(L"Maybe"), L"Fixed");
    EXPECT_EQ(ribbon.Label(L"NotInTheXml"), L"<NotInTheXml>");
    EXPECT_TRUE(ribbon.Visible(L"Maybe"));
    EXPECT_EQ(ribbon.AskEnabled(L"Maybe").status, E_FAIL);

    EXPECT_EQ(ribbon.Press(L"Go"), S_OK);
    EXPECT_EQ(context_.GetInterfacePtr(), explorer->Dispatch().GetInterfacePtr());
    ribbon.Press(L"Unlisted", nullptr);
    EXPECT_FALSE(context_);
    EXPECT_THAT(pressed_, ElementsAre(L"Go", L"Unlisted"));

    EXPECT_EQ(CallMethod(ui_, L"InvalidateControl", {_variant_t(L"Go")}).status, S_OK);
    ASSERT_EQ(ribbon.Invalidations().size(), 1u);
    EXPECT_EQ(ribbon.Invalidations()[0].controlId, L"Go");
}

TEST_F(HostRibbon, OrderAndNumberOfCallsFollowTheHabits) {
    host_.habits().ribbonBeforeConnection = true;
    host_.habits().onLoadTwice = true;
    host_.habits().fastShutdown = true;
    AddInHost& addIn = host_.AdoptAddIn(addIn_.Unknown());
    addIn_.connectResult = E_FAIL;
    EXPECT_EQ(addIn.Connect(), E_FAIL);
    EXPECT_EQ(addIn.Exit(), 0);
    EXPECT_THAT(addIn_.calls, ElementsAre(L"GetCustomUI", L"OnLoad", L"OnLoad", L"OnConnection"));
}

TEST_F(HostRibbon, AFaultyRibbonIsDroppedWhole) {
    const struct {
        const wchar_t* find;
        const wchar_t* replacement;
    } cases[] = {{L"getVisible=\"Visible\"", L"getVisible=\"Missing\""},
                 {L"</customUI>", L"</customUi>"},
                 {L"2009/07", L"2005/07"},
                 {L"customUI", L"other"}};
    for (const auto& one : cases) {
        SCOPED_TRACE(ToNarrow(one.replacement));
        std::wstring xml = kXml;
        xml.replace(xml.find(one.find), wcslen(one.find), one.replacement);
        addIn_.xml = xml;
        Ribbon ribbon(host_, Surface::Explorer, addIn_.Unknown());
        EXPECT_TRUE(FAILED(ribbon.Load()));
        EXPECT_THAT(ribbon.Controls(), IsEmpty());
    }
}

TEST_F(HostRibbon, DrawnButtonsArePressedByClick) {
    host_.habits().drawRibbon = true;
    const ExplorerPtr explorer = host_.OpenExplorer();
    host_.AdoptAddIn(addIn_.Unknown()).Connect();
    EXPECT_TRUE(PumpUntil([&] { return explorer->View()->Buttons().size() == 2; }, 3000));
    EXPECT_TRUE(explorer->View()->Click(L"Go"));
    EXPECT_THAT(pressed_, ElementsAre(L"Go"));
    EXPECT_EQ(explorer->View()->Buttons()[0].label, L"<Go>");

    visible_ = false;
    CallMethod(ui_, L"Invalidate");
    EXPECT_TRUE(PumpUntil([&] { return explorer->View()->Buttons().size() == 1; }, 3000));
    EXPECT_FALSE(explorer->View()->Click(L"Maybe"));
}

TEST_F(HostRibbon, WindowsAreRealAndTheEditorTakesTheFocus) {
    const InspectorPtr inspector = host_.OpenInspector(host_.NewAppointment());
    const DispatchPtr object = inspector->Dispatch();
    void* found = nullptr;
    ASSERT_EQ(object->QueryInterface(IID_IOleWindow, &found), S_OK);
    HWND window = nullptr;
    EXPECT_EQ(static_cast<IOleWindow*>(found)->GetWindow(&window), S_OK);
    static_cast<IOleWindow*>(found)->Release();
    EXPECT_EQ(window, inspector->Window());
    EXPECT_TRUE(::IsWindowVisible(window));

    HWND inner = window;
    for (const wchar_t* type : {L"AfxWndW", L"AfxWndW", L"#32770", L"AfxWndA", L"_WwB", L"_WwG"}) {
        inner = ::FindWindowExW(inner, nullptr, type, nullptr);
        ASSERT_TRUE(inner) << ToNarrow(type);
    }
    EXPECT_EQ(inner, inspector->BodyWindow());
    ::SetFocus(inner);
    EXPECT_EQ(::GetFocus(), inner);

    host_.closeAnswer = kClosePrompt; // the user goes on editing
    ::SendMessageW(window, WM_CLOSE, 0, 0);
    EXPECT_FALSE(inspector->Closed());
    host_.closeAnswer = kCloseDiscard;
    ::SendMessageW(window, WM_CLOSE, 0, 0);
    EXPECT_TRUE(inspector->Closed());
    EXPECT_FALSE(::IsWindow(window));
}

TEST_F(HostRibbon, ResponderAnswersNestedDialogs) {
    const HWND owner = host_.OpenExplorer()->Window();
    DialogResponder inner(IDNO, {.caption = L"second"});
    DialogResponder outer(IDOK, {.caption = L"first"});
    int innerResult = 0;
    outer.whileOpen = [&](const DialogSeen& seen) {
        innerResult = ::MessageBoxW(seen.window, L"really?", L"second", MB_YESNO);
    };
    EXPECT_EQ(::MessageBoxW(owner, L"go on", L"first", MB_OKCANCEL), IDOK);
    EXPECT_EQ(innerResult, IDNO);
    ASSERT_EQ(outer.Seen().size(), 1u);
    EXPECT_EQ(outer.Last().owner, owner);
    EXPECT_TRUE(outer.Last().ownerDisabled);
    EXPECT_THAT(outer.Last().texts, ElementsAre(L"go on"));
    EXPECT_THAT(outer.Last().VisibleButtons(), ElementsAre(IDOK, IDCANCEL));
    EXPECT_THAT(inner.Last().VisibleButtons(), ElementsAre(IDYES, IDNO));
    EXPECT_THAT(FindDialogs(), IsEmpty());
}

} // namespace
} // namespace workbench
