#include "files.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>
#include <system_error>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

#include "commands.h"

namespace zelpos {
namespace {

namespace fs = std::filesystem;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

[[noreturn]] void Fail(const std::string& file, int error) {
  throw FileError(file + ": " + std::generic_category().message(error));
}

[[noreturn]] void Fail(const std::string& file, const std::error_code& error) {
  throw FileError(file + ": " + error.message());
}

File Open(const std::string& file, const char* mode) {
  errno = 0;
  File opened(std::fopen(file.c_str(), mode));
  if (opened == nullptr) Fail(file, errno);
  return opened;
}

// Line ends must not be translated.
void MakeBinary([[maybe_unused]] std::FILE* file) {
#ifdef _WIN32
  _setmode(_fileno(file), _O_BINARY);
#endif
}

void Write(std::FILE* file, const std::string& name, std::string_view bytes) {
  errno = 0;
  std::fwrite(bytes.data(), 1, bytes.size(), file);
  if (std::fflush(file) != 0 || std::ferror(file) != 0) Fail(name, errno);
}

// Writes to a new file and makes sure that it took all.
void WriteNewFile(const fs::path& path, std::string_view bytes) {
  File file = Open(path.string(), "wbx");
  Write(file.get(), path.string(), bytes);
  if (std::fclose(file.release()) != 0) Fail(path.string(), errno);
}

// A name in the same folder, and so in the same file system.
fs::path TemporaryNameBeside(const fs::path& path) {
  std::random_device random;
  fs::path name = path;
  name += '.' + std::to_string(random()) + ".tmp";
  return name;
}

}  // namespace

std::string DisplayName(const std::string& file) { return file == "-" ? "<stdin>" : file; }

std::string ReadFile(const std::string& file) {
  File opened;
  std::FILE* input = stdin;
  if (file == "-") {
    MakeBinary(stdin);
  } else {
    opened = Open(file, "rb");
    input = opened.get();
  }

  std::string bytes;
  std::array<char, 1 << 16> block;
  errno = 0;
  while (const std::size_t count = std::fread(block.data(), 1, block.size(), input)) {
    bytes.append(block.data(), count);
  }
  if (std::ferror(input) != 0) Fail(DisplayName(file), errno);
  return bytes;
}

void WriteStandardOutput(std::string_view bytes) {
  MakeBinary(stdout);
  Write(stdout, "<stdout>", bytes);
}

void ReplaceFile(const std::string& file, std::string_view bytes) {
  fs::path target = file;
  std::error_code error;
  const fs::file_status status = fs::status(target, error);  // an absent file is no error here
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    Write(Open(file, "wb").get(), file, bytes);
    return;
  }

  if (fs::exists(status)) target = fs::canonical(target, error);  // behind symbolic links
  const fs::path temporary = TemporaryNameBeside(target);
  try {
    WriteNewFile(temporary, bytes);
    if (fs::exists(status)) fs::permissions(temporary, status.permissions());
    fs::rename(temporary, target);
  } catch (const fs::filesystem_error& failed) {
    fs::remove(temporary, error);
    Fail(file, failed.code());
  } catch (...) {
    fs::remove(temporary, error);
    throw;
  }
}

}  // namespace zelpos
