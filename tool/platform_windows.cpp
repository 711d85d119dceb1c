// Command lines and the C library's own messages are in the code page of the system's byte-text
// calls; paths go to the system in wide characters.
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <fcntl.h>
#include <io.h>
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

bool IsTerminal(std::FILE* file) { return _isatty(_fileno(file)) != 0; }

void MakeBinary(std::FILE* file) { _setmode(_fileno(file), _O_BINARY); }

// A view of a file ends with its last page, so that a NUL can stand behind it in most sizes only:
// there files are read.
Mapping MapFile(const std::filesystem::path&) { return {}; }
void UnmapFile(const Mapping&) noexcept {}
void RelaxMapping(const Mapping&) noexcept {}

}  // namespace zelpos
