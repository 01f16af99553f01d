// FieldTest.exe against the stand-in Outlook. A scripted user does what the person is told.
#include "workbench/client/ClientProcess.h"
#include "workbench/process/ChildProcess.h"
#include "workbench/process/OwnProgram.h"

#include "doctor/WindowsMachine.h"

#include <gmock/gmock.h>
#include <zlib.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <optional>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr wchar_t kScheme[] = L"Software\\Classes\\quorvex";
constexpr wchar_t kOffice[] = L"Software\\Microsoft\\Office";
constexpr DWORD kSilence = 120'000; // ms
constexpr char kPlantedSubject[] = "Payroll of Kim";

std::filesystem::path Variable(const wchar_t* name) {
    wchar_t text[MAX_PATH] = L"";
    ::GetEnvironmentVariableW(name, text, MAX_PATH);
    return text;
}

bool HasKey(const std::wstring& path) {
    return static_cast<bool>(doctor::WindowsMachine().Values(doctor::Hive::User, path));
}

/// Reads an archive from its local headers, without its directory.
std::map<std::string, std::string> ReadZip(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string zip{std::istreambuf_iterator<char>(file), {}};
    const auto number = [&](std::size_t at, std::size_t bytes) {
        std::size_t value = 0;
        zip.copy(reinterpret_cast<char*>(&value), bytes, at);
        return value;
    };
    std::map<std::string, std::string> files;
    for (std::size_t at = 0; zip.compare(at, 4, "PK\x03\x04") == 0;) {
        const std::size_t packed = number(at + 18, 4);
        std::string content(number(at + 22, 4), '\0');
        const std::string name = zip.substr(at + 30, number(at + 26, 2));
        at += 30 + name.size() + number(at + 28, 2);
        z_stream stream{};
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(zip.data() + at));
        stream.avail_in = static_cast<uInt>(packed);
        stream.next_out = reinterpret_cast<Bytef*>(content.data());
        stream.avail_out = static_cast<uInt>(content.size());
        inflateInit2(&stream, -MAX_WBITS);
        EXPECT_EQ(inflate(&stream, Z_FINISH), Z_STREAM_END) << name;
        inflateEnd(&stream);
        files[name] = content;
        at += packed;
    }
    return files;
}

class FieldTest : public testing::Test {
protected:
    FieldTest() {
        std::filesystem::create_directories(output_);
        for (const auto* program : {L"workbench\\fieldtest\\FieldTest.exe", L"workbench\\client\\meeting_client.exe"}) {
            const std::filesystem::path built = process::FindBuilt(program); // nothing else is needed
            std::filesystem::copy_file(built, output_ / built.filename(),
                                       std::filesystem::copy_options::overwrite_existing);
        }
        ::RegSetKeyValueW(HKEY_CURRENT_USER, kScheme, L"planted", REG_SZ, L"own", 4 * sizeof(wchar_t));
    }
    ~FieldTest() override {
        std::error_code ignored;
        std::filesystem::remove_all(output_, ignored);
        ::RegDeleteTreeW(HKEY_CURRENT_USER, kScheme);
    }

    void StartOutlook() {
        std::vector<std::wstring> arguments = habits;
        arguments.insert(arguments.begin(), process::FindBuilt(L"OutlookAddIn.dll"));
        outlook.emplace(process::FindBuilt(L"tests\\workbench\\fieldtest\\outlook_stand_in.exe"), arguments,
                        process::Streams::Dialogue);
    }

    std::unique_ptr<process::ChildProcess> StartTest(std::vector<std::wstring> more = {}) const {
        more.insert(more.end(), {L"--person-seconds", L"60", L"--machine-seconds", L"30"});
        return std::make_unique<process::ChildProcess>((output_ / L"FieldTest.exe").wstring(), more,
                                                       process::Streams::Dialogue);
    }

    /// Does what the person is told.
    void DoStep(const std::string& id, const process::ChildProcess& test) {
        static const std::map<std::string, std::string> acts = {
            {"launch", "calendar BookMeetingCalendar\n"},
            {"schedule", "answer 2\ncalendar BookMeetingCalendar\n"},
            {"save", "save\nclose\n"},
            {"window", std::string("answer 2\nnew ") + kPlantedSubject + "\npress BookMeetingAppointment\n"},
            {"discard", "discard\n"},
            {"question", "open\nlocation Room 4\nsave\n"},
            {"later", "answer 5\n"},
            {"cancel", "press CancelMeeetingAppointment\n"},
            {"off", "off\n"},
            {"exit", "exit\n"},
        };
        if (id == "start" || id == "again") {
            StartOutlook();
        } else if (id == "icons") {
            test.Write("1\n");
        } else if (const auto act = acts.find(id); act != acts.end()) {
            outlook->Write(act->second);
        }
    }

    /// Runs the test up to its end, or to the prompt of a step. @return its output.
    std::string Follow(process::ChildProcess& test, const std::string& last = {}) {
        std::string all;
        for (std::string line; test.ReadLine(line, kSilence);) {
            all += line + "\n";
            const std::size_t begin = line.find('[');
            if (!line.starts_with("Step ") || begin == std::string::npos) {
                continue;
            }
            const std::string id = line.substr(begin + 1, line.find(']') - begin - 1);
            if (id == last) {
                return all;
            }
            DoStep(id, test);
        }
        return all;
    }

