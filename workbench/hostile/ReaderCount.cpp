#include "workbench/hostile/ReaderCount.h"

namespace hostile {

ReaderVerdicts ReaderVerdicts::Since(const ReaderVerdicts& before) const {
    ReaderVerdicts since;
    for (auto member : {&ReaderVerdicts::noJson, &ReaderVerdicts::noNotification, &ReaderVerdicts::scheduled,
                        &ReaderVerdicts::modified, &ReaderVerdicts::cancelled, &ReaderVerdicts::changed,
                        &ReaderVerdicts::otherType}) {
        since.*member = this->*member - before.*member;
    }
    return since;
}

std::uint64_t& ReaderCount::TypeCount(std::string_view type) {
    if (type == "101") {
        return verdicts_.scheduled;
    }
    if (type == "102") {
        return verdicts_.modified;
    }
    if (type == "103") {
        return verdicts_.cancelled;
    }
    return type == "200" ? verdicts_.changed : verdicts_.otherType;
}

void ReaderCount::Read() {
    constexpr std::string_view kType = "Type: ";
    constexpr std::string_view kNoJson = "parse msg fail";
    for (const gauges::AddinLogLine& line : tail_.Read()) {
        const std::string_view text = line.text;
        if (line.function == "AddIn::NotifyCallback" && text.starts_with(kType)) {
            ++TypeCount(text.substr(kType.size()));
        } else if (line.function == "Meeting::OnRecvMsg" && line.level == "Err") {
            ++(text.starts_with(kNoJson) ? verdicts_.noJson : verdicts_.noNotification);
        }
    }
}

} // namespace hostile
