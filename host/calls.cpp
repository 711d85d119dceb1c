// Counted calls, injected faults and noted misuse.
#include <algorithm>
#include <array>
#include <iterator>

#include "services.h"

namespace zelhost {

CallCounter callCounters[kServiceCount];

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

const ServiceFacts& FactsOf(Service service) noexcept {
  return kFacts[static_cast<std::size_t>(service)];
}

// More of them than this say no more about the fault behind them.
constexpr std::size_t kMostMisuses = 1000;

std::uint64_t faultsInjected = 0;
std::vector<std::string>* misuses = nullptr;

void Open(const HostOptions&) {
  std::fill(std::begin(callCounters), std::end(callCounters), CallCounter());
  faultsInjected = 0;
  misuses = new std::vector<std::string>;
}

void Close() noexcept {
  delete misuses;
  misuses = nullptr;
}

void Count(Counts&) {}

void ListLeaks(std::vector<Leak>& leaks) {
  for (const std::string& misuse : *misuses) leaks.push_back({Leak::Kind::kMisuse, misuse});
}

}  // namespace

const ServiceLife kCallLife = {Open, Close, Count, ListLeaks};

std::string_view ServiceName(Service service) noexcept { return FactsOf(service).name; }

std::span<const Service> FallibleServices() noexcept { return kFallible; }

bool InjectFault(CallCounter& counter) noexcept {
  if (!counter.andAllLater) counter.failFrom = CallCounter::kNever;
  ++faultsInjected;
  return true;
}

void NoteMisuse(std::string_view what) noexcept {
  if (misuses == nullptr || misuses->size() >= kMostMisuses) return;
  try {
    misuses->emplace_back(what);
  } catch (...) {
    return;  // without memory there is nothing to note it in
  }
}

void Unsupported() noexcept {
  NoteMisuse("a procedure was called that this host does not support");
}

std::string Plural(std::uint64_t count, std::string_view noun) {
  std::string text = std::to_string(count) + " " + std::string(noun);
  if (count != 1) text += 's';
  return text;
}

std::string Quoted(std::string_view text) {
  constexpr std::size_t kLongest = 60;
  std::string quoted = "\"";
  for (const char c : text.substr(0, kLongest)) {
    quoted += static_cast<unsigned char>(c) < ' ' ? '.' : c;
  }
  return quoted + (text.size() > kLongest ? "...\"" : "\"");
}

// ---- The part of Host that lets calls fail ----

void Host::FailAt(Service service, std::uint64_t n, bool andAllLater) {
  if (!FactsOf(service).fallible) {
    throw HostError(std::string(ServiceName(service)) + " cannot be made to fail");
  }
  if (n == 0) throw HostError("the calls to fail are counted from 1");
  CallCounter& counter = CounterOf(service);
  counter.failFrom = counter.calls + n;
  counter.andAllLater = andAllLater;
}

void Host::StopFailing(Service service) noexcept {
  CounterOf(service).failFrom = CallCounter::kNever;
}

void Host::StopFailing() noexcept {
  for (CallCounter& counter : callCounters) counter.failFrom = CallCounter::kNever;
}

std::uint64_t Host::FaultsInjected() const noexcept { return faultsInjected; }

std::uint64_t Host::Calls(Service service) const noexcept { return CounterOf(service).calls; }

std::uint64_t Host::TotalCalls() const noexcept {
  std::uint64_t total = 0;
  for (const CallCounter& counter : callCounters) total += counter.calls;
  return total - Calls(Service::kShortRead);  // those were reads
}

void Host::ResetCalls() noexcept {
  for (CallCounter& counter : callCounters) {
    if (counter.failFrom != CallCounter::kNever) counter.failFrom -= counter.calls;
    counter.calls = 0;
  }
}

}  // namespace zelhost
