#include "tests/Outlook/AddIns/AddInFixture.h"

#include "Outlook/AddIns/OfficeInterfaces.h"
#include "resources/Connect.h"

#include <olectl.h>

namespace {

struct LabelCase {
    const wchar_t* id;
    const char* chinese; // null: the control has no label
    const char* english;
};

const LabelCase kLabels[] = {
    {L"StartMeetingMail", "发起会议", "Start"},
    {L"StartMeetingCalendar", "发起会议", "Start"},
    {L"StartVideoMeetingMail", "发起视频会议", "Start Video Meeting"},
    {L"StartVideoMeetingCalendar", "发起视频会议", "Start Video Meeting"},
    {L"StartAudioMeetingMail", "发起音频会议", "Start Audio Meeting"},
    {L"StartAudioMeetingCalendar", "发起音频会议", "Start Audio Meeting"},
    {L"BookMeetingMail", "预约会议", "Schedule"},
    {L"BookMeetingCalendar", "预约会议", "Schedule"},
    {L"BookMeetingAppointment", "预约会议", "Schedule"},
    {L"ModifyMeeetingAppointment", "会议设置", "Settings"},
    {L"CancelMeeetingAppointment", "取消会议", "Cancel"},
    {L"GroupNembraMeetingMail", "Nembra云会议", "NEMBRA CLOUD Meeting"},
    {L"GroupNembraMeetingAppointment", "Nembra云会议", "NEMBRA CLOUD Meeting"},
    {L"GroupNembra", "Nembra云会议", "NEMBRA CLOUD Meeting"},
    {L"GroupNembr", nullptr, nullptr},
    {L"GroupOther", nullptr, nullptr},
    {L"CancelMeetingAppointment", nullptr, nullptr}, // spelt right, and so not ours
    {L"startmeetingmail", nullptr, nullptr},
    {L"", nullptr, nullptr},
};

} // namespace

class RibbonCallbacks : public AddInFixture {
protected:
    void TearDown() override {
        release_.clear();
        AddInFixture::TearDown();
    }

    /// An interface of the add-in for calls by v-table.
    template <class Interface>
    Interface* As(REFIID id) {
        void* found = nullptr;
        EXPECT_THAT(AddIn().Object()->QueryInterface(id, &found), IsStatus(S_OK));
        release_.emplace_back(static_cast<IUnknown*>(static_cast<Interface*>(found)), false);
        return static_cast<Interface*>(found);
    }
    IConnect* Callbacks() { return As<IConnect>(IID_IConnect); }
    void ExpectEnable(const DispatchPtr& control, HRESULT status, bool enabled) {
        VARIANT_BOOL enable = VARIANT_FALSE;
        EXPECT_THAT(Callbacks()->GetEnable(control, &enable), IsStatus(status));
        EXPECT_EQ(enable, enabled ? VARIANT_TRUE : VARIANT_FALSE);
    }

    std::vector<UnknownPtr> release_;
};

TEST_F(RibbonCallbacks, EveryControlHasItsLabelInBothLanguages) {
    for (const long language : {2052, 1033, 1028, 0}) {
        Connect({.language = language});
        for (const LabelCase& each : kLabels) {
            SCOPED_TRACE(testing::Message() << language << " " << ToNarrow(each.id));
            const auto answer = ExplorerRibbon().AskLabel(each.id);
            if (each.english == nullptr) {
                EXPECT_THAT(answer.status, IsStatus(E_NOTIMPL));
                EXPECT_THAT(Log().NewLines(),
                            Contains("War AddIn::GetLabel Id of " + ToNarrow(each.id) + " not found."));
                continue;
            }
            EXPECT_THAT(answer.status, IsStatus(S_OK));
            ASSERT_EQ(answer.value.vt, VT_BSTR);
            EXPECT_EQ(ToNarrow(answer.value.bstrVal), language == 2052 ? each.chinese : each.english);
        }
    }
}

