#pragma once

#include "workbench/fieldtest/Host.h"

#include <filesystem>
#include <string>
#include <vector>

/// The changes that the test makes on this machine and that are to be undone. Each one stands in the user's part of the
/// registry before it is made, so that the next start can undo it after a kill.
namespace fieldtest::journal {

bool Empty();

/// The user's key gets back what it has now, also when it has nothing. @throws std::runtime_error.
void Keep(const std::wstring& key);
/// Registers the client's launch URI. @throws std::runtime_error.
void InstallScheme(std::vector<std::wstring> clientArguments);

// These note a thing of the test before the test makes it. @throws std::runtime_error.
void OwnFile(const std::filesystem::path& file);
void OwnSubject(const std::string& subject); ///< open items with it in their subject are the test's
void OwnItem(const std::string& entryId);    ///< a stored item of the test

/// Takes everything back, the last change first. Items need Outlook. @return what is left, in words.
std::vector<std::string> Undo(IDispatch* application);

} // namespace fieldtest::journal
