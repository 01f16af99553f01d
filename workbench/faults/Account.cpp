#include "workbench/faults/Account.h"

#include <algorithm>
#include <cstdio>

namespace faults {
namespace {

constexpr std::size_t kMostLines = 400;

void Remember(std::vector<std::string>& names, const std::string& name) {
    if (std::find(names.begin(), names.end(), name) == names.end()) {
        names.push_back(name);
    }
}

std::string Line(const std::string& name, const Account::Row& row) {
    char text[200];
    std::snprintf(text, sizeof text, "| %-28s | %7llu | %7llu | %6llu | %7llu | %5llu | %5llu | %6llu |\n",
                  name.c_str(), static_cast<unsigned long long>(row.found), static_cast<unsigned long long>(row.failed),
                  static_cast<unsigned long long>(row.missed), static_cast<unsigned long long>(row.crashes),
                  static_cast<unsigned long long>(row.hangs), static_cast<unsigned long long>(row.leaks),
                  static_cast<unsigned long long>(row.others));
    return text;
}

std::string Table(const char* first, const std::vector<std::string>& names,
                  const std::map<std::string, Account::Row>& rows) {
    char head[200];
    std::snprintf(head, sizeof head, "| %-28s | %7s | %7s | %6s | %7s | %5s | %5s | %6s |\n", first, "found", "failed",
                  "missed", "crashes", "hangs", "leaks", "others");
    std::string text = head;
    text += "|------------------------------|--------:|--------:|-------:|--------:|------:|------:|-------:|\n";
    Account::Row total;
    for (const std::string& name : names) {
        const Account::Row& row = rows.at(name);
        total.found += row.found;
        total.failed += row.failed;
        total.missed += row.missed;
        total.crashes += row.crashes;
        total.hangs += row.hangs;
        total.leaks += row.leaks;
        total.others += row.others;
        text += Line(name, row);
    }
    return text + Line("total", total);
}

} // namespace

template <class Change>
void Account::Change_(const std::string& scene, const std::string& round, Change change) {
    Remember(scenes_, scene);
    Remember(rounds_, round);
    change(byScene_[scene]);
    change(byRound_[round]);
}

void Account::Found(const std::string& scene, const std::string& round, std::uint64_t count) {
    Change_(scene, round, [count](Row& row) { row.found += count; });
}

void Account::Failed(const std::string& scene, const std::string& round) {
    Change_(scene, round, [](Row& row) { ++row.failed; });
}

void Account::Missed(const std::string& scene, const std::string& round) {
    Change_(scene, round, [](Row& row) { ++row.missed; });
}

void Account::Problem(const std::string& scene, const std::string& round, std::uint64_t number,
                      const std::string& function, const std::string& text) {
    Change_(scene, round, [&text](Row& row) {
        ++(text.starts_with("crash")  ? row.crashes
           : text.starts_with("hang") ? row.hangs
           : text.starts_with("leak") ? row.leaks
                                      : row.others);
    });
    ++violations_;
    if (lines_.size() < kMostLines) {
        lines_.push_back(scene + " --kind " + round + " --from " + std::to_string(number) + " --only  " + function +
                         ": " + text);
    }
}

std::uint64_t Account::FailedPoints() const {
    std::uint64_t points = 0;
    for (const auto& [scene, row] : byScene_) {
        points += row.failed;
    }
    return points;
}

std::vector<std::string> Account::IdleRounds() const {
    std::vector<std::string> idle;
    for (const auto& [round, row] : byRound_) {
        if (row.found != 0 && row.failed == 0) {
            idle.push_back(round);
        }
    }
    return idle;
}

std::string Account::Tell() const {
    std::string text = Table("scene", scenes_, byScene_) + "\n" + Table("kind", rounds_, byRound_) + "\n";
    for (const std::string& line : lines_) {
        text += "VIOLATION: " + line + "\n";
    }
    if (violations_ > lines_.size()) {
        text += "and " + std::to_string(violations_ - lines_.size()) + " more\n";
    }
    return text + std::to_string(violations_) + " violations\n";
}

} // namespace faults
