// The state of the layer: one for the process.
#pragma once

#include <atomic>
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

struct Layer {
  Settings settings;
  Phase phase = Phase::kStopped;
  bool observes = false;  // traces or counts each call

  // The thread of the call that runs; none between calls.
  std::atomic<std::thread::id> running{};
  // The thread whose host is being told of a finding; calls that it makes then are not looked at.
  std::atomic<std::thread::id> telling{};
  // The thread that started the library.
  std::thread::id home{};

  Call* current = nullptr;  // the innermost call
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

Layer& TheLayer();

}  // namespace zelcheck
