// The host for C programs: zelhost/zelhost.h over zelhost/host.h.
#include "zelhost/zelhost.h"

#include <cstdio>
#include <deque>
#include <exception>
#include <new>

#include "zelhost/host.h"

struct ZELHost {
  explicit ZELHost(const zelhost::HostOptions& options) : host(options) {
    // ZELHostStop answers with what leaked; it is not printed.
    host.SetLeakSink(nullptr);
  }

  zelhost::Host host;
  std::deque<std::string> reports;  // taken from the host, not yet by the program
  std::string text;                 // the one that was returned last
};

namespace {

// The only one that is not destroyed yet. A handle is compared with it before it is used.
constinit ZELHost* current = nullptr;

// No string: it must be there before and after everything else.
constinit char lastError[1024] = "";

void Fail(const char* reason) noexcept {
  std::snprintf(lastError, sizeof lastError, "%s", reason);
  for (char& c : lastError) {
    if (c == '\n' || c == '\r') c = ' ';
  }
}

// Runs a body that may throw; a failure is noted and answered with `failure`.
template <typename Result, typename Body>
Result Guarded(Result failure, Body body) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    Fail("out of memory");
  } catch (const std::exception& error) {
    Fail(error.what());
  } catch (...) {
    Fail("unknown failure");
  }
  return failure;
}

// The same for a body that needs the host.
template <typename Result, typename Body>
Result WithHost(ZELHost* host, Result failure, Body body) noexcept {
  return Guarded(failure, [&] {
    if (host == nullptr) throw zelhost::HostError("there is no host: the handle is null");
    if (host != current) throw zelhost::HostError("the host has been destroyed");
    return body(*host);
  });
}

}  // namespace

ZELHost* ZELHostNew(uint32_t options) {
  return Guarded(static_cast<ZELHost*>(nullptr), [&] {
    zelhost::HostOptions hostOptions;
    if ((options & ~(ZELHOST_GUARD_MEMORY | ZELHOST_ANY_THREAD)) != 0) {
      throw zelhost::HostError("there is no such option");
    }
    if ((options & ZELHOST_GUARD_MEMORY) != 0) hostOptions.guardMemory = true;
    hostOptions.anyThread = (options & ZELHOST_ANY_THREAD) != 0;
    current = new ZELHost(hostOptions);
    return current;
  });
}

void ZELHostDestroy(ZELHost* host) {
  if (host == nullptr) return;
  WithHost(host, 0, [](ZELHost& live) {
    delete &live;
    current = nullptr;
    return 1;
  });
}

const char* ZELHostLastError(void) { return lastError; }

int32_t ZELHostStart(ZELHost* host, const char* path) {
  return WithHost(host, 0, [&](ZELHost& live) {
    if (path != nullptr) {
      live.host.Start(path);
    } else {
      live.host.Start();
    }
    return 1;
  });
}

int32_t ZELHostStop(ZELHost* host) {
  return WithHost(host, 0, [](ZELHost& live) {
    live.host.Stop();
    const std::vector<zelhost::Leak> leaks = live.host.Leaks();
    if (leaks.empty()) return 1;
    throw zelhost::HostError("not clean: " + leaks.front().what +
                             (leaks.size() > 1 ? ", and more" : ""));
  });
}

uint32_t ZELHostLibraryVersion(ZELHost* host) {
  return WithHost(host, std::uint32_t{0}, [](ZELHost& live) { return live.host.LibraryVersion(); });
}

ZELProc ZELHostLookup(ZELHost* host, const char* interfaceName, const char* methodName,
                      const char* procTypeName) {
  return WithHost(host, ZELProc(), [&](ZELHost& live) {
    return live.host.Find<ZELProc>(interfaceName, methodName, procTypeName);
  });
}

ZELLookupProc ZELHostLookupProc(void) { return zelhost::Host::LookupProc(); }

const char* ZELHostTakeReport(ZELHost* host) {
  return WithHost(host, static_cast<const char*>(nullptr), [](ZELHost& live) -> const char* {
    for (std::string& report : live.host.TakeReports()) live.reports.push_back(std::move(report));
    if (live.reports.empty()) return nullptr;
    live.text = std::move(live.reports.front());
    live.reports.pop_front();
    return live.text.c_str();
  });
}

int32_t ZELHostCount(ZELHost* host, ZELHostCounts* counts) {
  return WithHost(host, 0, [&](ZELHost& live) {
    if (counts == nullptr) throw zelhost::HostError("there is no place for the counts");
    const zelhost::Counts held = live.host.Live();
    *counts = {held.blocks,        held.bytes,
               held.atoms,         held.atomReferences,
               held.errors,        held.errorReferences,
               held.instances,     held.instanceReferences,
               held.sharedBuffers, held.sharedBufferReferences,
               held.interfaces};
    return 1;
  });
}

const char* ZELHostLeaks(ZELHost* host) {
  return WithHost(host, static_cast<const char*>(nullptr), [](ZELHost& live) {
    live.text.clear();
    for (const zelhost::Leak& leak : live.host.Leaks()) {
      live.text += (leak.kind == zelhost::Leak::Kind::kMisuse ? "misuse: " : "still held: ") +
                   leak.what + '\n';
    }
    return live.text.c_str();
  });
}
