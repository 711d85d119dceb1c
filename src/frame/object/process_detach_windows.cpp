// The loader's notices. Functions that it calls run before the destructors of the process-wide
// objects.
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include "frame/object/lifecycle.h"

// A thread that ends changes nothing: the library keeps no state per thread.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_DETACH) ZEL_T_NMT::ZELProcessDetach();
  return TRUE;
}
