#include "bench/HandLog.h"
#include "bench/Parts.h"
#include "bench/WorkFolder.h"
#include "support/AddinLog.h"
#include "support/LogLine.h"
#include "support/LogOneApi.h"

#ifdef BENCH_HAS_SPDLOG
#include "bench/SpdlogPeer.h"
#endif

#include <string>

namespace bench {
namespace {

constexpr std::size_t kMessage = 100; // bytes
constexpr int kLines = 1000;          // per sample

} // namespace

void MeasureLog(const Effort& effort) {
    const WorkFolder folder;
    const int samples = effort.Of(15, 7);
    const std::string message(kMessage, 'x');
    const std::wstring wide(kMessage, L'x');

    const std::string path = folder.File("product.txt");
    const LogOneConfig config{path.c_str(), 1 << 20, 2, 2};
    const uint32_t id = LogOneOpen(&config);
    const auto writeLine = [&] {
        LogOneWrite(id, "", 2, "AddIn::ActionTask", "AddIns/Action", 81, "%s", message.c_str());
    };

    HandLog byHand(folder.File("hand.txt"));
    const std::string prefix = "[2022-09-01 10:06:20.123][P:5120/T:7344][Inf][Action:81 AddIn::ActionTask]";
    const std::string line = prefix + message + "\r\n";
    Report(Compare(
        "log line of 100 bytes", "mutex, 3 seeks, tell, write, flush by hand", samples, kLines, writeLine,
        [&] { byHand.Write(line); }, Aim::AtMostTimes(1.15)));
#ifdef BENCH_HAS_SPDLOG
    SpdlogPeer peer(folder.File("peer.txt"));
    Report(Compare("log line of 100 bytes", "spdlog, rotating sink, flush per line", samples, kLines, writeLine,
                   [&] { peer.Write(message.c_str()); }));
#endif
    OpenAddinLogUnder(folder.Path().c_str()); // the add-in's own log, its file in another folder
    Report(Compare(
        "LogLine statement, Info", "log line of 100 bytes", samples, kLines,
        [&] { LogLine(L"AddIns/Action", L"AddIn::ActionTask").Info() << wide.c_str(); }, writeLine));
    Report(Compare(
        "LogLine statement, Debug (dropped)", "log line of 100 bytes", samples, kLines,
        [&] { LogLine(L"AddIns/Action", L"AddIn::ActionTask").Debug() << wide.c_str(); }, writeLine));
    CloseAddinLog();
    LogOneClose(id);
    const auto written = static_cast<double>(std::filesystem::file_size(path));
    Require(written > static_cast<double>(line.size()) * samples * kLines, "the logger has not written its lines");
}

} // namespace bench
