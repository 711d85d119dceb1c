// Files byte for byte. The name "-" stands for standard input.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

namespace zelpos {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

// Name of a file in messages.
std::string DisplayName(const std::string& file);

// All functions below throw FileError.

// With the reason that is given, by default the one in errno.
[[noreturn]] void Fail(const std::string& file, const std::error_code& reason);
[[noreturn]] void Fail(const std::string& file);

// Writes and leaves nothing waiting to be written; `name` is for messages.
void WriteAll(std::FILE* file, const std::string& name, std::string_view bytes);

std::string ReadFile(const std::string& file);
void WriteStandardOutput(std::string_view bytes);

}  // namespace zelpos
