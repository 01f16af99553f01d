#include "doctor/PeImage.h"

namespace doctor {
namespace {

// Offsets in the file format. It needs no Windows here, so that sanitizers reach this code.
constexpr std::size_t kHeadersField = 0x3C; // in the file: offset of the signature "PE"
constexpr std::size_t kMachine = 4;         // from the signature on, as the following ones
constexpr std::size_t kSectionCount = 6;
constexpr std::size_t kOptionalSize = 20;
constexpr std::size_t kOptional = 24;
constexpr std::size_t kImportTable = kOptional + 120; // address of the import table, 64-bit layout
constexpr std::uint16_t kMagic64Bit = 0x20B;

constexpr std::size_t kSectionSize = 40;
constexpr std::size_t kSectionAddress = 12;
constexpr std::size_t kSectionBytes = 16;
constexpr std::size_t kSectionOffset = 20;

constexpr std::size_t kImportSize = 20; // of one library's record
constexpr std::size_t kImportName = 12;

constexpr std::size_t kLongestName = 260;
constexpr std::size_t kMostLibraries = 1000;

/// Reads a little-endian number; nothing when it is not completely there.
template <class Type>
std::optional<Type> Read(std::string_view content, std::size_t offset) {
    if (offset > content.size() || content.size() - offset < sizeof(Type)) {
        return std::nullopt;
    }
    std::uint32_t number = 0;
    for (std::size_t i = sizeof(Type); i > 0; --i) {
        number = number << 8U | static_cast<unsigned char>(content[offset + i - 1]);
    }
    return static_cast<Type>(number);
}

std::optional<std::size_t> FindHeaders(std::string_view content) {
    constexpr std::uint32_t kSignature = 0x4550; // "PE"
    const auto offset = Read<std::uint32_t>(content, kHeadersField);
    if (!content.starts_with("MZ") || !offset || Read<std::uint32_t>(content, *offset) != kSignature) {
        return std::nullopt;
    }
    return *offset;
}

/// Offset in the file of an address in the loaded image.
std::optional<std::size_t> ToOffset(std::string_view content, std::size_t headers, std::uint32_t address) {
    const auto count = Read<std::uint16_t>(content, headers + kSectionCount).value_or(0);
    std::size_t at = headers + kOptional + Read<std::uint16_t>(content, headers + kOptionalSize).value_or(0);
    for (unsigned i = 0; i < count; ++i, at += kSectionSize) {
        const auto start = Read<std::uint32_t>(content, at + kSectionAddress);
        const auto bytes = Read<std::uint32_t>(content, at + kSectionBytes);
        const auto offset = Read<std::uint32_t>(content, at + kSectionOffset);
        if (start && bytes && offset && address >= *start && address - *start < *bytes) {
            return std::size_t{address} - *start + *offset;
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<std::uint16_t> ImageMachine(std::string_view content) {
    const auto headers = FindHeaders(content);
    return headers ? Read<std::uint16_t>(content, *headers + kMachine) : std::nullopt;
}

std::optional<std::vector<std::string>> ImportedLibraries(std::string_view content) {
    const auto headers = FindHeaders(content);
    if (!headers || Read<std::uint16_t>(content, *headers + kOptional) != kMagic64Bit) {
        return std::nullopt;
    }
    std::vector<std::string> names;
    const auto table = Read<std::uint32_t>(content, *headers + kImportTable);
    auto record = table ? ToOffset(content, *headers, *table) : std::nullopt;
    for (; record && names.size() < kMostLibraries; *record += kImportSize) {
        const auto address = Read<std::uint32_t>(content, *record + kImportName);
        if (address == 0U) {
            return names;
        }
        const auto name = address ? ToOffset(content, *headers, *address) : std::nullopt;
        if (!name || *name >= content.size()) {
            return std::nullopt;
        }
        const std::string_view rest = content.substr(*name, kLongestName);
        names.emplace_back(rest.substr(0, rest.find('\0')));
    }
    return std::nullopt;
}

} // namespace doctor
