#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

/// The add-in's log on this machine.
namespace endings {

/// The live file; copies 1 and 2 lie beside it.
std::filesystem::path LogFile(int copy = 0);
void DeleteLogs();

/// Bytes; 0 when it is missing.
std::uint64_t SizeOf(const std::filesystem::path& file);
/// Creates the file with so many bytes that take no room on the disk.
/// @throws std::runtime_error
void MakeSparse(const std::filesystem::path& file, std::uint64_t bytes);
/// Reads the file from that offset to its end. Another process may write the file meanwhile.
std::string ReadFrom(const std::filesystem::path& file, std::uint64_t offset);

} // namespace endings
