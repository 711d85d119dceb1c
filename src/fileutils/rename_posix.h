// Renaming without overwriting, on systems that can and on file systems that cannot.
#pragma once

namespace NFileSystem {

// A system call that renames; returns 0 or the error number.
using RenameCall = int (*)(const char* from, const char* to);

// The two ways of the system. `exclusively` fails with EEXIST where the new name exists, and with
// EINVAL or ENOSYS where the file system or the kernel cannot tell.
struct RenameCalls {
  RenameCall exclusively;
  RenameCall plainly;
};
extern const RenameCalls kRenameCalls;

// As Rename of file_system.h, by these calls. If nothing renames exclusively, the new name is
// reserved with an empty file or directory of its own, which the renamed one replaces; a failure
// takes the reservation away.
int RenameBy(const RenameCalls& calls, const char* from, const char* to) noexcept;

}  // namespace NFileSystem
