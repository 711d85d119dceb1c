// The code page of a byte text is the one that the system's own byte-text calls use.
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include <cerrno>

#include "fileutils/file_system.h"
#include "fileutils/windows_error.h"

namespace NFileSystem {
namespace {

int LastErrorNumber() noexcept { return NumberOfWindowsError(GetLastError()); }

UINT CodePage() noexcept { return AreFileApisANSI() ? GetACP() : GetOEMCP(); }

// A path in wide characters. The few that do not fit beside the object go to the process's heap,
// which unlike the host's memory may be used from any thread.
class WidePath {
 public:
  explicit WidePath(const char* path) noexcept {
    if (Convert(path, local_, kLocalSize) != 0) {
      path_ = local_;
      return;
    }
    if (GetLastError() == ERROR_INSUFFICIENT_BUFFER) {
      const int length = Convert(path, nullptr, 0);
      const std::size_t size = sizeof(wchar_t) * static_cast<std::size_t>(length);
      if (length > 0) heap_ = static_cast<wchar_t*>(HeapAlloc(GetProcessHeap(), 0, size));
      if (length > 0 && heap_ == nullptr) {
        error_ = ENOMEM;
        return;
      }
      if (length > 0 && Convert(path, heap_, length) != 0) {
        path_ = heap_;
        return;
      }
    }
    error_ = LastErrorNumber();
  }
  WidePath(const WidePath&) = delete;
  WidePath& operator=(const WidePath&) = delete;
  ~WidePath() {
    if (heap_ != nullptr) HeapFree(GetProcessHeap(), 0, heap_);
  }

  // 0, or why there is no wide path.
  int Error() const noexcept { return error_; }
  const wchar_t* Get() const noexcept { return path_; }

 private:
  static constexpr int kLocalSize = 512;

  // Counts the NUL; 0 on failure.
  static int Convert(const char* path, wchar_t* target, int size) noexcept {
    return MultiByteToWideChar(CodePage(), MB_ERR_INVALID_CHARS, path, -1, target, size);
  }

  wchar_t local_[kLocalSize];
  wchar_t* heap_ = nullptr;
  const wchar_t* path_ = nullptr;
  int error_ = 0;
};

// A character that the code page lacks is an error: the text would name another directory.
int ToByteText(const wchar_t* wide, DirectoryText& text) noexcept {
  const UINT codePage = CodePage();
  const bool isUtf8 = codePage == CP_UTF8;  // takes neither the flag nor the address
  BOOL lost = FALSE;
  const int length =
      WideCharToMultiByte(codePage, isUtf8 ? 0 : WC_NO_BEST_FIT_CHARS, wide, -1, text,
                          static_cast<int>(sizeof text), nullptr, isUtf8 ? nullptr : &lost);
  if (length == 0) {
    return GetLastError() == ERROR_INSUFFICIENT_BUFFER ? ENAMETOOLONG : LastErrorNumber();
  }
  return lost ? EILSEQ : 0;
}

// The answer of the system for a directory: a length without NUL, or the size it needs, or 0.
int DirectoryResult(DWORD length, const wchar_t* wide, DirectoryText& text) noexcept {
  if (length == 0) return LastErrorNumber();
  if (length >= kDirectoryTextSize) return ENAMETOOLONG;
  return ToByteText(wide, text);
}

// Security attributes of a file that its creator alone may use.
class OwnerOnly {
 public:
  // False, with the reason as the system's last error, when the creator cannot be told.
  bool Prepare() noexcept {
    auto* list = reinterpret_cast<ACL*>(list_);
    if (!FindUser() || !InitializeAcl(list, sizeof list_, ACL_REVISION) ||
        !AddAccessAllowedAce(list, ACL_REVISION, FILE_ALL_ACCESS,
                             reinterpret_cast<TOKEN_USER*>(user_)->User.Sid) ||
        !InitializeSecurityDescriptor(&descriptor_, SECURITY_DESCRIPTOR_REVISION) ||
        !SetSecurityDescriptorDacl(&descriptor_, TRUE, list, FALSE) ||
        !SetSecurityDescriptorControl(&descriptor_, SE_DACL_PROTECTED, SE_DACL_PROTECTED)) {
      return false;
    }
    attributes_.nLength = sizeof attributes_;
    attributes_.lpSecurityDescriptor = &descriptor_;
    attributes_.bInheritHandle = FALSE;
    return true;
  }

