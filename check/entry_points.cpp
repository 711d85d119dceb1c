// The three functions of the library, as the host finds them in the layer.
#include <cstdlib>

#include "binder.h"
#include "client_rules.h"
#include "conformance/probe.h"
#include "findings.h"
#include "layer.h"
#include "observe.h"
#include "real_library.h"

namespace zelcheck {
namespace {

void ReadEnvironment(Layer& layer) {
  layer.settings = ReadSettings(Environment("ZELUTILS_CHECK"));
  BeginTelling(layer.settings, nullptr);
  for (const std::string& word : layer.settings.unknown) {
    Print("zelutils-check: ZELUTILS_CHECK has the word \"" + word +
          "\", which says nothing; docs/checking.md lists those that do\n");
  }
}

// Does what may fail for lack of memory: no exception leaves the layer.
template <typename Action>
void Guarded(Action action) noexcept {
  try {
    action();
  } catch (...) {
    TellOfLostSight();
  }
}

// The preparation of a start, before the library is started.
void Prepare(Layer& layer, ZELLookupProc lookup) {
  layer.unsettled &= ~kDisturbed;
  ReadEnvironment(layer);
  layer.observes = layer.settings.trace || layer.settings.stats || layer.settings.inject;
  BeginObserving();
  if (layer.settings.callback && lookup != nullptr) {
    BeginTelling(layer.settings, reinterpret_cast<ZELUtilsCheckFindingProc>(lookup(
                                     ZEL_CHECK_INTERFACE, "Finding", "ZELUtilsCheckFindingProc")));
  }
  layer.lastNull = {};
  layer.ledger.ForgetAll();  // what was left by an earlier start may have ended with its host
  layer.calls = 0;
  layer.offsetIsKnown = false;
  if (layer.settings.host && TestHost(lookup) > 0 && layer.settings.abort) std::abort();
}

// Keeps the layer for this thread while the library is started or stopped.
class Turn {
 public:
  explicit Turn(Layer& layer) noexcept
      : layer_(layer),
        isTaken_(TakeLayer(layer, ThisThread())),
        isOurs_(isTaken_ || layer.running == ThisThread()) {}
  ~Turn() {
    if (isTaken_) layer_.running.store(kNoThread, std::memory_order_release);
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;
  bool IsOurs() const noexcept { return isOurs_; }

 private:
  Layer& layer_;
  const bool isTaken_;
  const bool isOurs_;
};

std::int32_t Start(ZELUtilsInitializeProc initialize, ZELLookupProc lookup) {
  Layer& layer = TheLayer();
  const Turn turn(layer);
  if (!turn.IsOurs()) {
    Guarded([] { TellDisturbance("The library is started while a call runs on another thread."); });
    return initialize(lookup);
  }
  // A second start, which the library refuses, changes nothing here either.
  if (layer.phase != Phase::kStopped) return initialize(lookup);
  layer.phase = Phase::kStarting;
  Guarded([&] { Prepare(layer, lookup); });
  const ZELLookupProc before = LookupBefore(lookup);
  const std::int32_t result = initialize(before != nullptr ? before : lookup);
  layer.home = ThisThread();
  layer.phase = Phase::kRunning;
  if (result != 0 && layer.settings.core && before != nullptr) {
    Guarded([lookup] { WatchClients(lookup); });
  }
  return result;
}

void Stop(ZELUtilsTerminateProc terminate) {
  Layer& layer = TheLayer();
  const Turn turn(layer);
  if (!turn.IsOurs()) {
    Guarded([] { TellDisturbance("The library is stopped while a call runs on another thread."); });
    return terminate();
  }
  if (layer.phase != Phase::kRunning) return terminate();
  layer.phase = Phase::kStopping;
  terminate();
  layer.phase = Phase::kStopped;
  layer.home = kNoThread;
  Guarded([] { TellLeaks(); });
  if (layer.watchesClients) StopWatchingClients();
  Guarded([] { EndObserving(); });
  layer.observes = false;
  layer.ledger.ForgetAllButInstances();
}

}  // namespace
}  // namespace zelcheck

#if defined(_WIN32)
#define ZEL_EXPORTED __declspec(dllexport)
#else
#define ZEL_EXPORTED __attribute__((visibility("default")))
#endif

extern "C" {

ZEL_EXPORTED std::uint32_t ZELUtilsGetVersion(void) {
  const zelcheck::EntryPoints* const library = zelcheck::RealLibrary();
  return library == nullptr ? ZELUTILS_VERSION : library->getVersion();
}

ZEL_EXPORTED std::int32_t ZELUtilsInitialize(ZELLookupProc lookup) {
  const zelcheck::EntryPoints* const library = zelcheck::RealLibrary();
  if (library == nullptr) return 0;
  try {
    zelcheck::MakeLayer();
    return zelcheck::Start(library->initialize, lookup);
  } catch (...) {  // no memory for the state of the layer: nothing was started
    return 0;
  }
}

ZEL_EXPORTED void ZELUtilsTerminate(void) {
  const zelcheck::EntryPoints* const library = zelcheck::RealLibrary();
  if (library == nullptr) return;
  if (zelcheck::theLayer == nullptr) return library->terminate();  // it was never started
  zelcheck::Stop(library->terminate);
}

}  // extern "C"
