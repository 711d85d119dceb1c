#include "loader.h"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "zelhost/host.h"

namespace zelhost {

std::string ProgramFile() {
  std::error_code error;
  return std::filesystem::read_symlink("/proc/self/exe", error).string();
}

std::string ModuleFile() {
  static const char inThisModule = 0;
  Dl_info info;
  if (dladdr(&inThisModule, &info) == 0 || info.dli_fname == nullptr) return "";
  // Of a program it is the name that it was called by, which leads nowhere without a folder.
  const std::string file = info.dli_fname;
  return file.find('/') == std::string::npos ? "" : file;
}

std::string EnvironmentVariable(const char* name) {
  const char* value = secure_getenv(name);
  return value == nullptr ? "" : value;
}

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
