#include "workbench/hostile/ReaderCount.h"

namespace hostile {

void ReaderCount::Read() {
    for (const gauges::AddinLogLine& line : tail_.Read()) {
        accepted_ += line.function == "AddIn::NotifyCallback" && line.text.starts_with("Type: ") ? 1 : 0;
        refused_ += line.function == "Meeting::OnRecvMsg" && line.level == "Err" ? 1 : 0;
    }
}

} // namespace hostile
