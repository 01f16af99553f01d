#pragma once

#include "workbench/demo/Story.h"

#include "support/UniqueResource.h"

#include <string>
#include <vector>

namespace demo {

/// Empty when it is not there. A null name is the key's unnamed value.
std::wstring ReadText(HKEY root, const std::wstring& path, const wchar_t* name = nullptr);

/// The add-in installed on this machine as its installer does it: with regsvr32, in the registry that Outlook reads.
/// Nobody else who does so, such as a test, has a turn while it lives.
class Registration {
public:
    /// @param installed an installer has installed the file: nothing is registered or removed here.
    /// @throws StepFailed when the others do not end.
    Registration(Story& story, std::wstring dll, bool installed);
    /// Takes back what `Remove` has not.
    ~Registration();
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

    /// Registers the file and tells what that wrote. @throws StepFailed, also when another copy is installed here.
    void Install();
    /// Does as Outlook at its start: looks for add-ins to load in their registry keys.
    /// @return the ProgID of this one. @throws StepFailed when it is not among them.
    std::wstring FindInOutlooksList();
    void Remove();

private:
    void MakeOfficeKey();
    void Register();
    void TellEntries();
    bool RunTool(std::vector<std::wstring> options);

    Story& story_;
    const std::wstring dll_;
    UniqueHandle turn_;
    std::vector<const wchar_t*> madeKeys_; // innermost first
    bool removed_;                         ///< nothing is left to remove here
};

} // namespace demo
