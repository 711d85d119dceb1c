#include <dlfcn.h>

#include "loader.h"
#include "zelhost/host.h"

namespace zelhost {

LoadedLibrary::LoadedLibrary(const std::string& path)
    : handle_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
  if (handle_ != nullptr) return;
  const char* reason = dlerror();
  throw HostError(reason != nullptr ? reason : path + " cannot be loaded");
}

LoadedLibrary::~LoadedLibrary() { dlclose(handle_); }

ZELProc LoadedLibrary::Symbol(const char* name) const noexcept {
  return reinterpret_cast<ZELProc>(dlsym(handle_, name));
}

}  // namespace zelhost