TEST_F(RibbonCallbacks, VisibilityAndEnablementFollowTheAppointment) {
    struct Case {
        const char* name;
        std::wstring comment;
        long status;
        bool isOurs;
        HRESULT enableResult; // as seen by v-table
        bool cancelEnabled;
        bool isLogged = false; // as an item of somebody else, each time
    };
    const Case cases[] = {
        {"plain appointment", L"", 0, false, S_FALSE, true},
        {"meeting of the host", L"", 1, false, S_OK, true},
        {"cancelled meeting of the host", L"", 5, false, S_FALSE, true},
        {"ours", LR"({"nbm_flag":true})", 1, true, S_OK, true},
        {"ours, flag false, no meeting", LR"({"nbm_flag":false})", 0, true, S_OK, true},
        {"ours, cancelled", LR"({"nbm_flag":true})", 5, true, S_OK, false},
        {"ours, received and cancelled", LR"({"nbm_flag":true})", 7, true, S_OK, true},
        {"object without the flag", LR"({"conf_id":"7"})", 0, false, S_FALSE, true},
        {"text", L"bring the nbm_flag \x4f1a along", 1, false, S_OK, true, true},
        {"array", LR"(["nbm_flag"])", 1, false, S_OK, true},
        {"lone surrogate", L"\xd800", 1, false, S_OK, true, true},
        {"deep arrays", std::wstring(50'000, L'['), 1, false, S_OK, true, true},
    };
    constexpr const char* kNotOurs = "Inf AddIn::GetAppointmentItemComment Not Nembrameeting item. ";
    Connect();
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const ItemPtr item = OpenAppointment(true, each.comment);
        item->fields.meetingStatus = each.status;
        workbench::Ribbon& ribbon = AppointmentRibbon();
        EXPECT_EQ(ribbon.Visible(L"BookMeetingAppointment"), !each.isOurs);
        for (const wchar_t* id : {L"CancelMeeetingAppointment", L"ModifyMeeetingAppointment"}) {
            const size_t logged = Log().CountOf(kNotOurs);
            EXPECT_EQ(ribbon.Visible(id), each.isOurs);
            EXPECT_EQ(Log().CountOf(kNotOurs) - logged, each.isLogged ? 1u : 0u);
        }
        EXPECT_TRUE(ribbon.Visible(L"StartMeetingMail"));
        EXPECT_TRUE(ribbon.Visible(L"NoSuchId"));
        EXPECT_EQ(ribbon.Enabled(L"CancelMeeetingAppointment"), each.cancelEnabled);
        ExpectEnable(ribbon.MakeControl(L"CancelMeeetingAppointment"), each.enableResult, each.cancelEnabled);
        EXPECT_EQ(item->Comment(), each.comment) << "looking at it must not change it";
    }
}

TEST_F(RibbonCallbacks, WithoutAnAppointmentEverythingIsVisibleAndEnabled) {
    Connect();
    const ItemPtr ours = OpenAppointment(true, LR"({"nbm_flag":true})");
    const ItemPtr mail = Host().NewMail();
    const auto ofOurs = [&] { return RibbonContext(ours->GetInspector()); };
    struct Case {
        const char* name;
        std::function<RibbonContext()> context;
        const wchar_t* failing = nullptr; // made to fail
        FailKind kind = FailKind::Status;
        const char* line = "";
    };
    const Case cases[] = {
        {"explorer", [&] { return RibbonContext(Host().ActiveExplorer()); }, nullptr, FailKind::Status,
         "Err AddIn::GetInspectorForRibbon query interface fail: 0x80004002"},
        {"mail", [&] { return RibbonContext(mail->GetInspector()); }},
        {"no context", [] { return RibbonContext(nullptr); }},
        {"context fails", ofOurs, L"IRibbonControl.Context", FailKind::Exception,
         "Err AddIn::GetInspectorForRibbon get context fail: 0x80040155"},
        {"no current item", ofOurs, L"Inspector.CurrentItem", FailKind::NullResult,
         "Err AddIn::GetAppointItemForInspector get current item fail: 0x0"},
        {"current item fails", ofOurs, L"Inspector.CurrentItem", FailKind::Exception,
         "Err AddIn::GetAppointItemForInspector get current item fail: 0x80040155"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const RibbonContext context = each.context();
        if (each.failing != nullptr) {
            Host().FailMember(each.failing, each.kind, kForced);
        }
        Log().NewLines();
        for (const wchar_t* id : {L"BookMeetingAppointment", L"CancelMeeetingAppointment", L"BookMeetingMail"}) {
            const auto visible = AppointmentRibbon().AskVisible(id, context);
            EXPECT_THAT(visible.status, IsStatus(S_OK));
            EXPECT_EQ(static_cast<bool>(visible.value), true);
            ExpectEnable(AppointmentRibbon().MakeControl(id, context), S_OK, true);
        }
        if (*each.line != '\0') {
            EXPECT_THAT(Log().NewLines(), Contains(each.line));
        }
        Host().ClearFailures();
    }
}

TEST_F(RibbonCallbacks, AnUnreadableAppointmentIsNoneOfOurs) {
    struct Case {
        const wchar_t* failing;
        const char* line;
    };
    const Case cases[] = {
        {L"AppointmentItem.MeetingStatus", "Err AddIn::GetMeetingInfo get_MeetingStatus fail: 0x80040155"},
        {L"AppointmentItem.StartUTC", nullptr},
        {L"AppointmentItem.EndUTC", "Err AddIn::GetMeetingInfo get_EndUTC fail 0x80040155"},
        {L"AppointmentItem.EntryID", nullptr},
        {L"AppointmentItem.FormDescription", nullptr},
        {L"FormDescription.Comment", nullptr},
    };
    Connect();
    const ItemPtr item = OpenAppointment(true, LR"({"nbm_flag":true})");
    for (const Case& each : cases) {
        SCOPED_TRACE(ToNarrow(each.failing));
        Log().NewLines();
        Host().FailMember(each.failing, FailKind::Exception, kForced);
        EXPECT_TRUE(AppointmentRibbon().Visible(L"BookMeetingAppointment"));
        EXPECT_FALSE(AppointmentRibbon().Visible(L"CancelMeeetingAppointment"));
        ExpectEnable(AppointmentRibbon().MakeControl(L"CancelMeeetingAppointment"), S_FALSE, true);
        const auto lines = Log().NewLines();
        if (each.line != nullptr) {
            EXPECT_THAT(lines, Contains(each.line));
        } else {
            EXPECT_THAT(lines, Not(Contains(StartsWith("Err AddIn::GetMeetingInfo"))));
        }
        Host().ClearFailures();
    }
    // Texts that cannot be read stay empty and hinder nothing.
    for (const wchar_t* text : {L"AppointmentItem.Subject", L"AppointmentItem.Location", L"AppointmentItem.Body"}) {
        Host().FailMember(text, FailKind::Exception, kForced);
    }
    EXPECT_FALSE(AppointmentRibbon().Visible(L"BookMeetingAppointment"));
}

TEST_F(RibbonCallbacks, AControlWhoseIdCannotBeReadHasNone) {
    Connect();
    Host().FailMember(L"IRibbonControl.Id", FailKind::Exception, kForced);
    EXPECT_THAT(ExplorerRibbon().AskLabel(L"StartMeetingMail").status, IsStatus(E_NOTIMPL));
    EXPECT_THAT(ExplorerRibbon().Press(L"StartMeetingMail"), IsStatus(E_NOTIMPL));
    EXPECT_THAT(LogLines(), AllOf(Contains("Err AddIn::GetControlId get_Id fail: 0x80040155"),
                                  Contains("War AddIn::GetLabel Id of  not found."),
                                  Contains("War AddIn::OnAction Unkown ribbon id: ")));
    Host().ClearFailures();
    // Something that is no ribbon control at all.
    VARIANT_BOOL visible = VARIANT_FALSE;
    BSTR label = reinterpret_cast<BSTR>(8);
    const DispatchPtr stranger = Host().Application();
    EXPECT_THAT(Callbacks()->GetVisible(stranger, &visible), IsStatus(S_OK));
    EXPECT_EQ(visible, VARIANT_TRUE);
    EXPECT_THAT(Callbacks()->GetLabel(stranger, &label), IsStatus(E_POINTER));
    EXPECT_EQ(label, nullptr);
    EXPECT_THAT(Callbacks()->OnAction(stranger), IsStatus(E_POINTER));
}

TEST_F(RibbonCallbacks, NullArgumentsAreRefused) {
    Connect();
    const DispatchPtr control = ExplorerRibbon().MakeControl(L"StartMeetingMail");
    BSTR label = nullptr;
    VARIANT_BOOL flag = VARIANT_FALSE;
    IPictureDisp* image = reinterpret_cast<IPictureDisp*>(8);
    const _bstr_t name(L"401");
    IConnect* connect = Callbacks();
    EXPECT_THAT(connect->GetLabel(nullptr, &label), IsStatus(E_INVALIDARG));
    EXPECT_THAT(connect->GetLabel(control, nullptr), IsStatus(E_INVALIDARG));
    EXPECT_THAT(connect->GetVisible(nullptr, &flag), IsStatus(E_INVALIDARG));
    EXPECT_THAT(connect->GetVisible(control, nullptr), IsStatus(E_INVALIDARG));
    EXPECT_THAT(connect->GetEnable(nullptr, &flag), IsStatus(E_INVALIDARG));
    EXPECT_THAT(connect->GetEnable(control, nullptr), IsStatus(E_INVALIDARG));
    EXPECT_THAT(connect->OnAction(nullptr), IsStatus(E_INVALIDARG));
    EXPECT_THAT(connect->OnLoadImage(nullptr, nullptr), IsStatus(E_INVALIDARG));
    EXPECT_THAT(connect->OnLoadImage(nullptr, &image), IsStatus(E_INVALIDARG));
    EXPECT_EQ(image, nullptr);
    EXPECT_THAT(connect->OnLoadImage(name, nullptr), IsStatus(E_POINTER));
    EXPECT_THAT(connect->OnLoad(nullptr), IsStatus(S_OK));
    const auto lines = LogLines();
    for (const char* line : {"Err AddIn::GetLabel Invalid arg.", "Err AddIn::GetVisible Invalid arg.",
                             "Err AddIn::GetEnable Invalid arg.", "Err AddIn::OnAction Invalid arg.",
                             "Err AddIn::OnLoadImage Invalid arg.", "Err AddIn::OnLoadImage Invalid pointer."}) {
        EXPECT_THAT(lines, Contains(line));
    }

    auto* extensibility = As<IRibbonExtensibility>(__uuidof(IRibbonExtensibility));
    BSTR xml = reinterpret_cast<BSTR>(8);
    EXPECT_THAT(extensibility->GetCustomUI(nullptr, &xml), IsStatus(E_POINTER));
    EXPECT_EQ(xml, nullptr);
    EXPECT_THAT(extensibility->GetCustomUI(name, nullptr), IsStatus(E_POINTER));
    EXPECT_THAT(LogLines(), Contains("Err AddIn::GetCustomUI Invalid param."));
}

TEST_F(RibbonCallbacks, EachRibbonHasItsXmlAndAnUnknownOneNothing) {
    Connect({.habits = {.ribbonByHand = true}});
    struct Case {
        const wchar_t* id;
        const char* tab; // null: no XML
    };
    for (const Case& each :
         {Case{L"Microsoft.Outlook.Explorer", "TabCalendar"}, Case{L"Microsoft.Outlook.Appointment", "TabAppointment"},
          Case{L"Microsoft.Outlook.Mail.Compose", nullptr}, Case{L"", nullptr}}) {
        SCOPED_TRACE(ToNarrow(each.id));
        ::SetLastError(ERROR_GEN_FAILURE); // an older call's error plays no part
        BSTR xml = reinterpret_cast<BSTR>(8);
        const _bstr_t id(each.id);
        EXPECT_THAT(As<IRibbonExtensibility>(__uuidof(IRibbonExtensibility))->GetCustomUI(id, &xml), IsStatus(S_OK));
        EXPECT_THAT(Log().NewLines(), Contains("Inf AddIn::GetCustomUI RibbonID: " + ToNarrow(each.id)));
        ASSERT_EQ(xml != nullptr, each.tab != nullptr);
        if (xml != nullptr) {
            EXPECT_THAT(ToNarrow(xml), HasSubstr(each.tab));
            ::SysFreeString(xml);
        }
    }
}

TEST_F(RibbonCallbacks, ImagesComeAs32BitPictures) {
    // Office may ask for the images before it connects the add-in, and after it has disconnected it.
    Load();
    Host().OpenExplorer();
    const auto load = [&](const wchar_t* name, DIBSECTION& section) {
        IPictureDisp* display = reinterpret_cast<IPictureDisp*>(8);
        const _bstr_t text(name);
        const HRESULT status = Callbacks()->OnLoadImage(text, &display);
        if (FAILED(status)) {
            EXPECT_EQ(display, nullptr);
            return status;
        }
        IPicture* picture = nullptr;
        EXPECT_THAT(display->QueryInterface(IID_IPicture, reinterpret_cast<void**>(&picture)), IsStatus(S_OK));
        OLE_HANDLE handle = 0;
        EXPECT_THAT(picture->get_Handle(&handle), IsStatus(S_OK));
        const auto object = reinterpret_cast<HBITMAP>(static_cast<INT_PTR>(static_cast<int>(handle)));
        // A bitmap that is no DIB section would lose its alpha channel in Office. Colours above their alpha would show
        // as fringes over a ribbon.
        EXPECT_EQ(::GetObjectW(object, sizeof(section), &section), static_cast<int>(sizeof(section)));
        const auto* const bytes = static_cast<const std::uint8_t*>(section.dsBm.bmBits);
        for (int at = 0; at < 64 * 64 * 4; at += 4) {
            const auto alpha = bytes[at + 3];
            if (bytes[at] > alpha || bytes[at + 1] > alpha || bytes[at + 2] > alpha) {
                ADD_FAILURE() << "pixel " << at / 4 << " is not multiplied with its alpha";
                break;
            }
        }
        picture->Release();
        EXPECT_EQ(display->Release(), 0u) << "the picture is the caller's alone";
        return status;
    };
    // 65937 is 401 in its lower 16 bits, and what follows the number is not read.
    constexpr const wchar_t* kNames[] = {L"401", L"402", L"403", L"404", L"405", L"406", L"65937", L"401.png"};
    const auto loadAll = [&] {
        for (const wchar_t* name : kNames) {
            SCOPED_TRACE(ToNarrow(name));
            DIBSECTION section = {};
            EXPECT_THAT(load(name, section), IsStatus(S_OK));
            EXPECT_EQ(section.dsBm.bmWidth, 64);
            EXPECT_EQ(section.dsBm.bmHeight, 64);
            EXPECT_EQ(section.dsBm.bmBitsPixel, 32);
        }
    };
    loadAll();
    EXPECT_THAT(AddIn().Connect(), IsStatus(S_OK));
    loadAll();
    DIBSECTION none = {};
    for (const wchar_t* name : {L"abc", L"999", L"", L"-401"}) {
        SCOPED_TRACE(ToNarrow(name));
        EXPECT_TRUE(FAILED(load(name, none)));
        EXPECT_THAT(Log().NewLines(), Contains(StartsWith("Err AddIn::OnLoadImage FindResourceW fail: 18")));
    }
    EXPECT_THAT(AddIn().Disconnect(workbench::kUserClosed), IsStatus(S_OK));
    loadAll();
}
