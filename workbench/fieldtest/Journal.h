#pragma once

#include "workbench/fieldtest/Host.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace fieldtest {

/// The changes that the test has made on this machine and not undone yet. Each change stands in a file before it is
/// made, so that the next start can undo it after a kill.
class Journal {
public:
    /// @param file continued when it is there.
    Journal(std::filesystem::path file, std::filesystem::path client);

    bool Empty() const { return entries_.empty(); }

    // Each makes a change that `Undo` takes back. @throws std::runtime_error when it could not be made.
    void InstallScheme(const std::vector<std::wstring>& clientArguments);
    std::filesystem::path NewFile(const std::filesystem::path& file); ///< it will be deleted; the caller makes it
    void SetNumber(const std::wstring& key, const std::wstring& name, std::optional<DWORD> number); ///< of the user
    void OwnSubject(const std::string& subject); ///< open items with it in their subject are the test's
    void OwnItem(const std::string& entryId);    ///< a stored item of the test

    /// Takes everything back, the last change first. Items need Outlook. @return what is left, in words.
    std::vector<std::string> Undo(IDispatch* application);

private:
    using Entry = std::vector<std::wstring>; // kind and details, without tabs and line ends

    void Write(Entry entry);
    void Save() const;
    void UndoOne(const Entry& entry, IDispatch* application) const;

    std::filesystem::path file_;
    std::filesystem::path client_;
    std::vector<Entry> entries_;
};

} // namespace fieldtest