    void ExpectNothingLeft() {
        EXPECT_EQ(doctor::WindowsMachine().Values(doctor::Hive::User, kScheme)->size(), 1U); // what was there before
        EXPECT_FALSE(HasKey(std::wstring(kScheme) + L"\\shell"));
        EXPECT_FALSE(HasKey(L"Software\\NembraFieldTest"));
        EXPECT_EQ(HasKey(kOffice), hadOffice_);
        EXPECT_FALSE(std::filesystem::exists(std::filesystem::temp_directory_path() / L"NembraFieldTest.txt"));
        EXPECT_EQ(meeting_client::ClientProcess::FindRunning(), 0U);
        outlook->Write("exit\n");
        EXPECT_EQ(outlook->Wait(), 0U) << "appointments are left";
    }

    std::vector<std::wstring> habits;
    std::optional<process::ChildProcess> outlook;
    const std::filesystem::path output_ = std::filesystem::temp_directory_path() / L"nembra-field-test";
    const bool hadOffice_ = HasKey(kOffice);
};

TEST_F(FieldTest, FullPassAnswersTheOpenPointsAndTellsNothingPersonal) {
    const std::string user = Variable(L"USERNAME").string();
    ASSERT_NE(user, "");
    const std::filesystem::path log = Variable(L"APPDATA") / L"NembraMeeting" / L"log" / L"outlookaddin.txt";
    std::filesystem::create_directories(log.parent_path());
    std::ofstream(log, std::ios::app | std::ios::binary)
        << "[2026-01-01 00:00:00.000][P:1/T:1][Err][Planted:1 Planted::Planted]by " << user << "\r\n";
    const auto test = StartTest();
    const std::string shown = Follow(*test);
    ASSERT_EQ(test->Wait(), 0U) << shown;
    ExpectNothingLeft();
    const auto files = ReadZip(output_ / L"field-report.zip");
    const std::string report = files.at("report.txt");
    EXPECT_THAT(report, AllOf(Not(HasSubstr("FAIL")), HasSubstr("16.0"), HasSubstr("1033")));
    // The stand-in looks each callback up a first time to see that it is there.
    EXPECT_THAT(files.at("host-facts-table.md"),
                AllOf(HasSubstr("main window: yes; item: yes"), HasSubstr("AfxWndA > _WwB > _WwG"),
                      HasSubstr("VT_DISPATCH with null"), HasSubstr("kept after save and close: yes"),
                      HasSubstr("false, one-off: no"), HasSubstr("over a restart of Outlook: no item"),
                      HasSubstr("2 ribbons, onLoad looked up 4 times"), HasSubstr("yes, the edges are clean"),
                      HasSubstr("the add-in is on although it was switched off")));
    EXPECT_THAT(files.at("outlookaddin.txt"), AllOf(HasSubstr("AddIn::OnAction"), HasSubstr("Planted::Planted]by ")));
    for (const auto& [file, content] : files) {
        EXPECT_THAT(content, AllOf(Not(HasSubstr(kPlantedSubject)), Not(HasSubstr("NEMBRA field test ")),
                                   Not(HasSubstr("]by " + user))))
            << file;
    }
}

TEST_F(FieldTest, FiveOtherHabitsAreInTheReport) {
    habits = {L"nullAsEmpty", L"onLoadTwice", L"editorChain", L"refuseVtInt", L"distinctPointers", L"distinctIdentity"};
    const auto test = StartTest();
    const std::string shown = Follow(*test);
    EXPECT_EQ(test->Wait(), 1U) << shown; // the add-in does not find an appointment by its id
    ExpectNothingLeft();
    EXPECT_THAT(ReadZip(output_ / L"field-report.zip").at("host-facts-table.md"),
                AllOf(HasSubstr("main window: no; item: no"), HasSubstr("the window has no _WwG"),
                      HasSubstr("| VT_EMPTY |"), HasSubstr("the add-in's own search fails"),
                      HasSubstr("2 ribbons, onLoad looked up 6 times")));
}

TEST_F(FieldTest, TheNextStartUndoesWhatAKilledRunHasLeft) {
    auto test = StartTest();
    const std::string shown = Follow(*test, "later"); // an appointment is stored, a dialog is open
    test->Terminate(9);
    EXPECT_THAT(shown, HasSubstr("[question]"));
    EXPECT_TRUE(HasKey(std::wstring(kScheme) + L"\\shell"));
    outlook->Write("answer 5\n");
    const auto restored = StartTest({L"--restore"});
    EXPECT_EQ(restored->Wait(), 0U);
    ExpectNothingLeft();
}

TEST_F(FieldTest, TheRunThatThePersonStopsLeavesNothing) {
    for (const bool key : {false, true}) {
        const auto test = StartTest();
        Follow(*test, "discard"); // the client runs, one appointment is stored, another one open
        if (key) {
            outlook->Write("interrupt " + std::to_string(test->Id()) + "\n");
        } else {
            test->Write("q\n");
        }
        const std::string shown = Follow(*test);
        EXPECT_EQ(test->Wait(), 3U) << shown;
        ExpectNothingLeft();
    }
}

} // namespace
