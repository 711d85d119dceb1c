// Services that differ between systems: naming and opening files.
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

bool IsTerminal(std::FILE* file);

// Has line ends not translated.
void MakeBinary(std::FILE* file);

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
