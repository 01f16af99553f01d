#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// The common part of the fuzz targets. A target is one file that defines `FuzzOne`: it cuts its input with
/// `Fuzz::Input`, passes the parts to product code and checks the properties of every input with `FUZZ_CHECK`.

namespace Fuzz {

/// Ends the process, which the fuzzer reports as a crash with the input that caused it.
[[noreturn]] void Fail(const char* condition, const char* file, int line);

/// Cuts one input into parts. Lines keep seeds readable; an input that has run out gives zeros and empty texts.
class Input {
public:
    explicit Input(std::string_view bytes) noexcept : bytes_(bytes) {}

    bool IsEmpty() const noexcept { return bytes_.empty(); }

    std::uint8_t TakeByte() noexcept {
        const std::uint8_t byte = bytes_.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(bytes_.front());
        bytes_.remove_prefix(std::min<std::size_t>(1, bytes_.size()));
        return byte;
    }

    /// The bytes up to the next line feed, which goes with them.
    std::string_view TakeLine() noexcept {
        const std::size_t length = std::min(bytes_.find('\n'), bytes_.size());
        const std::string_view line = bytes_.substr(0, length);
        bytes_.remove_prefix(std::min(length + 1, bytes_.size()));
        return line;
    }

    std::string_view TakeRest() noexcept {
        const std::string_view rest = bytes_;
        bytes_ = {};
        return rest;
    }

private:
    std::string_view bytes_;
};

/// A copy on the heap of exactly the needed size, so that the address sanitizer sees one unit read or written beyond.
template <class Unit>
class Exact {
public:
    explicit Exact(std::size_t count) : units_(new Unit[count]{}), count_(count) {}
    explicit Exact(std::basic_string_view<Unit> text, bool terminated = false)
        : Exact(text.size() + (terminated ? 1 : 0)) {
        std::copy(text.begin(), text.end(), units_.get());
    }

    Unit* Data() const noexcept { return units_.get(); }
    std::size_t Size() const noexcept { return count_; }
    std::basic_string_view<Unit> View() const noexcept { return {units_.get(), count_}; }

private:
    std::unique_ptr<Unit[]> units_;
    std::size_t count_;
};

/// Well-formed UTF-8: no overlong form, no surrogate, nothing above U+10FFFF.
bool IsUtf8(std::string_view text) noexcept;

} // namespace Fuzz

#define FUZZ_CHECK(condition) ((condition) ? void() : Fuzz::Fail(#condition, __FILE__, __LINE__))

/// Defined by each target. An exception that leaves it is a crash.
void FuzzOne(Fuzz::Input input);
