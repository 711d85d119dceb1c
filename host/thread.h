// The identity of the running thread, at the cost of a register's load where that is possible.
#pragma once

#include <cstdint>

namespace zelhost {

// Different for any two threads that run at the same time, never 0.
inline std::uintptr_t ThisThread() noexcept {
  std::uintptr_t thread;
#if defined(__GNUC__) && defined(__x86_64__) && defined(_WIN32)
  __asm__("movq %%gs:0x30, %0" : "=r"(thread));
#elif defined(__GNUC__) && defined(__i386__) && defined(_WIN32)
  __asm__("movl %%fs:0x18, %0" : "=r"(thread));
#elif defined(__GNUC__) && defined(__x86_64__) && defined(__linux__)
  __asm__("movq %%fs:0, %0" : "=r"(thread));
#elif defined(__GNUC__) && defined(__i386__) && defined(__linux__)
  __asm__("movl %%gs:0, %0" : "=r"(thread));
#else
  thread_local char ofThisThread = 0;
  thread = reinterpret_cast<std::uintptr_t>(&ofThisThread);
#endif
  return thread;
}

}  // namespace zelhost
