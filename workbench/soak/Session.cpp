#include "workbench/soak/Soak.h"

#include "workbench/host/Pump.h"

#include "resources/Connect.h"
#include "support/Text.h"
#include "tests/fakes/AddInModule.h"

#include <cstdio>
#include <stdexcept>

// One run of Outlook, from its start to its end, and one life of the client.
namespace soak {
namespace {

constexpr unsigned kQueueTime = 100;     // ms in which the add-in mostly takes what its channel holds for it
constexpr unsigned kShowLimit = 120'000; // ms; far longer than any hang

/// Each run of Outlook has other habits, as versions of it do. Those with which no add-in could know its windows again
/// are left out.
workbench::Habits HabitsFrom(std::uint64_t random) {
    const auto next = [&random] {
        const bool on = (random & 3) == 0;
        random >>= 2;
        return on;
    };
    workbench::Habits habits;
    habits.distinctPointers = next();
    habits.nullAsEmpty = next();
    habits.refuseVtInt = next();
    habits.noCurrentItemInClose = next();
    habits.deferredExceptions = next();
    habits.noOleWindow = next(); // then a command carries no place
    habits.nullContext = next();
    habits.cancelMissing = next();
    habits.editorChain = !next();
    habits.ribbonBeforeConnection = next();
    habits.onLoadTwice = next();
    habits.cancelByValue = next();
    habits.closeInsideRelease = next();
    habits.noiseEvents = next();
    habits.fastShutdown = next();
    habits.drawRibbon = next();
    return habits;
}

} // namespace

void Soak::BeginSession(const Draw& draw) {
    watchdog_.Doing("starting Outlook");
    ++sessions_;
    actionsOfSession_ = 0;
    RenewResponder();
    workbench::HostOptions options;
    options.language = language_;
    options.habits = HabitsFrom(draw.a);
    host_ = std::make_unique<workbench::OutlookHost>(options);
    host_->Observe([this](const workbench::Step& step) { CountInspectors(step); });
    host_->AddStore(L"kim@example.org");
    if (draw.b % 2 == 0) {
        host_->AddStore(L"Archive", draw.b % 4 == 0 ? std::make_optional<std::wstring>(L"") : std::nullopt);
    }
    host_->OpenExplorer(draw.c % 2 == 0 ? L"Inbox" : L"Calendar");
    ++explorersOpened_;
    addIn_ = &host_->LoadAddIn(AddInModulePath(), CLSID_NembraMeeting);
    if (addIn_->LoadStatus() != S_OK) {
        throw std::runtime_error("OutlookAddIn.dll could not be loaded; build it first");
    }
    if (const HRESULT status = addIn_->Connect(); status != S_OK) {
        Violation("OnConnection answers " + std::to_string(status));
    }
}

void Soak::CountInspectors(const workbench::Step& step) {
    if (step.kind != workbench::StepKind::Event) {
        return;
    }
    inspectorsOpened_ += step.text.starts_with(L"Inspectors NewInspector") ? 1 : 0;
    inspectorsClosed_ += step.text.starts_with(L"Inspector #") && step.text.find(L" Close ") != step.text.npos ? 1 : 0;
}

void Soak::EndSession() {
    watchdog_.Doing("ending Outlook");
    host_->DeliverPendingCloses();
    const long references = addIn_->Exit();
    if (references != 0) {
        Violation("references left on the add-in: " + std::to_string(references));
    }
    for (const std::wstring& line : host_->AdvisedSinks()) {
        ++sinksLeft_;
        Violation("still advised: " + ToUtf8(line));
    }
    host_->Shutdown();
    for (const std::wstring& line : host_->Objects().Outstanding()) {
        ++outstanding_;
        Violation("still held: " + ToUtf8(line));
    }
    if (host_->WrongThreadCalls() != 0) {
        Violation("calls on another thread: " + std::to_string(host_->WrongThreadCalls()));
    }
    hostObjects_ += host_->Objects().Created();
    addIn_->UnloadModule();
    addIn_ = nullptr;
    host_.reset();
}

void Soak::EndSessionAndClient() {
    if (!client_.Alive()) {
        StartClient();
    }
    workbench::PumpUntil(
        [this] {
            watchdog_.Beat();
            ReadAll();
            return !client_.Hanging();
        },
        kShowLimit);
    client_.Show();
    while (!host_->Inspectors().empty() && sessions_ % 2 == 0) { // else Outlook ends with its windows open
        host_->Inspectors().front()->CloseWithoutAsking();
    }
    Settle();
    EndSession();
    EndClient(false);
    CheckMessages();
    TakeUsage();
}

void Soak::StartClient() {
    watchdog_.Doing("starting the client");
    client_.Forget();
    client_.Start();
}

void Soak::EndClient(bool kill) {
    ReadAll();
    if (kill || client_.Hanging()) {
        client_.Kill();
        notifications_.ExcuseUnrecorded();
    } else if (!client_.Quit()) {
        Violation("the client did not end when it was asked to");
    }
    Pump(kQueueTime);
    ReadAll();
    commands_.ExcuseFirst();
    client_.Forget();
}

} // namespace soak
