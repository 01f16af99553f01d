// The file side of LogOneImpl: where the log lies, opening it, its size and its rotation.
#include "support/LogOneImpl.h"

#include "osadapter/include/kosa.h"
#include "support/LogFormat.h"
#include "support/LogPath.h"

#include <windows.h>

#include <cerrno>
#include <cstring>

namespace {

constexpr int kDirectoryMode = 0755;
constexpr char kFallbackName[] = "MyLog.log";
constexpr DWORD kCloseTime = 20; // ms in which a process that writes gets the lock

struct DirectoryTraits {
    using Value = KosaDir*;
    static Value Empty() noexcept { return nullptr; }
    static void Close(Value directory) noexcept { KOSA_CloseDir(directory); }
};
using UniqueDirectory = UniqueResource<DirectoryTraits>;

std::string CurrentDirectory() {
    char text[kLogNameBytes * 3]; // UTF-8 of the platform's longest ordinary path
    return KOSA_GetCwd(text, sizeof(text)) == nullptr ? std::string() : std::string(text);
}

bool Exists(const std::string& path) {
    return KOSA_Access(path.c_str(), 0) == 0;
}

bool IsMissing(const std::string& path) {
    return KOSA_Access(path.c_str(), 0) != 0 && errno == ENOENT;
}

// Creates the levels one by one. A level that exists but cannot be accessed counts as present.
bool MakeDirectories(const std::string& directory) {
    const std::string whole = WithTrailingSeparator(directory);
    if (Exists(whole)) {
        return true;
    }
    for (size_t end = whole.find('\\', FirstCreatableLevel(whole)); end != std::string::npos;
         end = whole.find('\\', end + 1)) {
        const std::string level = whole.substr(0, end);
        if (!level.empty() && IsMissing(level) && KOSA_MkDir(level.c_str(), kDirectoryMode) != 0) {
            return false;
        }
    }
    return true;
}

template <size_t Size>
void CopyInto(char (&target)[Size], const std::string& text) noexcept {
    std::memcpy(target, text.c_str(), text.size() + 1);
}

} // namespace

void LogFileTraits::Close(Value file) noexcept {
    KOSA_Fclose(file); // Refuses the null of a failed open.
}

void LogOneImpl::ChooseFile(const char* path) {
    const std::string current = CurrentDirectory();
    const LogLocation location = SplitLogPath(path, current);
    if (MakeDirectories(location.directory) && UseFile(location.directory, location.fileName)) {
        return;
    }
    const std::string fallback = FallbackLogDirectory(current);
    KOSA_MkDir(fallback.c_str(), kDirectoryMode);
    UseFile(fallback, kFallbackName);
}

// @return false, with nothing changed, when the names do not fit their buffers.
bool LogOneImpl::UseFile(const std::string& directory, const std::string& fileName) noexcept {
    const bool separated = !directory.empty() && directory.back() == '\\';
    if (directory.size() + (separated ? 0 : 1) >= sizeof(directory_) || fileName.size() >= sizeof(fileName_)) {
        return false;
    }
    CopyInto(directory_, directory);
    if (!separated) {
        std::memcpy(directory_ + directory.size(), "\\", 2);
    }
    CopyInto(fileName_, fileName);
    return true;
}

// @return whether a line can be written now.
// @param owned the process lock is this process's. Another owner may be rotating the file.
bool LogOneImpl::PrepareFile(bool owned) {
    if (file_) {
        if (owned && IsFull()) {
            Rotate();
        }
        return !reopenPending_;
    }
    return !reopenPending_ || OpenFile();
}

bool LogOneImpl::OpenFile() noexcept {
    reopenPending_ = false;
    char path[sizeof(directory_) + sizeof(fileName_)];
    FormatBounded(path, sizeof(path), "%s%s", directory_, fileName_);
    file_.Reset(KOSA_Fopen(path, "ab+"));
    if (!file_) {
        // Deliberate, unreachable: `KOSA_Fopen` returns null, which counts as open here, so that no fallback file
        // appears.
        FormatBounded(path, sizeof(path), "%s%s", directory_, kFallbackName);
        file_.Reset(KOSA_Fopen(path, "ab+"));
        std::memcpy(fileName_, kFallbackName, sizeof(kFallbackName));
    }
    if (!file_) {
        return false;
    }
    if (file_.Get() != nullptr) {
        // Each line is flushed anyway. When the process ends during a line, the C runtime writes the contents of a
        // buffer once more: half a line, or a line that is in the file already.
        std::setvbuf(file_.Get(), nullptr, _IONBF, 0);
    }
    WriteHeader();
    return true;
}

void LogOneImpl::WriteHeader() noexcept {
    char time[kLogTimeBytes];
    FormatLocalTime(time);
    KOSA_Fprintf(file_.Get(), "Logone(v3.0) %s%s\r\n", "Begin Time:", time);
    KOSA_Fflush(file_.Get());
}

// The stream also reads ("ab+"), and must be positioned between a write and a read. Each check therefore begins and
// ends at the start. Writes append, whatever the position is.
bool LogOneImpl::IsFull() const noexcept {
    KOSA_Fseek(file_.Get(), 0, SEEK_SET);
    KOSA_Fseek(file_.Get(), 0, SEEK_END);
    const int32_t size = static_cast<int32_t>(KOSA_Ftell(file_.Get()));
    KOSA_Fseek(file_.Get(), 0, SEEK_SET);
    return size >= maxSize_;
}

// A file that another process has open cannot be renamed, and its content would be lost. Other processes that write
// find the file full as well, and close it when they get the lock. @return whether the rotation is still to be done,
// and by this process.
bool LogOneImpl::LetOthersClose() noexcept {
    processLock_.Unlock();
    ::Sleep(kCloseTime);
    if (!processLock_.Lock(true)) {
        return false;
    }
    char path[sizeof(directory_) + sizeof(fileName_)];
    FormatBounded(path, sizeof(path), "%s%s", directory_, fileName_);
    file_.Reset(KOSA_Fopen(path, "rb"));
    // A file that cannot be read counts as full. Otherwise each line would wait here again.
    const bool full = file_.Get() == nullptr || IsFull();
    file_.Reset();
    if (!full) {
        OpenFile();
    }
    return full;
}

void LogOneImpl::Rotate() {
    file_.Reset();
    const std::optional<LogNameParts> parts = SplitLogName(fileName_);
    if (!parts) {
        // Deliberate: the log ends here, because a name without an extension has no place for the number of a copy.
        return;
    }
    // If memory runs out before the copies are known, the next line appends to the old file and tries again.
    reopenPending_ = true;
    if (!LetOthersClose()) {
        return;
    }
    const RotationPlan plan = PlanCopies(*parts);
    const std::string directory = directory_;
    for (const std::string& entry : plan.removals) {
        KOSA_Remove((directory + entry).c_str());
    }
    for (const RotationRename& rename : plan.renames) {
        KOSA_Rename((directory + rename.from).c_str(), (directory + rename.to).c_str());
    }
    KOSA_Fclose(KOSA_Fopen((directory + fileName_).c_str(), "w"));
    OpenFile();
}

RotationPlan LogOneImpl::PlanCopies(const LogNameParts& parts) const {
    std::vector<std::string> names;
    const UniqueDirectory directory(KOSA_OpenDir(directory_));
    KosaDirEntry* entry = nullptr;
    while (KOSA_ReadDir_S(directory.Get(), nullptr, &entry) == 0 && entry != nullptr) {
        names.emplace_back(entry->name);
    }
    return PlanRotation(names, fileName_, parts, backupCount_);
}
