#include "observe.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <vector>

#include "findings.h"
#include "lasting.h"
#include "layer.h"
#include "trace.h"
#include "watch.h"
#include "words.h"

namespace zelcheck {
namespace {

// Of all calls of one procedure on one side.
struct Count {
  std::uint64_t calls = 0;
  std::uint64_t failures = 0;  // an error object, or a failure that was reported
  std::uint64_t time = 0;      // in nanoseconds
  std::uint64_t ownTime = 0;   // without that of the calls made in it
};
using Counts = std::map<std::pair<Side, const Row*>, Count>;
constinit Lasting<Counts> AllCounts;

constinit std::uint64_t g_random = 0;
constinit std::uint64_t g_faults = 0;

std::uint64_t Now() {
  using Clock = std::chrono::steady_clock;
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch())
          .count());
}

// A generator that is the same everywhere: the seed repeats the run.
double NextRandom() {
  g_random += 0x9e3779b97f4a7c15ULL;
  std::uint64_t mixed = g_random;
  mixed = (mixed ^ mixed >> 30) * 0xbf58476d1ce4e5b9ULL;
  mixed = (mixed ^ mixed >> 27) * 0x94d049bb133111ebULL;
  return static_cast<double>((mixed ^ mixed >> 31) >> 11) / 9007199254740992.0;
}

std::string Line(const char* side, const std::string& name, const Count& count) {
  std::array<char, 160> buffer{};
  std::snprintf(buffer.data(), buffer.size(), "  %-14s %-62s %9llu %8llu %11.1f %11.1f\n", side,
                name.c_str(), static_cast<unsigned long long>(count.calls),
                static_cast<unsigned long long>(count.failures),
                static_cast<double>(count.time) / 1000, static_cast<double>(count.ownTime) / 1000);
  return buffer.data();
}

std::string LiveThings() {
  const Ledger& ledger = TheLayer().ledger;
  std::map<std::string, std::int64_t> live;
  ledger.instances.ForEach(
      [&](ZELInstance, const Instance& known) { live[known.kind] += known.isLive ? 1 : 0; });
  const auto count = [](const auto& things) {
    std::int64_t number = 0;
    things.ForEach([&](auto, const auto& thing) { number += thing.isLive ? 1 : 0; });
    return number;
  };
  live["atoms"] = count(ledger.atoms);
  live["errors"] = count(ledger.errors);
  live["shared buffers"] = count(ledger.buffers);
  live["blocks"] = count(ledger.blocks);
  std::string text = "  live at the end:";
  const char* separator = " ";
  for (const auto& [noun, number] : live) {
    if (number == 0) continue;
    text += separator + std::to_string(number) + " " + noun;
    separator = ", ";
  }
  return text + (*separator == ' ' ? " nothing\n" : "\n");
}

void PrintCounts() {
  constexpr const char* kSides[] = {"client>library", "library>host", "client>host", "callback"};
  std::string text =
      "zelutils-check: calls, failures, microseconds in all and without the calls made in them\n";
  for (const auto& [key, count] : AllCounts()) {
    text += Line(kSides[static_cast<int>(key.first)], NameOf(*key.second), count);
  }
  Print(text + LiveThings());
}

}  // namespace

void BeginObserving() {
  const Settings& settings = TheLayer().settings;
  AllCounts().clear();
  g_random = settings.seed;
  g_faults = 0;
  if (settings.trace) OpenTrace();
  if (settings.inject) {
    Print("zelutils-check: core services fail at random: seed=" + std::to_string(settings.seed) +
          ",fail=" + RealInWords(settings.failRate) + "\n");
  }
}

void EndObserving() {
  const Settings& settings = TheLayer().settings;
  if (settings.trace) CloseTrace();
  if (settings.stats) PrintCounts();
  if (settings.inject) {
    Print("zelutils-check: " + Plural(static_cast<std::int64_t>(g_faults), "call") +
          " failed at random\n");
  }
}

void ObserveBegin(Call& call) {
  const Settings& settings = TheLayer().settings;
  if (settings.trace) TraceBegin(call);
  if (settings.trace || settings.stats) call.startTime = Now();
}

void ObserveEnd(const Call& call) {
  const Settings& settings = TheLayer().settings;
  if (!settings.trace && !settings.stats) return;
  const std::uint64_t duration = Now() - call.startTime;
  if (call.outer != nullptr) call.outer->innerTime += duration;
  if (settings.trace) TraceEnd(call, duration);
  if (!settings.stats) return;
  Count& count = AllCounts()[{call.side, &call.row}];
  ++count.calls;
  const bool isError = call.result.type == Argument::Type::kError && call.result.bits != 0 &&
                       call.row.after != &watch::ErrorMade &&
                       call.row.after != &watch::ErrorReferenced;
  count.failures += isError || call.failed ? 1 : 0;
  count.time += duration;
  count.ownTime += duration - std::min(duration, call.innerTime);
}

bool ShallFail(const Call& call) {
  const Layer& layer = TheLayer();
  if (!layer.settings.inject || layer.phase != Phase::kRunning) return false;
  if (call.side == Side::kLibraryToHost ? call.outer == nullptr
                                        : call.side != Side::kClientToHost) {
    return false;
  }
  const auto after = call.row.after;
  const bool canFail = after == &watch::BlockMade || after == &watch::BlockMoved ||
                       after == &watch::AtomMade || after == &watch::BufferMade ||
                       after == &watch::InstanceMade || after == &watch::InstanceReferenced ||
                       after == &watch::MethodFound || after == &watch::ObjectFound ||
                       after == &watch::StreamMade || after == &watch::StreamRead ||
                       after == &watch::StreamMarked || after == &watch::StreamSought ||
                       std::strcmp(call.row.method, "Write") == 0;
  if (!canFail || layer.errors.NewError == nullptr) return false;
  if (NextRandom() >= layer.settings.failRate) return false;
  ++g_faults;
  return true;
}

}  // namespace zelcheck
