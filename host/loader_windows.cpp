#include "loader.h"

#include <windows.h>

#include <cstdlib>
#include <system_error>

#include "zelhost/host.h"

namespace zelhost {

namespace {

std::string FileOf(HMODULE module) {
  std::string file(MAX_PATH, '\0');
  for (;;) {
    const auto room = static_cast<DWORD>(file.size());
    const DWORD length = GetModuleFileNameA(module, file.data(), room);
    if (length < room) return file.substr(0, length);
    file.resize(file.size() * 2);
  }
}

}  // namespace

std::string ProgramFile() { return FileOf(nullptr); }

std::string ModuleFile() {
  static const char inThisModule = 0;
  HMODULE module = nullptr;
  constexpr DWORD kFlags =
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  return GetModuleHandleExA(kFlags, &inThisModule, &module) == 0 ? "" : FileOf(module);
}

std::string EnvironmentVariable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

LoadedLibrary::LoadedLibrary(const std::string& path) : handle_(LoadLibraryA(path.c_str())) {
  if (handle_ != nullptr) return;
  const auto reason = static_cast<int>(GetLastError());
  throw HostError(path + " cannot be loaded: " + std::system_category().message(reason));
}

LoadedLibrary::~LoadedLibrary() { FreeLibrary(static_cast<HMODULE>(handle_)); }

ZELProc LoadedLibrary::Symbol(const char* name) const noexcept {
  return reinterpret_cast<ZELProc>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

}  // namespace zelhost
