// A count of the steps that dictionaries take, for builds that bound them (see fuzz/); other builds
// have none.
#pragma once

#include <cstdint>

namespace NPOSObjectImpl {

#if defined(ZEL_COUNT_WORK)
// Slots of an index and keys of an order that were looked at, and numbers that were moved.
inline constinit std::uint64_t g_probes = 0;
inline void CountProbe(std::uint64_t count = 1) noexcept { g_probes += count; }
#else
inline constexpr std::uint64_t g_probes = 0;
inline void CountProbe(std::uint64_t = 1) noexcept {}
#endif

}  // namespace NPOSObjectImpl
