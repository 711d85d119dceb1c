#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform.h"

namespace zelpos {

std::filesystem::path PathOf(const std::string& file) { return file; }

std::FILE* OpenPath(const std::filesystem::path& path, const char* mode) {
  return std::fopen(path.c_str(), mode);
}

std::FILE* CreateNew(const std::filesystem::path& path, Access access) {
  const mode_t permissions = access == Access::kPrivate ? 0600 : 0666;
  const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, permissions);
  if (descriptor < 0) return nullptr;
  std::FILE* file = fdopen(descriptor, "wb");
  if (file == nullptr) {
    close(descriptor);
    unlink(path.c_str());
  }
  return file;
}

void MakeBinary(std::FILE*) {}

bool WriteThrough(std::FILE* file) { return std::fflush(file) == 0 && fsync(fileno(file)) == 0; }

}  // namespace zelpos
