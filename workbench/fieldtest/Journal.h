#pragma once

#include "workbench/fieldtest/Host.h"

#include <filesystem>
#include <string>
#include <vector>

namespace fieldtest {

/// The changes that the test makes on this machine and that are to be undone. Each one stands in a file before it is
/// made, so that the next start can undo it after a kill.
class Journal {
public:
    /// @param file continued when it is there. @param client the program of the stand-in client.
    Journal(std::filesystem::path file, std::filesystem::path client);

    bool Empty() const { return entries_.empty(); }

    /// The user's key gets back what it has now, also when it has nothing. @throws std::runtime_error.
    void Keep(const std::wstring& key);
    /// Registers the client's launch URI. @throws std::runtime_error.
    void InstallScheme(std::vector<std::wstring> clientArguments);

    // What will be made, after this call.
    void OwnFile(const std::filesystem::path& file) { Write({L"file", file.wstring()}); }
    void OwnSubject(const std::string& subject); ///< open items with it in their subject are the test's
    void OwnItem(const std::string& entryId);    ///< a stored item of the test

    /// Takes everything back, the last change first. Items need Outlook. @return what is left, in words.
    std::vector<std::string> Undo(IDispatch* application);

private:
    using Entry = std::vector<std::wstring>; // kind and details, without tabs and line ends

    void Write(Entry entry);
    void Save() const;
    void UndoOne(const Entry& entry, IDispatch* application) const;
    void RunClient(const std::vector<std::wstring>& arguments) const;

    std::filesystem::path file_;
    std::filesystem::path client_;
    std::vector<Entry> entries_;
};

} // namespace fieldtest
