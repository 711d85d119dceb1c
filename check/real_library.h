// The library that the layer stands before, and the few words of the operating system that the
// layer needs.
#pragma once

#include <string>

#include "zelutils/zelutils.h"

namespace zelcheck {

struct EntryPoints {
  ZELUtilsGetVersionProc getVersion = nullptr;
  ZELUtilsInitializeProc initialize = nullptr;
  ZELUtilsTerminateProc terminate = nullptr;
};

// Loads the library at the first call: the file that ZELUTILS_LIBRARY names, the one beside the
// layer, or the one that the loader finds under the library's name; never the layer itself. Null
// when there is none, after a message to standard error.
const EntryPoints* RealLibrary() noexcept;
// Unloads the library and drops the layer's state: when the layer itself is unloaded, and not
// before. Clients may hold instances whose destroy
// procedures are the library's code.
void UnloadAll();

// ---- In the file of each platform ----

// The path of the file that this code was loaded from; empty when the system does not tell.
std::string OwnFile();
// Keeps the layer in the process for good.
void StayLoaded();
// Null, and a reason, when the file cannot be loaded.
void* Load(const std::string& path, std::string& reason);
void Unload(void* library);
ZELProc SymbolOf(void* library, const char* name);
std::string Environment(const char* name);
// The name that the library is loaded by.
extern const char* const kLibraryName;

}  // namespace zelcheck
