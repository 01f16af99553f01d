#include "workbench/check_client/StandIn.h"

#include "workbench/client/ClientProcess.h"
#include "workbench/client/Control.h"
#include "workbench/host/Pump.h"
#include "workbench/process/ChildProcess.h"
#include "workbench/wire/Window.h"

#include <stdexcept>

namespace check_client {
namespace {

/// Waits for the client and has it carry an order out.
bool Order(const std::string& order, std::chrono::milliseconds limit) {
    HWND control = nullptr;
    const auto found = [&] { return (control = wire::Find(meeting_client::kControlWindow)) != nullptr; };
    return workbench::PumpUntil(found, static_cast<unsigned>(limit.count())) &&
           wire::SendBytes(control, nullptr, 0, order.c_str(), order.size() + 1) == ERROR_SUCCESS;
}

DWORD Run(const std::wstring& program, const std::vector<std::wstring>& arguments) {
    return process::ChildProcess(program, arguments, process::Streams::Own).Wait();
}

} // namespace

StandIn::StandIn(std::vector<std::wstring> arguments, std::chrono::milliseconds limit) {
    settings_.limit = limit;
    settings_.program = meeting_client::ClientProcess::FindProgram();
    settings_.arguments = std::move(arguments);
    for (const wchar_t* needed : {L"--hidden", L"--login-after", L"manual", L"--max-seconds", L"600", L"--parent"}) {
        settings_.arguments.emplace_back(needed);
    }
    settings_.arguments.push_back(std::to_wstring(::GetCurrentProcessId()));
    settings_.logIn = [this] { Order("show", settings_.limit); };
    settings_.awaitLogInForm = [this] { return Order("status", settings_.limit); }; // it takes orders once it runs
    settings_.change = [this](const std::string& confId) {
        Order("change " + confId + " {\"subject\":\"Changed\"}", settings_.limit);
    };
    std::vector<std::wstring> registration = settings_.arguments;
    registration.emplace_back(L"--register-uri");
    if (Run(settings_.program, registration) != 0) {
        throw std::runtime_error("the stand-in client refuses its options");
    }
}

StandIn::~StandIn() {
    try {
        Run(settings_.program, {L"--unregister-uri"});
    } catch (const std::exception&) {
        // The entry stays until the next registration.
    }
}

} // namespace check_client
