#include "tests/Outlook/AddIns/AddInFixture.h"

#include "resources/Connect.h"
#include "support/Text.h"

#include <json/reader.h>

#include <memory>

std::string ToNarrow(const std::wstring& text) {
    return ToUtf8(text);
}

POINT CentreOf(HWND window) {
    RECT bounds = {};
    EXPECT_TRUE(::GetWindowRect(window, &bounds));
    return {bounds.left + (bounds.right - bounds.left) / 2, bounds.top + (bounds.bottom - bounds.top) / 2};
}

Json::Value ParseJson(const std::string& text) {
    Json::Value value;
    std::string error;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    return reader->parse(text.data(), text.data() + text.size(), &value, &error) ? value : Json::Value();
}

AddInFixture::AddInFixture() {
    ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
}

AddInFixture::~AddInFixture() {
    host_.reset();
    ::CoUninitialize();
}

void AddInFixture::TearDown() {
    client_.reset();
    EndHost();
}

void AddInFixture::EndHost() {
    if (host_ == nullptr) {
        return;
    }
    const bool loaded = addIn_->Object() != nullptr;
    const long references = addIn_->Exit();
    EXPECT_EQ(references, loaded ? 0 : -1) << "references left on the add-in object";
    EXPECT_THAT(host_->AdvisedSinks(), IsEmpty());
    host_->Shutdown();
    EXPECT_THAT(host_->Objects().Outstanding(), IsEmpty());
    EXPECT_EQ(host_->WrongThreadCalls(), 0u);
    host_.reset();
}

AddInHost& AddInFixture::Load(HostOptions options) {
    EndHost();
    host_ = std::make_unique<workbench::OutlookHost>(std::move(options));
    host_->AddStore(L"Mailbox");
    addIn_ = &host_->LoadAddIn(AddInModulePath(), CLSID_NembraMeeting);
    EXPECT_EQ(addIn_->LoadStatus(), S_OK) << "is OutlookAddIn.dll built?";
    return *addIn_;
}

AddInHost& AddInFixture::Connect(HostOptions options) {
    Load(std::move(options));
    host_->OpenExplorer(L"Calendar");
    EXPECT_EQ(addIn_->Connect(), S_OK);
    return *addIn_;
}

void AddInFixture::ConnectWithClient(HostOptions options) {
    Connect(std::move(options));
    StartClient();
}

ItemPtr AddInFixture::OpenAppointment(bool saved, const std::wstring& comment) {
    const ItemPtr item = host_->NewAppointment();
    item->fields.subject = kPlannedSubject;
    item->fields.startUtc = kPlannedStart;
    item->fields.endUtc = kPlannedStart + 1.0 / 48.0;
    item->fields.comment = comment;
    if (saved) { // before it is opened: nobody listens to the item yet
        EXPECT_TRUE(item->Save());
    }
    host_->OpenInspector(item);
    return item;
}

void AddInFixture::ExpectDialog(const DialogSeen& dialog, HWND owner) {
    const bool chinese = host_->language == 2052;
    EXPECT_EQ(dialog.owner, owner);
    EXPECT_TRUE(dialog.ownerDisabled);
    EXPECT_TRUE(::IsWindowEnabled(owner)) << "after the dialog";
    EXPECT_EQ(dialog.smallIconWidth, ::GetSystemMetrics(SM_CXSMICON));
    EXPECT_EQ(dialog.caption, chinese ? L"Nembra\x4e91\x4f1a\x8bae" : L"NEMBRA CLOUD Meeting");
    ASSERT_EQ(dialog.texts.size(), 1u);
    EXPECT_EQ(dialog.texts[0].find_first_of(L"\x4f1a\x90ae") != std::wstring::npos, chinese);
}

void AddInFixture::StartClient() {
    meeting_client::ClientSettings settings;
    settings.arguments = {L"--ignore"};
    settings.whileWaiting = [] { PumpFor(5); };
    commandsTaken_ = 0;
    client_.reset();
    client_.emplace(std::move(settings));
}

std::string AddInFixture::WaitForCommand(size_t count) {
    const bool arrived = PumpUntil([&] { return client_->Messages().size() >= count; }, kDeadline);
    EXPECT_TRUE(arrived) << "the client has " << client_->Messages().size() << " messages, not " << count;
    return arrived ? client_->Messages()[count - 1] : std::string();
}

Json::Value AddInFixture::NextCommand() {
    return ParseJson(WaitForCommand(++commandsTaken_));
}

bool AddInFixture::NothingWasSent() {
    EXPECT_EQ(ExplorerRibbon().Press(L"StartAudioMeetingMail"), S_OK); // the only command 3 of these tests
    return NextCommand()["cmd"] == 3;
}

void AddInFixture::Notify(const std::string& json) {
    // The add-in logs each notification before it posts its task. A second one, of a type that it ignores, shows by its
    // own log line that the first one's task is in the queue.
    const std::string fence = std::to_string(++fence_);
    for (const std::string& order : {"notify " + json, R"(notify {"notify":)" + fence + "}"}) {
        const auto result = client_->Order(order);
        EXPECT_TRUE(result.done) << result.reason;
    }
    const auto passed = [&] { return log_.CountOf("Inf AddIn::NotifyCallback Type: " + fence) != 0; };
    EXPECT_TRUE(PumpUntil(passed, kDeadline)) << json;
    PumpFor(0); // handles what is in the queue
}
