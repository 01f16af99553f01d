#include "bench/Parts.h"
#include "bench/WorkFolder.h"
#include "osadapter/include/kosa.h"
#include "osadapter/include/zep.h"
#include "support/UniqueResource.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string_view>
#include <vector>

namespace bench {
namespace {

constexpr Aim kAim = Aim::AtMostTimes(1.1);

constexpr int kTextBytes = 4096; // in UTF-8
constexpr int kRecords = 512;    // as many as the history keeps
constexpr int kEntries = 1000;

struct RuntimeFree {
    void operator()(void* memory) const noexcept { std::free(memory); }
};

template <class Unit>
struct BareText {
    std::unique_ptr<Unit[], RuntimeFree> units;
    int length = 0;

    std::basic_string_view<Unit> View() const { return {units.get(), static_cast<std::size_t>(length)}; }
};

/// Asks for the length, allocates, converts.
template <class Unit, class Convert>
BareText<Unit> BareConvert(Convert convert) {
    const int length = convert(nullptr, 0);
    const std::size_t bytes = (static_cast<std::size_t>(length) + 1) * sizeof(Unit);
    BareText<Unit> text{std::unique_ptr<Unit[], RuntimeFree>(static_cast<Unit*>(std::malloc(bytes))), length};
    Require(text.units != nullptr && convert(text.units.get(), length) == length, "the bare conversion fails");
    text.units[static_cast<std::size_t>(length)] = 0;
    return text;
}

BareText<wchar_t> Widen(std::string_view text, UINT codePage, DWORD flags = 0) {
    return BareConvert<wchar_t>([=](wchar_t* output, int room) {
        return ::MultiByteToWideChar(codePage, flags, text.data(), static_cast<int>(text.size()), output, room);
    });
}

BareText<char> Narrow(std::wstring_view text, UINT codePage) {
    return BareConvert<char>([=](char* output, int room) {
        return ::WideCharToMultiByte(codePage, 0, text.data(), static_cast<int>(text.size()), output, room, nullptr,
                                     nullptr);
    });
}

// The texts are zero-terminated: measuring them once is part of the bare way as well.
template <class Unit>
std::basic_string_view<Unit> Measured(const std::basic_string<Unit>& text) {
    return text.c_str();
}

/// One text in the three encodings. A character that the ANSI code page lacks is its replacement character there.
struct Texts {
    explicit Texts(const std::wstring& text)
        : wide(text), utf8(Narrow(text, CP_UTF8).View()), locale(Narrow(text, CP_ACP).View()) {}

