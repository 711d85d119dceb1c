// Services that differ between systems: naming, making and flushing files.
#pragma once

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <string>

namespace zelpos {

// The path that a text from the command line stands for.
std::filesystem::path PathOf(const std::string& file);

// All that fails below leaves the reason in errno.

// Opens with a mode of fopen; null when that fails.
std::FILE* OpenPath(const std::filesystem::path& path, const char* mode);

// Opens a new file for writing bytes; null when that fails, EEXIST when the name is taken. Its
// permissions are those that any new file gets, or none but the owner's.
enum class Access { kOrdinary, kPrivate };
std::FILE* CreateNew(const std::filesystem::path& path, Access access);

bool IsTerminal(std::FILE* file);

// Has line ends not translated.
void MakeBinary(std::FILE* file);

// Waits until what was written is on the disk; false when it cannot be.
bool WriteThrough(std::FILE* file);

// A file in memory, a NUL behind it.
struct Mapping {
  const char* data = nullptr;
  std::size_t size = 0;
  std::size_t reserved = 0;  // bytes of address space; 0 where nothing was mapped
};
// Nothing is mapped where the path leads to no regular file, or where there is nothing to map. When
// a mapped file becomes shorter, the program ends with a message and the status for trouble.
Mapping MapFile(const std::filesystem::path& path);
void UnmapFile(const Mapping& mapping) noexcept;
void RelaxMapping(const Mapping& mapping) noexcept;

}  // namespace zelpos
