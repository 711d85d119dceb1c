// Places in the code, from the loader's tables.
#include <dlfcn.h>
#if __has_include(<execinfo.h>)
#include <execinfo.h>
#define ZEL_CHECK_HAS_BACKTRACE
#endif

#include <array>
#include <cstring>

#include "real_library.h"
#include "words.h"

namespace zelcheck {
namespace {

std::string FileName(const char* path) {
  const char* const slash = std::strrchr(path, '/');
  return slash == nullptr ? path : slash + 1;
}

bool IsOfLayer(const void* address) {
  static const char inThisModule = 0;
  Dl_info own;
  Dl_info other;
  return dladdr(&inThisModule, &own) != 0 && dladdr(address, &other) != 0 &&
         own.dli_fbase == other.dli_fbase;
}

}  // namespace

// The offset in the file is what addr2line takes, but for the one byte: the address is that of the
// instruction after the call.
std::string PlaceOf(const void* address) {
  Dl_info info;
  if (address == nullptr || dladdr(address, &info) == 0 || info.dli_fname == nullptr) {
    return Hex(reinterpret_cast<std::uintptr_t>(address));
  }
  const auto offset = [address](const void* base) {
    return "+" +
           Hex(reinterpret_cast<std::uintptr_t>(address) - reinterpret_cast<std::uintptr_t>(base));
  };
  const std::string file = FileName(info.dli_fname) + offset(info.dli_fbase);
  return info.dli_sname == nullptr ? file : info.dli_sname + offset(info.dli_saddr) + " in " + file;
}

std::string CallStack() {
  std::string lines;
#if defined(ZEL_CHECK_HAS_BACKTRACE)
  std::array<void*, 48> addresses{};
  const int count = backtrace(addresses.data(), static_cast<int>(addresses.size()));
  int number = 0;
  for (int i = 0; i < count && number < 16; ++i) {
    void* const address = addresses[static_cast<std::size_t>(i)];
    if (IsOfLayer(address)) continue;
    lines += "    #" + std::to_string(number++) + " " + PlaceOf(address) + "\n";
  }
#endif
  return lines;
}

}  // namespace zelcheck
