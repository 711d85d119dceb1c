#include "library_path.h"

#include <filesystem>
#include <system_error>

namespace zelpos {

#ifdef _WIN32

// The loader itself looks first beside the program, where an installation puts the library too.
std::string LibraryPath() { return "ZELUtils.dll"; }

#else

std::string LibraryPath() {
  std::string name = ZEL_LIBRARY_NAME;
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  for (const char* folder : {".", ZEL_LIBRARY_FROM_TOOL, "../lib", "../lib64", ZEL_MULTIARCH}) {
    const std::filesystem::path candidate = program.parent_path() / folder / name;
    if (!program.empty() && std::filesystem::exists(candidate, error)) {
      return candidate.lexically_normal().string();
    }
  }
  return name;
}

#endif

}  // namespace zelpos
