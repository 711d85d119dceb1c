// The search for the library where its user has not named a file.
#include <array>
#include <filesystem>

#include "loader.h"
#include "zelhost/host.h"

namespace zelhost {

namespace {

// From a folder that holds a program to one that an installation puts libraries in.
constexpr const char* kFromProgram[] = {".", ZELHOST_FROM_BIN_TO_LIB, "../lib", "../lib64",
                                        ZELHOST_FROM_BIN_TO_MULTIARCH};

std::string InFolderOf(const std::string& file, const char* folder) {
  const std::filesystem::path found =
      std::filesystem::path(file).parent_path() / folder / kLibraryName;
  std::error_code error;
  return std::filesystem::is_regular_file(found, error) ? found.lexically_normal().string() : "";
}

}  // namespace

std::string FindLibrary() {
  if (const std::string program = ProgramFile(); !program.empty()) {
    for (const char* folder : kFromProgram) {
      if (std::string found = InFolderOf(program, folder); !found.empty()) return found;
    }
  }
  // A shared library of this code, or another one that it is linked into.
  if (const std::string module = ModuleFile(); !module.empty()) {
    if (std::string found = InFolderOf(module, "."); !found.empty()) return found;
  }
  if (std::string named = EnvironmentVariable("ZELUTILS_LIBRARY"); !named.empty()) return named;
  return kLibraryName;
}

}  // namespace zelhost
