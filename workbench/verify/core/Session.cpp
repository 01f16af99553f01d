#include "workbench/verify/core/Session.h"

#include "resources/Connect.h"
#include "support/Text.h"
#include "tests/fakes/AddInModule.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

namespace verify {
namespace {

constexpr std::size_t kAnswers = 4096; // of one responder

} // namespace

Session::Session(std::wstring module) : module_(module.empty() ? AddInModulePath() : std::move(module)) {}

Session::~Session() = default;

void Session::Begin(const workbench::HostOptions& options, const std::wstring& folder) {
    host_ = std::make_unique<workbench::OutlookHost>(options);
    if (observer) {
        host_->Observe(observer);
    }
    host_->AddStore(L"Mailbox");
    host_->OpenExplorer(folder);
    addIn_ = &host_->LoadAddIn(module_, CLSID_NembraMeeting);
    if (addIn_->LoadStatus() != S_OK) {
        throw std::runtime_error("OutlookAddIn.dll could not be loaded; build it first");
    }
}

void Session::Connect(const workbench::HostOptions& options) {
    Begin(options);
    if (const HRESULT status = addIn_->Connect(); status != S_OK) {
        throw std::runtime_error(fmt::format("OnConnection answers 0x{:08x}", static_cast<unsigned long>(status)));
    }
}

std::vector<std::string> Session::End() {
    std::vector<std::string> problems;
    if (!host_) {
        return problems;
    }
    host_->DeliverPendingCloses();
    const bool loaded = addIn_->Object() != nullptr;
    if (const long left = addIn_->Exit(); left != (loaded ? 0 : -1)) {
        problems.push_back(fmt::format("leak: references left on the add-in: {}", left));
    }
    for (const std::wstring& line : host_->AdvisedSinks()) {
        problems.push_back("leak: still advised: " + ToUtf8(line));
    }
    host_->Shutdown();
    for (const std::wstring& line : host_->Objects().Outstanding()) {
        problems.push_back("leak: still held: " + ToUtf8(line));
    }
    if (host_->WrongThreadCalls() != 0) {
        problems.push_back("calls on another thread");
    }
    addIn_->UnloadModule();
    addIn_ = nullptr;
    host_.reset();
    // Its record of the dialogs would look like a leak that grows with every run of Outlook.
    dialogs_ = Dialogs();
    responder_.reset();
    return problems;
}

void Session::CloseInspectors(std::size_t kept) const {
    while (host_->Inspectors().size() > kept) {
        host_->Inspectors().back()->CloseWithoutAsking();
    }
}

void Session::AnswerDialogs(const std::function<int()>& choose) {
    if (responder_ && responder_->Seen().size() < kAnswers / 2) {
        return;
    }
    dialogs_ = Dialogs();
    responder_.reset();
    std::vector<int> answers(kAnswers);
    std::generate(answers.begin(), answers.end(), choose);
    responder_ = std::make_unique<workbench::DialogResponder>(std::move(answers));
    responder_->whileOpen = [this](const workbench::DialogSeen&) {
        if (whileDialogIsOpen) {
            whileDialogIsOpen();
        }
    };
}

} // namespace verify
