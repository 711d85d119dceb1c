// The exported functions: start and stop of the library.
#include "frame/link/subsystem.h"
#include "frame/object/lifecycle.h"
#include "frame/object/registry.h"
#include "zelutils/zelutils.h"

namespace ZEL_T_NMT {
namespace {

constinit bool g_initialised = false;

bool Start(ZELLookupProc lookup) {
  if (!ZELLink(lookup)) return false;
  CreateImplementationRegistry();
  for (const Subsystem* subsystem : kSubsystems) {
    if (subsystem->start != nullptr) subsystem->start();
    if (!RegisterInterfaces(*subsystem)) return false;
  }
  return true;
}

void Stop() {
  for (std::size_t i = kSubsystems.size(); i-- > 0;) UnregisterInterfaces(*kSubsystems[i]);
  DestroyImplementationRegistry();
  ZELUnlink();
}

}  // namespace
}  // namespace ZEL_T_NMT

#if defined(_WIN32)
#define ZEL_EXPORTED __declspec(dllexport)
#else
#define ZEL_EXPORTED __attribute__((visibility("default")))
#endif

extern "C" {

ZEL_EXPORTED std::uint32_t ZELUtilsGetVersion(void) { return ZELUTILS_VERSION; }

ZEL_EXPORTED std::int32_t ZELUtilsInitialize(ZELLookupProc lookup) {
  using namespace ZEL_T_NMT;
  if (g_initialised) return 0;
  // Stays set whatever comes of it: a failed start is ended by ZELUtilsTerminate like any other.
  g_initialised = true;
  try {
    return Start(lookup) ? 1 : 0;
  } catch (...) {
    return 0;
  }
}

ZEL_EXPORTED void ZELUtilsTerminate(void) {
  using namespace ZEL_T_NMT;
  if (!g_initialised) return;
  g_initialised = false;
  try {
    Stop();
  } catch (...) {
    // There is nobody left to tell.
  }
}

}  // extern "C"
