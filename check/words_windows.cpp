// Places in the code: the module and the offset in it, as a linker's map lists them.
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include <array>

#include "words.h"

namespace zelcheck {
namespace {

HMODULE ModuleOf(const void* address) {
  HMODULE module = nullptr;
  constexpr DWORD kFlags =
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  return GetModuleHandleExA(kFlags, static_cast<const char*>(address), &module) == 0 ? nullptr
                                                                                     : module;
}

}  // namespace

std::string PlaceOf(const void* address) {
  const HMODULE module = ModuleOf(address);
  const auto number = reinterpret_cast<std::uintptr_t>(address);
  std::array<char, MAX_PATH> path{};
  if (module == nullptr || GetModuleFileNameA(module, path.data(), MAX_PATH - 1) == 0) {
    return Hex(number);
  }
  const std::string file = path.data();
  return file.substr(file.find_last_of("\\/") + 1) + "+" +
         Hex(number - reinterpret_cast<std::uintptr_t>(module));
}

std::string CallStack() {
  static const char inThisModule = 0;
  std::array<void*, 48> addresses{};
  const USHORT count = RtlCaptureStackBackTrace(0, 48, addresses.data(), nullptr);
  std::string lines;
  int number = 0;
  for (USHORT i = 0; i < count && number < 16; ++i) {
    if (ModuleOf(addresses[i]) == ModuleOf(&inThisModule)) continue;
    lines += "    #" + std::to_string(number++) + " " + PlaceOf(addresses[i]) + "\n";
  }
  return lines;
}

}  // namespace zelcheck
