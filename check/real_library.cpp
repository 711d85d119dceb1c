#include "real_library.h"

#include <cstdio>
#include <filesystem>
#include <vector>

#include "lasting.h"

namespace zelcheck {
namespace {

namespace fs = std::filesystem;

constinit EntryPoints g_entryPoints;
constinit void* g_library = nullptr;

bool IsSameFile(const fs::path& one, const fs::path& other) {
  std::error_code error;
  return fs::equivalent(one, other, error);
}

// The files to try, in their order. One that is not there is left out, so that the reason for a
// failure is that of a file that is.
std::vector<std::string> Candidates() {
  const std::string own = OwnFile();
  std::vector<std::string> candidates;
  const std::string named = Environment("ZELUTILS_LIBRARY");
  if (!named.empty() && !IsSameFile(named, own)) candidates.push_back(named);
  const fs::path beside = fs::path(own).parent_path() / kLibraryName;
  std::error_code error;
  if (fs::is_regular_file(beside, error) && !IsSameFile(beside, own)) {
    candidates.push_back(beside.string());
  }
  candidates.emplace_back(kLibraryName);
  return candidates;
}

bool Open(const std::string& path, std::string& reason) {
  void* const library = Load(path, reason);
  if (library == nullptr) return false;
  const EntryPoints found = {
      reinterpret_cast<ZELUtilsGetVersionProc>(SymbolOf(library, "ZELUtilsGetVersion")),
      reinterpret_cast<ZELUtilsInitializeProc>(SymbolOf(library, "ZELUtilsInitialize")),
      reinterpret_cast<ZELUtilsTerminateProc>(SymbolOf(library, "ZELUtilsTerminate"))};
  if (found.getVersion == nullptr || found.initialize == nullptr || found.terminate == nullptr) {
    reason = path + " is not the library: it lacks one of the three functions";
  } else if (found.initialize == &ZELUtilsInitialize) {
    reason = path + " is the checking layer itself";
  } else {
    g_entryPoints = found;
    g_library = library;
    return true;
  }
  Unload(library);
  return false;
}

const EntryPoints* Search() {
  std::string reasons;
  for (const std::string& candidate : Candidates()) {
    std::string reason;
    if (Open(candidate, reason)) return &g_entryPoints;
    reasons += "  " + reason + "\n";
  }
  std::fprintf(stderr,
               "zelutils-check: the library is not found. Set ZELUTILS_LIBRARY to its path, or put "
               "it beside the layer.\n%s",
               reasons.c_str());
  return nullptr;
}

}  // namespace

const EntryPoints* RealLibrary() noexcept {
  if (g_library != nullptr) return &g_entryPoints;
  try {
    return Search();
  } catch (...) {  // no memory for the names of files
    return nullptr;
  }
}

void UnloadAll() {
  if (g_library != nullptr) Unload(g_library);
  g_library = nullptr;
  LastingBase::DropAll();
}

}  // namespace zelcheck
