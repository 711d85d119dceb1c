#include "fileutils/windows_error.h"

#include <cerrno>

namespace NFileSystem {
namespace {

struct Row {
  std::uint32_t first;
  std::uint32_t last;
  int number;
};

// By the numbers of the system, so that every platform can test them.
constexpr Row kRows[] = {
    {2, 3, ENOENT},         // file, path not found
    {4, 4, EMFILE},         // too many open files
    {5, 5, EACCES},         // access denied
    {6, 6, EBADF},          // invalid handle
    {7, 9, ENOMEM},         // memory
    {14, 14, ENOMEM},       // out of memory
    {15, 15, ENOENT},       // invalid drive
    {16, 16, EACCES},       // current directory
    {17, 17, EXDEV},        // not the same device
    {18, 18, ENOENT},       // no more files
    {19, 36, EACCES},       // write protection, media, sharing, locks
    {39, 39, ENOSPC},       // disk full, by handle
    {53, 53, ENOENT},       // network path
    {65, 65, EACCES},       // network access denied
    {67, 67, ENOENT},       // network name
    {80, 80, EEXIST},       // file exists
    {82, 83, EACCES},       // cannot make; failure on interrupt 24
    {108, 108, EACCES},     // drive locked
    {112, 112, ENOSPC},     // disk full
    {132, 132, EACCES},     // seek on a device
    {145, 145, ENOTEMPTY},  // directory not empty
    {158, 158, EACCES},     // not locked
    {161, 161, ENOENT},     // malformed path
    {167, 167, EACCES},     // lock failed
    {183, 183, EEXIST},     // already exists
    {206, 206, ENOENT},     // name too long
    {1113, 1113, EILSEQ},   // no such character in the code page
    {1816, 1816, ENOMEM},   // quota
};

}  // namespace

int NumberOfWindowsError(std::uint32_t error) noexcept {
  for (const Row& row : kRows) {
    if (error >= row.first && error <= row.last) return row.number;
  }
  return EINVAL;
}

}  // namespace NFileSystem
