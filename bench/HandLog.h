#pragma once

#include "bench/Measure.h"
#include "support/UniqueResource.h"

#include <cstdio>
#include <string>

namespace bench {

/// What a line of the logger costs the C runtime alone: the size check's three seeks and position read, the write, the
/// flush; a finished text, no formatting, no locks.
class HandLog {
public:
    explicit HandLog(const std::string& path) : file_(std::fopen(path.c_str(), "ab+")) {
        Require(static_cast<bool>(file_), "the file of the floor cannot be opened");
    }

    void Write(const std::string& line) {
        std::fseek(file_.Get(), 0, SEEK_SET);
        std::fseek(file_.Get(), 0, SEEK_END);
        const long size = std::ftell(file_.Get());
        std::fseek(file_.Get(), 0, SEEK_SET);
        Require(size >= 0 && std::fwrite(line.data(), 1, line.size(), file_.Get()) == line.size(),
                "the floor cannot write");
        std::fflush(file_.Get());
    }

private:
    struct FileTraits {
        using Value = FILE*;
        static Value Empty() noexcept { return nullptr; }
        static void Close(Value file) noexcept { std::fclose(file); }
    };
    UniqueResource<FileTraits> file_;
};

} // namespace bench