  SECURITY_ATTRIBUTES* Get() noexcept { return &attributes_; }

 private:
  // A thread that acts for another user creates files as that user.
  bool FindUser() noexcept {
    HANDLE token = nullptr;
    if (!OpenThreadToken(GetCurrentThread(), TOKEN_QUERY, TRUE, &token) &&
        !OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token)) {
      return false;
    }
    DWORD size = 0;
    const BOOL found = GetTokenInformation(token, TokenUser, user_, sizeof user_, &size);
    const DWORD error = GetLastError();
    CloseHandle(token);
    SetLastError(error);
    return found != FALSE;
  }

  alignas(TOKEN_USER) BYTE user_[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
  alignas(ACL) BYTE list_[sizeof(ACL) + sizeof(ACCESS_ALLOWED_ACE) + SECURITY_MAX_SID_SIZE];
  SECURITY_DESCRIPTOR descriptor_;
  SECURITY_ATTRIBUTES attributes_;
};

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// The second byte of a character may be that of a separator.
std::size_t CharacterSize(UINT codePage, char firstByte) noexcept {
  return IsDBCSLeadByteEx(codePage, static_cast<BYTE>(firstByte)) ? 2U : 1U;
}

bool HasAttributes(const wchar_t* path) noexcept {
  return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES;
}

}  // namespace

int TempDirectory(DirectoryText& text) noexcept {
  wchar_t wide[kDirectoryTextSize];
  return DirectoryResult(GetTempPathW(kDirectoryTextSize, wide), wide, text);
}

int CurrentDirectory(DirectoryText& text) noexcept {
  wchar_t wide[kDirectoryTextSize];
  return DirectoryResult(GetCurrentDirectoryW(kDirectoryTextSize, wide), wide, text);
}

bool EndsWithSeparator(const char* text, std::size_t length) noexcept {
  if (length == 0 || text[length - 1] != kSeparator) return false;
  const UINT codePage = CodePage();
  std::size_t at = 0;
  while (at < length - 1) at += CharacterSize(codePage, text[at]);
  return at == length - 1;
}

bool HoldsSeparator(const char* text) noexcept {
  const UINT codePage = CodePage();
  for (std::size_t at = 0; text[at] != '\0'; at += CharacterSize(codePage, text[at])) {
    if (text[at] == kSeparator || text[at] == '/' || text[at] == ':') return true;
    if (text[at + 1] == '\0') return false;
  }
  return false;
}

bool Exists(const char* path) noexcept {
  const WidePath wide(path);
  if (wide.Error() != 0) return false;
  const HANDLE file = CreateFileW(wide.Get(), FILE_READ_ATTRIBUTES, kShareAll, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (file != INVALID_HANDLE_VALUE) {
    CloseHandle(file);
    return true;
  }
  // A file that may not be opened can still be seen in its directory.
  const DWORD error = GetLastError();
  return (error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION) &&
         HasAttributes(wide.Get());
}

int CreateNewFile(const char* path) noexcept {
  const WidePath wide(path);
  if (wide.Error() != 0) return wide.Error();
  OwnerOnly security;
  if (!security.Prepare()) return LastErrorNumber();
  const HANDLE file = CreateFileW(wide.Get(), GENERIC_READ, kShareAll, security.Get(), CREATE_NEW,
                                  FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  if (file == INVALID_HANDLE_VALUE) return LastErrorNumber();
  CloseHandle(file);
  return 0;
}

int Remove(const char* path) noexcept {
  const WidePath wide(path);
  if (wide.Error() != 0) return wide.Error();
  return DeleteFileW(wide.Get()) ? 0 : LastErrorNumber();
}

int Rename(const char* from, const char* to) noexcept {
  const WidePath wideFrom(from);
  if (wideFrom.Error() != 0) return wideFrom.Error();
  const WidePath wideTo(to);
  if (wideTo.Error() != 0) return wideTo.Error();
  return MoveFileExW(wideFrom.Get(), wideTo.Get(), 0) ? 0 : LastErrorNumber();
}

std::uint32_t ProcessId() noexcept { return GetCurrentProcessId(); }

std::uint32_t ThreadId() noexcept { return GetCurrentThreadId(); }

}  // namespace NFileSystem
