// Folders for files that tests and fuzz targets make.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <string>

namespace zeltest {

// Sets a variable of the environment; on Windows an empty one is none.
inline void SetVariable(const char* name, const std::string& value) {
#if defined(_WIN32)
  _putenv_s(name, value.c_str());
#else
  setenv(name, value.c_str(), 1);
#endif
}

// A new folder, gone at the end with all that is in it.
struct Folder {
  Folder() { std::filesystem::create_directory(path); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() { std::filesystem::remove_all(path); }

  std::string operator/(const std::string& name) const { return (path / name).string(); }
  static std::string Contents(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  static std::set<std::filesystem::path> Names(const std::filesystem::path& where) {
    std::set<std::filesystem::path> names;
    for (const auto& entry : std::filesystem::directory_iterator(where)) {
      names.insert(entry.path().filename());
    }
    return names;
  }
  std::set<std::filesystem::path> Names() const { return Names(path); }

  const std::filesystem::path path = std::filesystem::temp_directory_path() /
                                     ("zeltest." + std::to_string(std::random_device()()));
};

// The folder in which the library and the host make temporary files.
struct TempFolder : Folder {
  TempFolder() { Set(path.string()); }
  ~TempFolder() { Set(path.parent_path().string()); }
  static void Set(const std::string& path) {
#if defined(_WIN32)
    SetVariable("TMP", path);
#else
    SetVariable("TMPDIR", path);
#endif
  }
};

}  // namespace zeltest
