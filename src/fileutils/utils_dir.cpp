#include "fileutils/utils_dir.h"

#include <cerrno>
#include <cstring>
#include <limits>

#include "fileutils/file_system.h"
#include "frame/core/error.h"

namespace NFileUtilsImpl {
namespace {

using ZEL_T_NMT::BinderBlock;

// Names of an operation's failures.
struct Messages {
  const char* invalidFilename;
  const char* permissionDenied;
  const char* unknownError;
};

constexpr Messages kDeleteMessages = {"ZELUtilsDirImpl::Delete: Invalid filename",
                                      "ZELUtilsDirImpl::Delete: Permission denied",
                                      "ZELUtilsDirImpl::Delete: Unknown error"};
constexpr Messages kRenameMessages = {"ZELUtilsDirImpl::Rename: Invalid filename",
                                      "ZELUtilsDirImpl::Rename: Permission denied",
                                      "ZELUtilsDirImpl::Rename: Unknown error"};
constexpr Messages kCreateMessages = {"ZELUtilsDirImpl::createNewFile: Invalid filename",
                                      "ZELUtilsDirImpl::createNewFile: Permission denied",
                                      "ZELUtilsDirImpl::createNewFile: Unknown error"};

void Check(int errorNumber, const Messages& messages) {
  switch (errorNumber) {
    case 0:
      return;
    case ENOENT:
      RaiseUtilsDirError(messages.invalidFilename, errorNumber);
    case EACCES:
      RaiseUtilsDirError(messages.permissionDenied, errorNumber);
    default:
      RaiseUtilsDirError(messages.unknownError, errorNumber);
  }
}

// The size of a buffer for two texts and `extra` bytes: in 32 bits on every platform.
std::uint32_t BufferSize(std::size_t firstLength, std::size_t secondLength, std::uint32_t extra) {
  constexpr std::size_t kMax = std::numeric_limits<std::uint32_t>::max();
  if (firstLength > kMax - extra || secondLength > kMax - extra - firstLength) {
    ZEL_T_NMT::RaiseAllocationFailure();
  }
  return static_cast<std::uint32_t>(firstLength + secondLength + extra);
}

char* Append(char* end, const char* text, std::size_t length) noexcept {
  std::memcpy(end, text, length);
  return end + length;
}

// Upper-case hexadecimal, at least four digits.
char* AppendHex(char* end, std::uint32_t value) noexcept {
  int digits = 4;
  while (digits < 8 && (value >> (4 * digits)) != 0) ++digits;
  while (digits-- > 0) *end++ = "0123456789ABCDEF"[(value >> (4 * digits)) & 0xF];
  return end;
}

// Writes a path and its NUL; needs room for both texts and two bytes.
void WritePath(char* end, const char* directory, std::size_t directoryLength, const char* name,
               std::size_t nameLength) noexcept {
  end = Append(end, directory, directoryLength);
  if (directoryLength > 0 && !NFileSystem::EndsWithSeparator(directory, directoryLength)) {
    *end++ = NFileSystem::kSeparator;
  }
  end = Append(end, name, nameLength);
  *end = '\0';
}

}  // namespace

void RaiseUtilsDirError(const char* message, int errorNumber) {
  ZEL_T_NMT::CZELError error(message, "ZELUtilsDir", errorNumber);
  if (error.Handle() == nullptr) ZEL_T_NMT::RaiseAllocationFailure();
  throw ZEL_T_NMT::CZELError(std::move(error));
}

std::unique_ptr<ZELUtilsDirImpl> ZELUtilsDirImpl::GetTempDir() {
  NFileSystem::DirectoryText text;
  const int error = NFileSystem::TempDirectory(text);
  if (error != 0) RaiseUtilsDirError("ZELUtilsDirImpl::GetTempDir: Cannot get temp dir", error);
  return std::make_unique<ZELUtilsDirImpl>(Text(text));
}

std::unique_ptr<ZELUtilsDirImpl> ZELUtilsDirImpl::GetCurrent() {
  NFileSystem::DirectoryText text;
  const int error = NFileSystem::CurrentDirectory(text);
  if (error != 0) RaiseUtilsDirError("ZELUtilsDirImpl::GetCurrent: Cannot get current dir", error);
  return std::make_unique<ZELUtilsDirImpl>(Text(text));
}

bool ZELUtilsDirImpl::FileExists(const Text& name) const {
  return NFileSystem::Exists(JoinPath(directory_, name).Text());
}

void ZELUtilsDirImpl::Delete(const Text& name) const {
  const Text path = JoinPath(directory_, name);
  Check(NFileSystem::Remove(path.Text()), kDeleteMessages);
}

void ZELUtilsDirImpl::Rename(const Text& oldName, const Text& newName) const {
  const Text oldPath = JoinPath(directory_, oldName);
  const Text newPath = JoinPath(directory_, newName);
  Check(NFileSystem::Rename(oldPath.Text(), newPath.Text()), kRenameMessages);
}

ZELUtilsDirImpl::Text ZELUtilsDirImpl::GetFilePathSpec(const Text& name) const {
  return JoinPath(directory_, name);
}

ZELUtilsDirImpl::Text ZELUtilsDirImpl::CreateUniqueFilename(const Text& prefix,
                                                            const Text& extension) const {
  if (NFileSystem::HoldsSeparator(prefix.Text()) || NFileSystem::HoldsSeparator(extension.Text())) {
    Check(ENOENT, kCreateMessages);  // the file would stand in another directory
  }
  constexpr std::uint32_t kTagLength = 16;
  constexpr std::uint32_t kLastCounter = 0xFFFF;
  const std::size_t prefixLength = std::strlen(prefix.Text());
  const std::size_t extensionLength = std::strlen(extension.Text());
  const BinderBlock<char> name(BufferSize(prefixLength, extensionLength, kTagLength + 10));

  char* end = AppendHex(name.Get(), NFileSystem::ProcessId());
  end = AppendHex(end, NFileSystem::ThreadId());
  char* const counterPlace = Append(end, prefix.Text(), prefixLength);
  end = counterPlace + 4;
  *end++ = '.';
  end = Append(end, extension.Text(), extensionLength);
  *end = '\0';

  for (std::uint32_t counter = 0; counter <= kLastCounter; ++counter) {
    AppendHex(counterPlace, counter);
    Text candidate(name.Get());
    if (createNewFile(candidate)) return candidate;
  }
  RaiseUtilsDirError("ZELUtilsDirImpl::CreateUniqueFilename: Cannot find a unique file spec", 0);
}

void ZELUtilsDirImpl::DeleteWithoutHost(const Text& name) const {
  char path[1024];
  const std::size_t directoryLength = std::strlen(directory_.Text());
  const std::size_t nameLength = std::strlen(name.Text());
  if (directoryLength > sizeof path - 2 || nameLength > sizeof path - 2 - directoryLength) {
    Check(ENAMETOOLONG, kDeleteMessages);
  }
  WritePath(path, directory_.Text(), directoryLength, name.Text(), nameLength);
  Check(NFileSystem::Remove(path), kDeleteMessages);
}

bool ZELUtilsDirImpl::createNewFile(const Text& name) const {
  const Text path = JoinPath(directory_, name);
  const int error = NFileSystem::CreateNewFile(path.Text());
  if (error == EEXIST) return false;
  Check(error, kCreateMessages);
  return true;
}

ZELUtilsDirImpl::Text ZELUtilsDirImpl::JoinPath(const Text& directory, const Text& name) {
  const std::size_t directoryLength = std::strlen(directory.Text());
  const std::size_t nameLength = std::strlen(name.Text());
  const BinderBlock<char> path(BufferSize(directoryLength, nameLength, 16));
  WritePath(path.Get(), directory.Text(), directoryLength, name.Text(), nameLength);
  return Text(path.Get());
}

}  // namespace NFileUtilsImpl
