// The system's loader for shared libraries, and the places of files that a search begins with;
// loader_posix.cpp and loader_windows.cpp.
#pragma once

#include <string>

#include "zelutils/types.h"

namespace zelhost {

// The library's file name on this system: the one that is there without a compiler's files.
inline constexpr const char kLibraryName[] = ZELHOST_LIBRARY_NAME;

// The file of the running program, and of the program or shared library that this code is linked
// into; empty when the system does not tell. On Windows in the current code page.
std::string ProgramFile();
std::string ModuleFile();

// Empty when it is not set, and in a program that runs with more rights than its user has.
std::string EnvironmentVariable(const char* name);

// A loaded library, unloaded by the destructor.
class LoadedLibrary {
 public:
  // Throws HostError with the loader's reason. On Windows the path is in the current code page.
  explicit LoadedLibrary(const std::string& path);
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;
  ~LoadedLibrary();

  // The address of an exported function, or null.
  ZELProc Symbol(const char* name) const noexcept;

 private:
  void* handle_;
};

}  // namespace zelhost
