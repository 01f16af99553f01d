#include "Outlook/AddIns/LogValues.h"
#include "resources/Connect.h"
#include "support/Text.h"
#include "tests/Outlook/Registration/Registry.h"
#include "tests/fakes/AddInModule.h"
#include "workbench/process/ChildProcess.h"
#include "workbench/process/OwnProgram.h"

#include <gmock/gmock.h>

#include <oleauto.h>
#include <shlobj.h>

#include <filesystem>
#include <vector>

using testing::ElementsAre;

namespace {

constexpr const wchar_t* kAddInsKeys[] = {
    // from the outermost; not all need be there before Office is
    L"SOFTWARE\\Microsoft\\Office",
    L"SOFTWARE\\Microsoft\\Office\\Outlook",
    L"SOFTWARE\\Microsoft\\Office\\Outlook\\Addins",
};
constexpr DWORD kProgramDeadline = 60'000; // milliseconds

std::wstring ServerKey() {
    return std::wstring(L"CLSID\\") + IdText(CLSID_NembraMeeting).text + L"\\InprocServer32";
}

struct Played {
    DWORD code = 0;
    std::vector<std::string> lines;
};

/// Runs a program of the system's folder and reads its output.
Played RunSystemProgram(const std::wstring& program, const std::vector<std::wstring>& arguments) {
    wchar_t folder[MAX_PATH] = {};
    ::GetSystemDirectoryW(folder, MAX_PATH);
    process::ChildProcess started(folder + (L"\\" + program), arguments, process::Streams::OutputRead);
    Played played;
    for (std::string line; started.ReadLine(line, kProgramDeadline);) {
        played.lines.push_back(line);
    }
    played.code = started.Wait();
    return played;
}

} // namespace

/// The module registered with regsvr32 in the registry of this machine, or of the Wine prefix; one test at a time.
class Installation : public testing::Test {
protected:
    void SetUp() override {
        turn_.Reset(::CreateMutexW(nullptr, FALSE, L"NembraRegistrationTest"));
        const DWORD waited = ::WaitForSingleObject(turn_.Get(), kProgramDeadline);
        ASSERT_TRUE(waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED);
        if (!::IsUserAnAdmin()) {
            GTEST_SKIP() << "registration needs an elevated prompt";
        }
        wchar_t path[MAX_PATH] = {};
        DWORD size = sizeof(path);
        ::RegGetValueW(HKEY_CLASSES_ROOT, ServerKey().c_str(), nullptr, RRF_RT_REG_SZ, nullptr, path, &size);
        if (path[0] != L'\0' && path != AddInModulePath()) {
            GTEST_SKIP() << "another copy is installed here and stays as it is: " << ToUtf8(path);
        }
        ready_ = true;
        RegSvr({L"/s", L"/u"}); // what a crashed run has left
        for (const wchar_t* key : kAddInsKeys) {
            if (!HasKey(HKEY_LOCAL_MACHINE, key)) {
                madeKeys_.insert(madeKeys_.begin(), key);
            }
        }
        ASSERT_TRUE(SUCCEEDED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
    }

    void TearDown() override {
        if (ready_) {
            ::CoUninitialize();
            RegSvr({L"/s", L"/u"});
            ::UnRegisterTypeLib(LIBID_NBMOutlookAddin, 1, 0, 0, SYS_WIN64);
            for (const wchar_t* key : madeKeys_) { // fails, as it should, on a key with others' entries
                ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, key);
            }
        }
        ::ReleaseMutex(turn_.Get());
    }

    static DWORD RegSvr(std::vector<std::wstring> arguments) {
        arguments.push_back(AddInModulePath());
        return RunSystemProgram(L"regsvr32.exe", arguments).code;
    }
    static void Install() {
        MakeKey(HKEY_LOCAL_MACHINE, kAddInsKeys[2]);
        ASSERT_EQ(RegSvr({L"/s"}), 0u);
    }

    UniqueHandle turn_;
    bool ready_ = false;
    std::vector<const wchar_t*> madeKeys_; // innermost first
};

TEST_F(Installation, ServesAScriptThatKnowsItByNameOnly) {
    Install();
    const std::filesystem::path script =
        std::filesystem::path(process::ProgramPath()).replace_filename(L"late_binding.vbs");
    ASSERT_TRUE(std::filesystem::exists(script));
    // Not //T: for a time limit: Wine's cscript refuses it. The run is bounded here.
    const Played played = RunSystemProgram(L"cscript.exe", {L"//nologo", script.wstring()});
    EXPECT_EQ(played.code, 0u);
    HDC screen = ::GetDC(nullptr); // a picture tells its 64 pixels in hundredths of a millimetre
    const std::string width = std::to_string(::MulDiv(64, 2540, ::GetDeviceCaps(screen, LOGPIXELSX)));
    const std::string height = std::to_string(::MulDiv(64, 2540, ::GetDeviceCaps(screen, LOGPIXELSY)));
    ::ReleaseDC(nullptr, screen);
    EXPECT_THAT(played.lines,
                ElementsAre("create: done", "image 402: type 1, " + width + " x " + height,
                            "image 401, name in small letters: type 1",
                            "image abc: error 80070716", // no such resource
                            // An object that is no ribbon control is as good as none; and there is no connection yet.
                            "label: error 80004003", "visible: True", "enabled: True", "action: error 80004005",
                            "load: done", "load nothing: done",
                            // The script's own numbers: wrong number of arguments, no such member.
                            "label of no control: error 1C2", "no such name: error 1B6"));
}
