#pragma once

#include "bench/Measure.h"
#include "support/UniqueResource.h"

#include <windows.h>

#include <cstdio>
#include <string>

namespace bench {

/// The platform calls of one log line: take and release a named mutex, the three seeks and the position of the size
/// check, the write, the flush. The text is finished; nothing is formatted.
class HandLog {
public:
    explicit HandLog(const std::string& path) : file_(std::fopen(path.c_str(), "ab+")) {
        Require(file_ && mutex_, "the floor has no file or no mutex");
    }

    void Write(const std::string& line) {
        Require(::WaitForSingleObject(mutex_.Get(), 100) == WAIT_OBJECT_0, "the floor's mutex is taken");
        std::fseek(file_.Get(), 0, SEEK_SET);
        std::fseek(file_.Get(), 0, SEEK_END);
        const long size = std::ftell(file_.Get());
        std::fseek(file_.Get(), 0, SEEK_SET);
        Require(size >= 0 && std::fwrite(line.data(), 1, line.size(), file_.Get()) == line.size(),
                "the floor cannot write");
        std::fflush(file_.Get());
        ::ReleaseMutex(mutex_.Get());
    }

private:
    struct FileTraits {
        using Value = FILE*;
        static Value Empty() noexcept { return nullptr; }
        static void Close(Value file) noexcept { std::fclose(file); }
    };
    UniqueResource<FileTraits> file_;
    UniqueHandle mutex_{::CreateMutexW(nullptr, FALSE, L"Local\\NembraBenchLog")};
};

} // namespace bench