    std::wstring wide;
    std::string utf8;
    std::string locale;
};

void Free(void* text) {
    Require(text != nullptr, "a conversion fails");
    ZEP_StrMemFree(text);
}

struct ConversionCase {
    const char* name;
    const char* floorName;
    void (*product)(const Texts& texts);
    void (*floor)(const Texts& texts);
};

constexpr char kWiden[] = "strlen, MultiByteToWideChar twice, malloc";
constexpr char kNarrow[] = "wcslen, WideCharToMultiByte twice, malloc";
constexpr char kBoth[] = "both of these, the text measured once";

constexpr ConversionCase kConversions[] = {
    {"ZEP_LocaleToUnicodeW", kWiden, [](const Texts& texts) { Free(ZEP_LocaleToUnicodeW(texts.locale.c_str())); },
     [](const Texts& texts) { Widen(Measured(texts.locale), CP_ACP, MB_PRECOMPOSED); }},
    {"ZEP_UnicodeToLocale", kNarrow, [](const Texts& texts) { Free(ZEP_UnicodeToLocale(texts.wide.c_str())); },
     [](const Texts& texts) { Narrow(Measured(texts.wide), CP_ACP); }},
    {"ZEP_UnicodeToUtf8", kNarrow, [](const Texts& texts) { Free(ZEP_UnicodeToUtf8(texts.wide.c_str())); },
     [](const Texts& texts) { Narrow(Measured(texts.wide), CP_UTF8); }},
    {"ZEP_Utf8ToUnicodeW", kWiden, [](const Texts& texts) { Free(ZEP_Utf8ToUnicodeW(texts.utf8.c_str())); },
     [](const Texts& texts) { Widen(Measured(texts.utf8), CP_UTF8); }},
    {"ZEP_Utf8ToUnicodeA", kWiden, [](const Texts& texts) { Free(ZEP_Utf8ToUnicodeA(texts.utf8.c_str())); },
     [](const Texts& texts) { Widen(Measured(texts.utf8), CP_UTF8); }},
    {"ZEP_LocaleToUtf8", kBoth, [](const Texts& texts) { Free(ZEP_LocaleToUtf8(texts.locale.c_str())); },
     [](const Texts& texts) { Narrow(Widen(Measured(texts.locale), CP_ACP, MB_PRECOMPOSED).View(), CP_UTF8); }},
    {"ZEP_Utf8ToLocale", kBoth, [](const Texts& texts) { Free(ZEP_Utf8ToLocale(texts.utf8.c_str())); },
     [](const Texts& texts) { Narrow(Widen(Measured(texts.utf8), CP_UTF8).View(), CP_ACP); }},
};

void MeasureConversions(const Effort& effort) {
    std::wstring chinese;
    for (int unit = 0; unit < kTextBytes / 3; ++unit) {
        chinese += L"会议邀请"[unit % 4];
    }
    const struct {
        const char* name;
        Texts texts;
    } cases[] = {{"ASCII", Texts(std::wstring(kTextBytes, L'x'))}, {"Chinese", Texts(chinese)}};
    Report({"ANSI code page", "", {static_cast<double>(::GetACP())}, "", {}});
    for (const ConversionCase& conversion : kConversions) {
        for (const auto& each : cases) {
            Report(Compare(
                std::string(conversion.name) + ", " + each.name, conversion.floorName, effort.Of(15, 7), 200,
                [&] { conversion.product(each.texts); }, [&] { conversion.floor(each.texts); }, kAim));
        }
    }
}

/// Writes by hand what the history's dump writes, newest first.
void PrintRecords(const std::vector<OperateRec>& records, std::vector<char>& text) {
    std::size_t length = 0;
    const auto print = [&](const char* format, auto... values) {
        length += static_cast<std::size_t>(std::snprintf(&text[length], text.size() - length, format, values...));
    };
    print("Trellis Operate History: \n  %14s  %10s %10s %10s %5s %s\n", "Time", "Operate", "Param1", "Param2", "Tid",
          "TName");
    for (auto record = records.rbegin(); record != records.rend(); ++record) {
        const auto seconds = static_cast<int>(record->time / 100);
        print("  %04d:%02d:%02d(%03d) %10s 0x%08x 0x%08x %5d %s\n", seconds / 3600, seconds % 3600 / 60, seconds % 60,
              static_cast<int>(record->time % 100 * 10), "CreateTm", record->param1, record->param2, record->threadId,
              record->threadName);
    }
}

void CopyRecord(OperateRec* slot, const OperateRec* record) {
    std::memcpy(slot, record, sizeof(*slot));
}

void MeasureHistory(const Effort& effort) {
    const OperateRec record{1, 366012, 7344, "worker", 0x1234, 0x5678};
    std::vector<OperateRec> ring(kRecords);
    std::size_t next = 0;
    // Read anew at each call: a copy that the compiler sees through would be done once.
    void (*volatile copy)(OperateRec*, const OperateRec*) = &CopyRecord;
    KOSA_InitOperateHistory();
    Report(Compare(
        "KOSA_AddOperateRec, 1000 records", "memcpy of each record into a ring", effort.Of(15, 7), 100,
        [&] {
            for (int call = 0; call < 1000; ++call) {
                KOSA_AddOperateRec(&record);
            }
        },
        [&] {
            for (int call = 0; call < 1000; ++call) {
                copy(&ring[next], &record);
                next = next + 1 < ring.size() ? next + 1 : 0;
            }
        },
        kAim));

    std::vector<char> dumped(1 << 16);
    std::vector<char> printed(dumped.size());
    Report(Compare(
        "KOSA_DumpOperateHistory, 512 records", "snprintf of each line by hand", effort.Of(15, 7), 5,
        [&] { KOSA_DumpOperateHistory(dumped.data(), static_cast<uint32_t>(dumped.size())); },
        [&] { PrintRecords(ring, printed); }, kAim));
    Require(std::strcmp(dumped.data(), printed.data()) == 0, "the dump and its floor differ");
}

void WalkDirectory(const std::string& path) {
    KosaDir* const directory = KOSA_OpenDir(path.c_str());
    int entries = 0;
    for (KosaDirEntry* entry = nullptr; KOSA_ReadDir_S(directory, nullptr, &entry) == 0 && entry != nullptr;) {
        ++entries;
    }
    Require(KOSA_CloseDir(directory) == 0 && entries == kEntries + 2, "the walk misses entries");
}

void WalkBare(const std::wstring& pattern) {
    WIN32_FIND_DATAW data;
    const UniqueFind find(::FindFirstFileW(pattern.c_str(), &data));
    int entries = 1;
    while (::FindNextFileW(find.Get(), &data)) {
        ++entries;
    }
    Require(entries == kEntries + 2, "the bare walk misses entries");
}

void MeasureWalk(const Effort& effort) {
    const WorkFolder folder;
    for (int entry = 0; entry < kEntries; ++entry) {
        std::ofstream(folder.File(("entry " + std::to_string(entry) + ".txt").c_str()));
    }
    const std::string path = folder.Path().string();
    const std::wstring pattern = (folder.Path() / L"*").wstring();
    Report(Compare(
        "directory of 1000 entries, OpenDir to CloseDir", "FindFirstFileW, FindNextFileW, FindClose", effort.Of(15, 7),
        2, [&] { WalkDirectory(path); }, [&] { WalkBare(pattern); }, kAim));
}

} // namespace

void MeasureLibrary(const Effort& effort) {
    MeasureConversions(effort);
    MeasureHistory(effort);
    MeasureWalk(effort);
}

} // namespace bench
