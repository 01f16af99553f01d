#include "Outlook/AddIns/LogText.h"
#include "resources/Connect.h"
#include "support/Text.h"
#include "tests/Outlook/Registration/Registry.h"
#include "tests/fakes/AddInModule.h"
#include "tests/fakes/StatusMatcher.h"

#include <gmock/gmock.h>

#include <oleauto.h>
#include <shlobj.h>

#include <fstream>
#include <vector>

using testing::ElementsAre;

namespace {

constexpr const wchar_t* kProgId = L"NembraMeeting.OutlookAddin";
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

/// Runs a program of the system's folder with its output in a file; its exit code.
DWORD RunSystemProgram(const std::wstring& program, const std::wstring& arguments, const std::wstring& output) {
    SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
    const UniqueHandle file(::CreateFileW(output.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                                          CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = file.Get();
    wchar_t folder[MAX_PATH] = {};
    ::GetSystemDirectoryW(folder, MAX_PATH);
    std::wstring command = std::wstring(L"\"") + folder + L"\\" + program + L"\" " + arguments;
    PROCESS_INFORMATION started = {};
    if (!::CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &started)) {
        ADD_FAILURE() << "cannot start " << ToUtf8(command) << ": " << ::GetLastError();
        return MAXDWORD;
    }
    const UniqueHandle process(started.hProcess);
    const UniqueHandle thread(started.hThread);
    if (::WaitForSingleObject(process.Get(), kProgramDeadline) != WAIT_OBJECT_0) {
        ADD_FAILURE() << ToUtf8(command) << " does not end";
        ::TerminateProcess(process.Get(), 1);
    }
    DWORD code = MAXDWORD;
    ::GetExitCodeProcess(process.Get(), &code);
    return code;
}

/// Width and height of an image resource of the module as a picture tells them: in hundredths of a millimetre.
SIZE PictureSize(WORD id) {
    HMODULE module = ::LoadLibraryExW(AddInModulePath().c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    HRSRC found = ::FindResourceW(module, MAKEINTRESOURCEW(id), L"PNG");
    const auto* png = static_cast<const BYTE*>(::LockResource(::LoadResource(module, found)));
    const auto bigEndian = [png](size_t at) {
        return png[at] << 24 | png[at + 1] << 16 | png[at + 2] << 8 | png[at + 3];
    };
    HDC screen = ::GetDC(nullptr);
    const SIZE size = {::MulDiv(bigEndian(16), 2540, ::GetDeviceCaps(screen, LOGPIXELSX)),
                       ::MulDiv(bigEndian(20), 2540, ::GetDeviceCaps(screen, LOGPIXELSY))};
    ::ReleaseDC(nullptr, screen);
    ::FreeLibrary(module);
    return size;
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
        wchar_t folder[MAX_PATH] = {};
        ::GetTempPathW(MAX_PATH, folder);
        output_ = folder + (L"NembraRegistration" + std::to_wstring(::GetCurrentProcessId()) + L".txt");
        ready_ = true;
        RegSvr(L"/s /u"); // what a crashed run has left
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
            RegSvr(L"/s /u");
            ::UnRegisterTypeLib(LIBID_NBMOutlookAddin, 1, 0, 0, SYS_WIN64);
            for (const wchar_t* key : madeKeys_) { // fails, as it should, on a key with others' entries
                ::RegDeleteKeyW(HKEY_LOCAL_MACHINE, key);
            }
            ::DeleteFileW(output_.c_str());
        }
        ::ReleaseMutex(turn_.Get());
    }

    DWORD RegSvr(const std::wstring& options) const {
        return RunSystemProgram(L"regsvr32.exe", options + L" \"" + AddInModulePath() + L"\"", output_);
    }
    void Install() const {
        MakeKey(HKEY_LOCAL_MACHINE, kAddInsKeys[2]);
        ASSERT_EQ(RegSvr(L"/s"), 0u);
    }

    UniqueHandle turn_;
    bool ready_ = false;
    std::wstring output_;
    std::vector<const wchar_t*> madeKeys_; // innermost first
};

TEST_F(Installation, MakesTheClassCreatableUntilItIsRemoved) {
    const auto create = [](REFCLSID id) {
        IDispatch* object = nullptr;
        const HRESULT status =
            ::CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, reinterpret_cast<void**>(&object));
        if (object != nullptr) {
            EXPECT_EQ(object->Release(), 0u);
        }
        return status;
    };
    const auto findClass = [](const std::wstring& progId) {
        CLSID found = CLSID_NULL;
        const HRESULT status = ::CLSIDFromProgID(progId.c_str(), &found);
        EXPECT_EQ(found == CLSID_NembraMeeting, SUCCEEDED(status));
        return status;
    };
    if (!madeKeys_.empty()) {
        EXPECT_NE(RegSvr(L"/s"), 0u) << "there is no list of Outlook's add-ins yet";
        EXPECT_FALSE(HasKey(HKEY_CLASSES_ROOT, ServerKey()));
    }
    EXPECT_THAT(create(CLSID_NembraMeeting), IsStatus(REGDB_E_CLASSNOTREG));
    Install();
    EXPECT_TRUE(HasKey(HKEY_LOCAL_MACHINE, std::wstring(kAddInsKeys[2]) + L"\\" + kProgId));
    EXPECT_THAT(findClass(kProgId), IsStatus(S_OK));
    EXPECT_THAT(findClass(std::wstring(kProgId) + L".1"), IsStatus(S_OK));
    ::UnRegisterTypeLib(LIBID_NBMOutlookAddin, 1, 0, 0, SYS_WIN64); // another test's object may have registered it
    EXPECT_THAT(create(CLSID_NembraMeeting), IsStatus(S_OK));
    EXPECT_EQ(RegisteredLibrary(), AddInModulePath());

