#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include "pos/system_random.h"

// The name under which the system exports RtlGenRandom.
extern "C" BOOLEAN NTAPI SystemFunction036(PVOID block, ULONG size);

namespace NPOSObjectImpl {

bool FillWithSystemRandom(void* block, std::size_t size) noexcept {
  return SystemFunction036(block, static_cast<ULONG>(size)) != FALSE;
}

}  // namespace NPOSObjectImpl
