#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <limits>

#include "platform.h"

namespace zelpos {
namespace {

extern "C" void TellShorterFile(int) {
  constexpr char kMessage[] = "zelpos: a file became shorter while it was being read\n";
  [[maybe_unused]] const auto written = write(STDERR_FILENO, kMessage, sizeof kMessage - 1);
  _exit(2);
}

}  // namespace

std::filesystem::path PathOf(const std::string& file) { return file; }

std::FILE* OpenPath(const std::filesystem::path& path, const char* mode) {
  return std::fopen(path.c_str(), mode);
}

bool IsTerminal(std::FILE* file) { return isatty(fileno(file)) != 0; }

void MakeBinary(std::FILE*) {}

Mapping MapFile(const std::filesystem::path& path) {
  Mapping mapping;
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return mapping;
  struct stat status {};
  if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0 &&
      static_cast<std::uintmax_t>(status.st_size) < std::numeric_limits<std::size_t>::max() / 2) {
    const auto size = static_cast<std::size_t>(status.st_size);
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    // One page more than the file takes: what is behind its end reads as 0.
    const std::size_t reserved = (size / page + 2) * page;
    void* const place =
        mmap(nullptr, reserved, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (place != MAP_FAILED) {
      if (mmap(place, size, PROT_READ, MAP_PRIVATE | MAP_FIXED, descriptor, 0) == place) {
        std::signal(SIGBUS, TellShorterFile);
        madvise(place, size, MADV_SEQUENTIAL);
        mapping = {static_cast<const char*>(place), size, reserved};
      } else {
        munmap(place, reserved);
      }
    }
  }
  close(descriptor);
  return mapping;
}

void UnmapFile(const Mapping& mapping) noexcept {
  munmap(const_cast<char*>(mapping.data), mapping.reserved);
}

void RelaxMapping(const Mapping& mapping) noexcept {
  madvise(const_cast<char*>(mapping.data), mapping.size, MADV_DONTNEED);
}

}  // namespace zelpos
