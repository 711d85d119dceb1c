// The status of a file of any size, on 32-bit systems as well; has to stand before the first system
// header.
#define _FILE_OFFSET_BITS 64

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fileutils/file_system.h"
#include "fileutils/rename_posix.h"
#if !defined(__linux__)
#include <pthread.h>
#endif

namespace NFileSystem {
namespace {

int Result(int status) noexcept { return status == 0 ? 0 : errno; }

}  // namespace

int TempDirectory(DirectoryText& text) noexcept {
  const char* directory = std::getenv("TMPDIR");
  if (directory == nullptr || directory[0] == '\0') directory = P_tmpdir;
  std::size_t start = 0;
  if (directory[0] != kSeparator) {
    // A later change of the current directory must not make this another one.
    const int error = CurrentDirectory(text);
    if (error != 0) return error;
    start = std::strlen(text);
    if (!EndsWithSeparator(text, start)) text[start++] = kSeparator;
  }
  const std::size_t length = std::strlen(directory);
  const std::size_t separator = EndsWithSeparator(directory, length) ? 0 : 1;
  if (length >= sizeof text - start - separator) return ENAMETOOLONG;
  std::memcpy(text + start, directory, length);
  text[start + length] = kSeparator;
  text[start + length + separator] = '\0';
  return 0;
}

int CurrentDirectory(DirectoryText& text) noexcept {
  if (getcwd(text, sizeof text) != nullptr) return 0;
  return errno == ERANGE ? ENAMETOOLONG : errno;
}

bool EndsWithSeparator(const char* text, std::size_t length) noexcept {
  return length > 0 && text[length - 1] == kSeparator;
}

bool HoldsSeparator(const char* text) noexcept { return std::strchr(text, kSeparator) != nullptr; }

bool Exists(const char* path) noexcept {
  struct stat status;
  return stat(path, &status) == 0;
}

int CreateNewFile(const char* path) noexcept {
  int file = -1;
  do {
    file = open(path, O_CREAT | O_EXCL | O_RDONLY | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
  } while (file < 0 && errno == EINTR);
  if (file < 0) return errno;
  close(file);
  return 0;
}

int Remove(const char* path) noexcept { return Result(unlink(path)); }

int Rename(const char* from, const char* to) noexcept { return RenameBy(kRenameCalls, from, to); }

std::uint32_t ProcessId() noexcept { return static_cast<std::uint32_t>(getpid()); }

std::uint32_t ThreadId() noexcept {
#if defined(__linux__)
  return static_cast<std::uint32_t>(gettid());
#else
  // Without numbered threads, the address that the system knows the thread by has to serve.
  const std::uint64_t id =
      static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(pthread_self()));
  return static_cast<std::uint32_t>(id ^ (id >> 32));
#endif
}

}  // namespace NFileSystem
