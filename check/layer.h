// The state of the layer: one for the process.
#pragma once

#include <atomic>
#include <bit>
#include <cstdint>
#include <string>
#include <thread>

#include "call.h"
#include "ledger.h"
#include "settings.h"
#include "zelutils/table.hpp"

namespace zelcheck {

enum class Phase : std::uint8_t { kStopped, kStarting, kRunning, kStopping };

// A call of the library that reported a failure and gave null.
struct FailedCall {
  Origin origin;
  std::string message;
};

using ThreadId = std::uintptr_t;
inline constexpr ThreadId kNoThread = 0;
// In the place of a thread whose host is being told of a finding: its calls are not looked at.
inline constexpr ThreadId kTelling = ~ThreadId{0};
inline ThreadId ThisThread() noexcept {
#if defined(__linux__) && defined(__GNUC__) && !defined(__clang__)
  // Asked at each call; the address of the thread's own data tells it without one.
  return reinterpret_cast<ThreadId>(__builtin_thread_pointer());
#else
  return std::bit_cast<ThreadId>(std::this_thread::get_id());
#endif
}

// A call came while another one ran on another thread, and went past the layer: what is known no
// longer holds, and nothing is judged until the next start.
inline constexpr std::uint32_t kDisturbed = 1U << 31;

// All but the atomic members belongs to the thread that `running` names.
struct Layer {
  Settings settings;
  Phase phase = Phase::kStopped;
  bool observes = false;  // traces or counts each call, or makes some fail

  // The thread of the outermost call that runs, or that starts or stops the library; none between.
  std::atomic<ThreadId> running{kNoThread};
  // The number of findings that a host is being told of, and kDisturbed.
  std::atomic<std::uint32_t> unsettled{0};
  ThreadId home = kNoThread;  // the thread that started the library

  Call* current = nullptr;           // the innermost call
  const Call* clientCall = nullptr;  // the innermost one of a client to the library
  std::uint64_t calls = 0;
  std::string lastReport;
  FailedCall lastNull;  // its origin has no row when there is none

  // Of the host, as the library has looked them up: the layer's own calls of them are those that
  // deliver an injected error, and those of the tests of a host.
  zelutils::ErrorInterface errors;
  const std::uint32_t* unregisterCount = nullptr;
  std::int32_t offset = 0;  // to the primary record of an instance
  bool offsetIsKnown = false;
  bool watchesClients = false;  // the clients' calls of core procedures come through the layer

  Ledger ledger;
};

// Made by the first of the three functions that is called.
extern Layer* theLayer;
inline Layer& TheLayer() noexcept { return *theLayer; }
void MakeLayer();

// Takes the layer for this thread, if no other has it.
inline bool TakeLayer(Layer& layer, ThreadId thisThread) noexcept {
  ThreadId none = kNoThread;
  return layer.running.compare_exchange_strong(none, thisThread, std::memory_order_acquire,
                                               std::memory_order_relaxed);
}
inline bool WasDisturbed() noexcept {
  return (TheLayer().unsettled.load(std::memory_order_relaxed) & kDisturbed) != 0;
}

inline Origin Call::Here() const noexcept {
  const Call* const around = side == Side::kLibraryToHost ? TheLayer().clientCall : nullptr;
  if (around == nullptr) return {&row, number, caller, nullptr, nullptr};
  return {&row, number, caller, &around->row, around->caller};
}

template <Side onSide>
[[gnu::always_inline]] inline bool Call::Enters() noexcept {
  Layer& layer = TheLayer();
  const ThreadId thisThread = ThisThread();
  if (layer.running.load(std::memory_order_relaxed) != thisThread) {
    isOutermost_ = layer.unsettled.load(std::memory_order_relaxed) == 0
                       ? TakeLayer(layer, thisThread)
                       : TakesUnsettledLayer();
    if (!isOutermost_) {
      TellConcurrent();
      return false;
    }
  }
  outer = layer.current;
  layer.current = this;
  number = ++layer.calls;
  if constexpr (onSide == Side::kClientToLibrary) {
    clientCall_ = layer.clientCall;
    layer.clientCall = this;
  }
  return true;
}

template <Side onSide>
[[gnu::always_inline]] inline void Call::Leaves() noexcept {
  Layer& layer = TheLayer();
  layer.current = outer;
  if constexpr (onSide == Side::kClientToLibrary) layer.clientCall = clientCall_;
  if (isOutermost_) layer.running.store(kNoThread, std::memory_order_release);
}

}  // namespace zelcheck
