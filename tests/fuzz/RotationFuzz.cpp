#include "support/Rotation.h"
#include "tests/fuzz/Fuzz.h"

#include <set>

namespace {

struct Folder {
    std::string fileName;
    LogNameParts parts; // views into fileName
    std::int32_t backupCount;
    std::vector<std::string> entries;
};

bool IsListed(const Folder& folder, const std::string& name) {
    return std::find(folder.entries.begin(), folder.entries.end(), name) != folder.entries.end();
}

std::optional<std::uint32_t> IndexOf(const Folder& folder, const std::string& entry) {
    const std::optional<std::uint32_t> index = RotationIndex(entry, folder.fileName, folder.parts.base);
    FUZZ_CHECK(!index || (*index == 0) == (entry == folder.fileName));
    return index;
}

/// A name that is in a rename's way although the rotation moves or removes every copy it can.
bool MayStayBehind(const Folder& folder, const std::string& name) {
    const std::optional<std::uint32_t> index = IndexOf(folder, name);
    const auto copies = std::count_if(folder.entries.begin(), folder.entries.end(),
                                      [&](const std::string& entry) { return IndexOf(folder, entry) == index; });
    // Two copies share the number, or the name's successor would be longer than the logger's buffers.
    return copies > 1 || name.size() + 2 > kLogNameBytes;
}

/// Carries the plan out on a set of names, as the logger does on its directory.
void CheckPlan(const Folder& folder) {
    const RotationPlan plan = PlanRotation(folder.entries, folder.fileName, folder.parts, folder.backupCount);
    std::set<std::string> names(folder.entries.begin(), folder.entries.end());
    for (const std::string& removed : plan.removals) {
        FUZZ_CHECK(IsListed(folder, removed));
        FUZZ_CHECK(IndexOf(folder, removed) == static_cast<std::uint32_t>(folder.backupCount));
        names.erase(removed);
    }
    std::set<std::string> stuck; // what was in a rename's way is in the way of the next one, too
    std::optional<std::uint32_t> previous;
    for (const RotationRename& rename : plan.renames) {
        const std::optional<std::uint32_t> index = IndexOf(folder, rename.from);
        FUZZ_CHECK(index && *index < static_cast<std::uint32_t>(folder.backupCount));
        FUZZ_CHECK(!previous || *index < *previous); // oldest first
        previous = index;
        FUZZ_CHECK(rename.from.size() < kLogNameBytes && rename.to.size() < kLogNameBytes);
        FUZZ_CHECK(IndexOf(folder, rename.to) == *index + 1); // found again by the next rotation
        FUZZ_CHECK(names.count(rename.from) == 1);
        if (names.insert(rename.to).second) {
            names.erase(rename.from);
        } else {
            FUZZ_CHECK(stuck.count(rename.to) == 1 || MayStayBehind(folder, rename.to));
            stuck.insert(rename.from);
        }
    }
}

} // namespace

// The lines are the file's name, then the directory's entries.
void FuzzOne(Fuzz::Input input) {
    Folder folder;
    folder.backupCount = 1 + input.TakeByte() % 12;
    folder.fileName = input.TakeLine();
    const std::optional<LogNameParts> parts = SplitLogName(folder.fileName);
    FUZZ_CHECK(parts || folder.fileName.rfind('.') == std::string::npos || folder.fileName.rfind('.') >= kLogNameBytes);
    if (!parts) {
        return;
    }
    FUZZ_CHECK(std::string(parts->base).append(parts->extension) == folder.fileName);
    FUZZ_CHECK(parts->extension.rfind('.') == 0);
    folder.parts = *parts;
    std::set<std::string> unique; // a directory lists no name twice
    while (!input.IsEmpty()) {
        std::string entry(input.TakeLine());
        if (unique.insert(entry).second) {
            folder.entries.push_back(std::move(entry));
        }
    }
    CheckPlan(folder);
}
