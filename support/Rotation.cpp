#include "support/Rotation.h"

#include <charconv>
#include <functional>
#include <map>

std::optional<LogNameParts> SplitLogName(std::string_view fileName) {
    const size_t dot = fileName.rfind('.');
    if (dot >= kLogNameBytes) { // also when there is none
        return std::nullopt;
    }
    return LogNameParts{fileName.substr(0, dot), fileName.substr(dot)};
}

std::optional<uint32_t> RotationIndex(std::string_view entry, std::string_view fileName, std::string_view base) {
    // Deliberate: the base may stand anywhere in the entry, and the extension is not compared.
    if (entry.find(base) == std::string_view::npos) {
        return std::nullopt;
    }
    if (entry == fileName) {
        return 0;
    }
    const size_t dot = entry.rfind('.');
    const size_t digits = base.size() + 1;
    if (dot == std::string_view::npos || dot <= digits || entry[base.size()] != '_') {
        return std::nullopt;
    }
    uint32_t index = 0;
    const char* const end = entry.data() + dot;
    const auto [stop, error] = std::from_chars(entry.data() + digits, end, index);
    if (error != std::errc() || stop != end || index == 0) {
        return std::nullopt;
    }
    return index;
}

RotationPlan PlanRotation(const std::vector<std::string>& entries, std::string_view fileName, const LogNameParts& parts,
                          int32_t backupCount) {
    RotationPlan plan;
    const uint32_t kept = backupCount > 0 ? static_cast<uint32_t>(backupCount) : 0;
    // Of two entries with one index (same number, other extension) the one listed last moves; the other stays.
    std::map<uint32_t, std::string, std::greater<>> byIndex;
    for (const std::string& entry : entries) {
        const std::optional<uint32_t> index = RotationIndex(entry, fileName, parts.base);
        if (!index) {
            continue;
        }
        if (*index == kept) {
            plan.removals.push_back(entry);
        } else if (*index < kept && entry.size() < kLogNameBytes) {
            byIndex[*index] = entry;
        }
    }
    for (const auto& [index, entry] : byIndex) {
        std::string to(parts.base);
        to.append("_").append(std::to_string(index + 1)).append(parts.extension);
        if (to.size() < kLogNameBytes) {
            plan.renames.push_back({entry, std::move(to)});
        }
    }
    return plan;
}
