#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace doctor {

inline constexpr std::size_t kProgramHeaders = 4096; // bytes at the start of a program file that contain its headers

inline constexpr std::uint16_t kMachineX86 = 0x014C;
inline constexpr std::uint16_t kMachineX64 = 0x8664;
inline constexpr std::uint16_t kMachineArm64 = 0xAA64;

/// The kind of processor that a program file is made for. @param content of the file, at least its headers.
/// @return nothing when it is no program file.
std::optional<std::uint16_t> ImageMachine(std::string_view content);

/// The names of the libraries that a 64-bit program file imports. Bounds are checked: the file may be damaged.
/// @return nothing when the table cannot be read.
std::optional<std::vector<std::string>> ImportedLibraries(std::string_view content);

} // namespace doctor
