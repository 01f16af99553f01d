#include "workbench/check_client/Checker.h"

#include "workbench/client/ClientProcess.h"
#include "workbench/client/Control.h"
#include "workbench/host/Pump.h"
#include "workbench/process/ChildProcess.h"
#include "workbench/wire/Window.h"

#include <stdexcept>

namespace check_client {
namespace {

/// Has the client carry an order out, when it takes orders within the limit.
bool Order(const std::string& order, std::chrono::milliseconds limit = {}) {
    HWND control = nullptr;
    const auto found = [&] { return (control = wire::Find(meeting_client::kControlWindow)) != nullptr; };
    return workbench::PumpUntil(found, static_cast<unsigned>(limit.count())) &&
           wire::SendBytes(control, nullptr, 0, order.c_str(), order.size() + 1) == ERROR_SUCCESS;
}

DWORD Run(const std::wstring& program, const std::vector<std::wstring>& arguments) {
    return process::ChildProcess(program, arguments, process::Streams::Own).Wait();
}

} // namespace

Settings ForStandIn(std::vector<std::wstring> arguments, std::chrono::milliseconds limit) {
    arguments.insert(arguments.end(),
                     {L"--hidden", L"--max-seconds", L"600", L"--parent", std::to_wstring(::GetCurrentProcessId())});
    Settings settings;
    settings.program = meeting_client::ClientProcess::FindProgram();
    settings.arguments = arguments;
    settings.logIn = [limit] { Order("show", limit); };
    settings.awaitLogInForm = [limit] { return Order("settle", limit); }; // it takes orders once it runs
    settings.settle = [] { Order("settle"); };
    settings.change = [](const std::string& confId) { Order("change " + confId + " {\"subject\":\"Changed\"}"); };
    settings.limit = limit;
    arguments.emplace_back(L"--register-uri");
    if (Run(settings.program, arguments) != 0) {
        throw std::runtime_error("the stand-in client refuses its options");
    }
    settings.registration = std::shared_ptr<void>(nullptr, [program = settings.program](void*) {
        try {
            Run(program, {L"--unregister-uri"});
        } catch (const std::exception&) {
            // The entry stays until the next registration.
        }
    });
    return settings;
}

} // namespace check_client
