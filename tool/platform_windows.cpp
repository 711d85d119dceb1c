// Command lines and the C library's own messages are in the code page of the system's byte-text
// calls; paths go to the system in wide characters.
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <cerrno>
#include <string>

#include "platform.h"

namespace zelpos {

std::filesystem::path PathOf(const std::string& file) {
  const UINT codePage = AreFileApisANSI() ? CP_ACP : CP_OEMCP;
  const int size = static_cast<int>(file.size());
  std::wstring wide(file.size(), L'\0');
  const int length = MultiByteToWideChar(codePage, 0, file.data(), size, wide.data(), size);
  wide.resize(static_cast<std::size_t>(length));
  return wide;
}

std::FILE* OpenPath(const std::filesystem::path& path, const char* mode) {
  return _wfopen(path.c_str(),
                 std::wstring(mode, mode + std::char_traits<char>::length(mode)).c_str());
}

// The C library does not know the mode x. Permissions come from the folder.
std::FILE* CreateNew(const std::filesystem::path& path, Access) {
  const int descriptor =
      _wopen(path.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
  if (descriptor < 0) return nullptr;
  std::FILE* file = _fdopen(descriptor, "wb");
  if (file == nullptr) {
    _close(descriptor);
    _wunlink(path.c_str());
  }
  return file;
}

bool IsTerminal(std::FILE* file) { return _isatty(_fileno(file)) != 0; }

void MakeBinary(std::FILE* file) { _setmode(_fileno(file), _O_BINARY); }

bool WriteThrough(std::FILE* file) { return std::fflush(file) == 0 && _commit(_fileno(file)) == 0; }

// A view of a file ends with its last page, so that a NUL can stand behind it in most sizes only:
// there files are read.
Mapping MapFile(const std::filesystem::path&) { return {}; }
void UnmapFile(const Mapping&) noexcept {}
void RelaxMapping(const Mapping&) noexcept {}

}  // namespace zelpos
