// Words that only some compilers and standard libraries know, each with a fallback of C++ that any
// of them can build. ZEL_PORTABLE chooses the fallbacks everywhere; the sanitized build is made so.
#pragma once

#include <charconv>
#include <cstdint>

#if defined(__GNUC__) && !defined(ZEL_PORTABLE)
#define ZEL_ALWAYS_INLINE [[gnu::always_inline]] inline
#define ZEL_NEVER_INLINE [[gnu::noinline]]
#define ZEL_HAS_PREFETCH 1
#else
#define ZEL_ALWAYS_INLINE inline
#define ZEL_NEVER_INLINE
#define ZEL_HAS_PREFETCH 0
#endif

#if defined(__SIZEOF_INT128__) && !defined(ZEL_PORTABLE)
#define ZEL_HAS_128_BITS 1
#else
#define ZEL_HAS_128_BITS 0
#endif

// Whether std::from_chars reads doubles, which some standard libraries do not do yet.
#if defined(__cpp_lib_to_chars) && !defined(ZEL_PORTABLE)
#define ZEL_HAS_FROM_CHARS 1
#else
#define ZEL_HAS_FROM_CHARS 0
#endif

namespace ZEL_T_NMT {

// Has the processor fetch what it will need soon; the address may be anything.
ZEL_ALWAYS_INLINE void Prefetch([[maybe_unused]] const void* address) noexcept {
#if ZEL_HAS_PREFETCH
  __builtin_prefetch(address);
  // gcc takes a function that does nothing else for one without effect, and leaves out its calls.
  __asm__ volatile("");
#endif
}

// The 128 bits of a product.
struct WideProduct {
  std::uint64_t low;
  std::uint64_t high;
};

inline WideProduct Multiply(std::uint64_t left, std::uint64_t right) noexcept {
#if ZEL_HAS_128_BITS
  __extension__ using Wide = unsigned __int128;
  const Wide product = static_cast<Wide>(left) * right;
  return {static_cast<std::uint64_t>(product), static_cast<std::uint64_t>(product >> 64)};
#else
  const std::uint64_t leftHigh = left >> 32;
  const std::uint64_t leftLow = left & 0xFFFFFFFFu;
  const std::uint64_t rightHigh = right >> 32;
  const std::uint64_t rightLow = right & 0xFFFFFFFFu;
  const std::uint64_t lowest = leftLow * rightLow;
  const std::uint64_t middle = leftHigh * rightLow + (lowest >> 32);
  const std::uint64_t otherMiddle = leftLow * rightHigh + (middle & 0xFFFFFFFFu);
  return {otherMiddle << 32 | (lowest & 0xFFFFFFFFu),
          leftHigh * rightHigh + (middle >> 32) + (otherMiddle >> 32)};
#endif
}

}  // namespace ZEL_T_NMT
