#include <dlfcn.h>

#include <cstdlib>

#include "real_library.h"

namespace zelcheck {

const char* const kLibraryName = ZELCHECK_LIBRARY_NAME;

std::string OwnFile() {
  static const char inThisModule = 0;
  Dl_info info;
  return dladdr(&inThisModule, &info) == 0 || info.dli_fname == nullptr ? "" : info.dli_fname;
}

void StayLoaded() { dlopen(OwnFile().c_str(), RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE); }

void* Load(const std::string& path, std::string& reason) {
  void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    const char* const told = dlerror();
    reason = told != nullptr ? told : path + " cannot be loaded";
  }
  return library;
}

void Unload(void* library) { dlclose(library); }

ZELProc SymbolOf(void* library, const char* name) {
  return reinterpret_cast<ZELProc>(dlsym(library, name));
}

std::string Environment(const char* name) {
  const char* const value = secure_getenv(name);
  return value == nullptr ? "" : value;
}

}  // namespace zelcheck

// At the end of a process it comes after the handlers and the destructors of static objects, in
// which a host may still work.
[[gnu::destructor]] static void DetachAtUnload() { zelcheck::UnloadAll(); }
