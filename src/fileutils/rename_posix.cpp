// The status of a file of any size, on 32-bit systems as well; has to stand before the first system
// header.
#define _FILE_OFFSET_BITS 64

#include "fileutils/rename_posix.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "fileutils/file_system.h"

namespace NFileSystem {
namespace {

int Exclusively(const char* from, const char* to) noexcept {
#if defined(RENAME_NOREPLACE)
  return renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0 ? 0 : errno;
#else
  (void)from;
  (void)to;
  return ENOSYS;
#endif
}

int Plainly(const char* from, const char* to) noexcept { return rename(from, to) == 0 ? 0 : errno; }

// A directory may be renamed onto an empty one, and onto nothing else, should somebody put a file
// into it meanwhile.
int RenameOverReservation(RenameCall plainly, const char* from, const char* to) noexcept {
  struct stat status;
  if (lstat(from, &status) != 0) return errno;
  const bool isDirectory = S_ISDIR(status.st_mode);
  const int taken = !isDirectory ? CreateNewFile(to) : (mkdir(to, S_IRWXU) == 0 ? 0 : errno);
  if (taken != 0) return taken;
  const int error = plainly(from, to);
  if (error != 0) isDirectory ? rmdir(to) : unlink(to);
  return error;
}

// Whether two paths lead to the same name. Of a file with several names, only the spelling can tell
// one from another.
bool IsOwnName(const char* from, const char* to) noexcept {
  struct stat first;
  struct stat second;
  if (lstat(from, &first) != 0 || lstat(to, &second) != 0) return false;
  if (first.st_dev != second.st_dev || first.st_ino != second.st_ino) return false;
  return S_ISDIR(first.st_mode) || first.st_nlink == 1 || std::strcmp(from, to) == 0;
}

}  // namespace

constexpr RenameCalls kRenameCalls = {&Exclusively, &Plainly};

int RenameBy(const RenameCalls& calls, const char* from, const char* to) noexcept {
  int error = calls.exclusively(from, to);
  if (error == EINVAL || error == ENOSYS) error = RenameOverReservation(calls.plainly, from, to);
  return error == EEXIST && IsOwnName(from, to) ? calls.plainly(from, to) : error;
}

}  // namespace NFileSystem
