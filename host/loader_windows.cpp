#include <windows.h>

#include <system_error>

#include "loader.h"
#include "zelhost/host.h"

namespace zelhost {

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
