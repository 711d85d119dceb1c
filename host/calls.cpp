// Counted calls, injected faults and calls from foreign threads.
#include <algorithm>
#include <array>
#include <iterator>

#include "services.h"

namespace zelhost {

constinit CallCounter callCounters[kServiceCount];
constinit std::uintptr_t hostThread = 0;
constinit std::uintptr_t plainThread = 0;

namespace {

struct ServiceFacts {
  Service service;
  std::string_view name;
  bool fallible;
};

constexpr ServiceFacts kFacts[] = {
    {Service::kLookup, "Lookup", true},
    {Service::kRegisterProcAddress, "ZELRegisterProcAddress", true},
    {Service::kReportError, "ZELReportError", false},
    {Service::kUnregisterInterface, "ZELUnregisterInterface", false},
    {Service::kAlloc, "Alloc", true},
    {Service::kRealloc, "Realloc", true},
    {Service::kFree, "Free", false},
    {Service::kNewStringAtom, "NewStringAtom", true},
    {Service::kDeleteStringAtom, "DeleteStringAtom", false},
    {Service::kGetCString, "GetCString", false},
    {Service::kAddRefStringAtom, "AddRef (atom)", false},
    {Service::kNewError, "NewError", true},
    {Service::kGetCoreError, "GetCoreError", true},
    {Service::kAddRefError, "AddRef (error)", false},
    {Service::kReleaseError, "Release (error)", false},
    {Service::kNewFullContainer, "NewFullContainer", true},
    {Service::kAddRef, "AddRef (container)", true},
    {Service::kRelease, "Release (container)", false},
    {Service::kDecrementWithoutDelete, "DecrementWithoutDelete", false},
    {Service::kDeleteUnownedContainer, "DeleteUnownedContainer", false},
    {Service::kGetMethod, "GetMethod", true},
    {Service::kNGetInstance, "NGetInstance", true},
    {Service::kNewBuffer, "NewBuffer", true},
    {Service::kAddRefBuffer, "AddRef (shared buffer)", false},
    {Service::kReleaseBuffer, "Release (shared buffer)", false},
    {Service::kNewMemoryStream, "NewPositionableMemoryStream", true},
    {Service::kNewFileStream, "NewPositionableFileStream", true},
    {Service::kNewClientStream, "NewClientPositionableStream", true},
    {Service::kRead, "Read", true},
    {Service::kWrite, "Write", true},
    {Service::kCreateRewindable, "CreateIndependentlyRewindableStream", true},
    {Service::kRewind, "Rewind", true},
    {Service::kCreatePositionable, "CreateIndependentlyPositionableStream", true},
    {Service::kMark, "Mark", true},
    {Service::kSeek, "Seek", true},
    {Service::kShortRead, "short Read", true},
};
static_assert(std::size(kFacts) == kServiceCount);

constexpr bool InOrderOfEnumeration() {
  for (std::size_t i = 0; i < kServiceCount; ++i) {
    if (static_cast<std::size_t>(kFacts[i].service) != i) return false;
  }
  return true;
}
static_assert(InOrderOfEnumeration());

constexpr std::size_t kFallibleCount = [] {
  std::size_t count = 0;
  for (const ServiceFacts& facts : kFacts) count += facts.fallible ? 1 : 0;
  return count;
}();

constexpr auto kFallible = [] {
  std::array<Service, kFallibleCount> services{};
  std::size_t next = 0;
  for (const ServiceFacts& facts : kFacts) {
    if (facts.fallible) services[next++] = facts.service;
  }
  return services;
}();

std::int64_t CallsOf(const CallCounter& counter) noexcept { return counter.start - counter.left; }

// Lets so many further calls succeed; the calls made stay counted.
void Rearm(CallCounter& counter, std::int64_t left) noexcept {
  counter.start = left + CallsOf(counter);
  counter.left = left;
  counter.armed = left != CallCounter::kNever;
}

CallCounter& CounterOf(Service service) noexcept {
  return callCounters[static_cast<std::size_t>(service)];
}

const ServiceFacts& FactsOf(Service service) noexcept {
  return kFacts[static_cast<std::size_t>(service)];
}

constinit std::uint64_t faultsInjected = 0;
constinit bool anyThread = false;
constinit bool memoryIsGuarded = false;

void ChoosePlainThread() noexcept {
  const bool anyArmed = std::any_of(std::begin(callCounters), std::end(callCounters),
                                    [](const CallCounter& counter) { return counter.armed; });
  plainThread = memoryIsGuarded || anyArmed ? 0 : hostThread;
}

void Open(const HostOptions& options) {
  std::fill(std::begin(callCounters), std::end(callCounters), CallCounter());
  faultsInjected = 0;
  anyThread = options.anyThread;
  memoryIsGuarded = options.guardMemory;
  hostThread = ThisThread();
  ChoosePlainThread();
}

void Close() noexcept { hostThread = plainThread = 0; }
void Count(Counts&) {}
void ListLeaks(std::vector<Leak>&) {}

}  // namespace

constinit const ServiceLife kCallLife = {Open, Close, Count, ListLeaks};

std::string_view ServiceName(Service service) noexcept { return FactsOf(service).name; }

std::span<const Service> FallibleServices() noexcept { return kFallible; }

bool InjectFault(CallCounter& counter) noexcept {
  if (!counter.andAllLater) {
    Rearm(counter, CallCounter::kNever);
    ChoosePlainThread();
  }
  ++faultsInjected;
  return true;
}

bool CallsFromAnyThread() noexcept { return anyThread; }

bool RefuseForeignThread(std::string_view procedure) noexcept {
  if (anyThread || hostThread == 0) return false;
  NoteMisuse(procedure, "from a thread that the host does not belong to");
  return true;
}

bool RefuseForeignThread(Service service) noexcept {
  return RefuseForeignThread(ServiceName(service));
}

// ---- The part of Host that lets calls fail ----

void Host::MoveToThisThread() noexcept {
  if (hostThread == 0) return;
  hostThread = ThisThread();
  ChoosePlainThread();
}

void Host::FailAt(Service service, std::uint64_t n, bool andAllLater) {
  if (!FactsOf(service).fallible) {
    throw HostError(std::string(ServiceName(service)) + " cannot be made to fail");
  }
  if (n == 0) throw HostError("the calls to fail are counted from 1");
  constexpr std::uint64_t kMost = CallCounter::kNever;
  Rearm(CounterOf(service), static_cast<std::int64_t>(std::min(n - 1, kMost)));
  CounterOf(service).andAllLater = andAllLater;
  ChoosePlainThread();
}

void Host::StopFailing(Service service) noexcept {
  Rearm(CounterOf(service), CallCounter::kNever);
  ChoosePlainThread();
}

void Host::StopFailing() noexcept {
  for (CallCounter& counter : callCounters) Rearm(counter, CallCounter::kNever);
  ChoosePlainThread();
}

std::uint64_t Host::FaultsInjected() const noexcept { return faultsInjected; }

std::uint64_t Host::Calls(Service service) const noexcept {
  return static_cast<std::uint64_t>(CallsOf(CounterOf(service)));
}

std::uint64_t Host::TotalCalls() const noexcept {
  std::int64_t total = 0;
  for (const CallCounter& counter : callCounters) total += CallsOf(counter);
  total -= CallsOf(CounterOf(Service::kShortRead));  // those were reads
  return static_cast<std::uint64_t>(total);
}

void Host::ResetCalls() noexcept {
  for (CallCounter& counter : callCounters) counter.start = counter.left;
}

}  // namespace zelhost
