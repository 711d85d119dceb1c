// What differs from system to system: how files are named, made and written through to the disk.
#pragma once

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

// Has line ends not translated.
void MakeBinary(std::FILE* file);

// Waits until what was written is on the disk; false when it cannot be.
bool WriteThrough(std::FILE* file);

}  // namespace zelpos
