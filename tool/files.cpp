#include "files.h"

#include <array>
#include <cerrno>

#include "failures.h"
#include "platform.h"

namespace zelpos {

std::string DisplayName(const std::string& file) { return file == "-" ? "<stdin>" : file; }

void Fail(const std::string& file, const std::error_code& reason) {
  if (reason == std::errc::broken_pipe) throw ClosedPipe(file + ": " + reason.message());
  throw FileError(file + ": " + reason.message());
}

void Fail(const std::string& file) { Fail(file, {errno, std::generic_category()}); }

void WriteAll(std::FILE* file, const std::string& name, std::string_view bytes) {
  errno = 0;
  std::fwrite(bytes.data(), 1, bytes.size(), file);
  if (std::fflush(file) != 0 || std::ferror(file) != 0) Fail(name);
}

std::string ReadFile(const std::string& file) {
  OpenFile opened;
  std::FILE* input = stdin;
  if (file == "-") {
    MakeBinary(stdin);
  } else {
    opened.reset(OpenPath(PathOf(file), "rb"));
    input = opened.get();
  }
  if (input == nullptr) Fail(file);

  std::string bytes;
  std::array<char, 1 << 16> block;
  errno = 0;
  while (const std::size_t count = std::fread(block.data(), 1, block.size(), input)) {
    bytes.append(block.data(), count);
  }
  if (std::ferror(input) != 0) Fail(DisplayName(file));
  return bytes;
}

void WriteStandardOutput(std::string_view bytes) {
  MakeBinary(stdout);
  WriteAll(stdout, "<stdout>", bytes);
}

}  // namespace zelpos
