#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include <system_error>

#include "real_library.h"

namespace zelcheck {

const char* const kLibraryName = ZELCHECK_LIBRARY_NAME;

std::string OwnFile() {
  static const char inThisModule = 0;
  HMODULE module = nullptr;
  constexpr DWORD kFlags =
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  if (GetModuleHandleExA(kFlags, &inThisModule, &module) == 0) return "";
  std::string file(MAX_PATH, '\0');
  for (;;) {
    const auto room = static_cast<DWORD>(file.size());
    const DWORD length = GetModuleFileNameA(module, file.data(), room);
    if (length < room) return file.substr(0, length);
    file.resize(file.size() * 2);
  }
}

void StayLoaded() {
  static const char inThisModule = 0;
  HMODULE module = nullptr;
  GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                     &inThisModule, &module);
}

void* Load(const std::string& path, std::string& reason) {
  const HMODULE library = LoadLibraryA(path.c_str());
  if (library == nullptr) {
    const auto code = static_cast<int>(GetLastError());
    reason = path + " cannot be loaded: " + std::system_category().message(code);
  }
  return library;
}

void Unload(void* library) { FreeLibrary(static_cast<HMODULE>(library)); }

ZELProc SymbolOf(void* library, const char* name) {
  return reinterpret_cast<ZELProc>(GetProcAddress(static_cast<HMODULE>(library), name));
}

// The block of the process itself: the C runtime's copy is of the time when it was loaded.
std::string Environment(const char* name) {
  std::string value(256, '\0');
  for (;;) {
    const auto room = static_cast<DWORD>(value.size());
    const DWORD length = GetEnvironmentVariableA(name, value.data(), room);
    if (length < room) return value.substr(0, length);
    value.resize(length);
  }
}

}  // namespace zelcheck

// At the end of the process, which `reserved` tells, the system unloads all libraries by itself.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID reserved) {
  if (reason == DLL_PROCESS_DETACH && reserved == nullptr) zelcheck::UnloadAll();
  return TRUE;
}