    EXPECT_EQ(RegSvr(L"/s /u"), 0u);
    EXPECT_FALSE(HasKey(HKEY_LOCAL_MACHINE, std::wstring(kAddInsKeys[2]) + L"\\" + kProgId));
    EXPECT_THAT(findClass(kProgId), IsStatus(CO_E_CLASSSTRING));
    ::CoFreeUnusedLibraries();
    EXPECT_THAT(create(CLSID_NembraMeeting), IsStatus(REGDB_E_CLASSNOTREG));
    EXPECT_EQ(RegisteredLibrary(), AddInModulePath()) << "the type library is no part of the registration";
}

TEST_F(Installation, ServesAScriptThatKnowsItByNameOnly) {
    Install();
    wchar_t program[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::filesystem::path script = std::filesystem::path(program).replace_filename(L"late_binding.vbs");
    ASSERT_TRUE(std::filesystem::exists(script));
    // Not //T: for a time limit: Wine's cscript refuses it. The run is bounded here.
    EXPECT_EQ(RunSystemProgram(L"cscript.exe", L"//nologo \"" + script.wstring() + L"\"", output_), 0u);
    std::vector<std::string> lines;
    std::ifstream output{std::filesystem::path(output_)};
    for (std::string line; std::getline(output, line);) {
        lines.push_back(line.substr(0, line.find('\r')));
    }
    const SIZE size = PictureSize(402);
    ASSERT_GT(size.cx, 0);
    EXPECT_THAT(lines,
                ElementsAre("create: done",
                            "image 402: type 1, " + std::to_string(size.cx) + " x " + std::to_string(size.cy),
                            "image 401, name in small letters: type 1",
                            "image abc: error 80070716", // no such resource
                            // An object that is no ribbon control is as good as none; and there is no connection yet.
                            "label: error 80004003", "visible: True", "enabled: True", "action: error 80004005",
                            "load: done", "load nothing: done",
                            // The script's own numbers: wrong number of arguments, no such member.
                            "label of no control: error 1C2", "no such name: error 1B6"));
}
