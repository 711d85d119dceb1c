// The services of the operating system that the file utilities need, and the only way to them; one
// implementation per system.
//
// Paths are NUL-terminated byte texts: passed on unchanged on POSIX, in the current code page on
// Windows. An operation that can fail returns 0 or the error number (errno, as <cerrno> names it)
// of its failure. Nothing here raises, touches the host or keeps state, so that, unlike the rest of
// the library, all of it may be called from several threads at a time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace NFileSystem {

#if defined(_WIN32)
inline constexpr char kSeparator = '\\';
#else
inline constexpr char kSeparator = '/';
#endif

// Room for the text of a directory that the system names, with its NUL. A longer one is an error.
inline constexpr std::size_t kDirectoryTextSize = 260;
using DirectoryText = char[kDirectoryTextSize];

// The directory for temporary files, a complete path that ends with the separator: on POSIX TMPDIR,
// from the current directory on where it is relative, else the system's own; ENAMETOOLONG when it
// does not fit. The text is defined on success only.
int TempDirectory(DirectoryText& text) noexcept;
int CurrentDirectory(DirectoryText& text) noexcept;

// Whether the last character of a text of `length` bytes is the separator.
bool EndsWithSeparator(const char* text, std::size_t length) noexcept;

// Whether a text that becomes part of a name holds a character that ends a name: a separator, on
// Windows also the colon behind a drive or before a stream of a file.
bool HoldsSeparator(const char* text) noexcept;

// True for a file as for a directory, false whenever the system does not say that there is one.
bool Exists(const char* path) noexcept;

// Creates an empty file that its owner alone may read and write, and closes it. EEXIST when
// anything of that name exists, be it a link that leads nowhere.
int CreateNewFile(const char* path) noexcept;

// Removes a file, or a link itself; never a directory.
int Remove(const char* path) noexcept;

// Gives a file or a directory a new name on the same file system. EEXIST when the new name exists:
// test and move are one step, so that nothing is ever overwritten. A file's own name is no other's:
// there is nothing to do then.
int Rename(const char* from, const char* to) noexcept;

std::uint32_t ProcessId() noexcept;
// Of the calling thread; no other thread of the process has the same.
std::uint32_t ThreadId() noexcept;

}  // namespace NFileSystem
