// The system's loader for shared libraries; loader_posix.cpp and loader_windows.cpp.
#pragma once

#include <string>

#include "zelutils/types.h"

namespace zelhost {

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
