#include "findings.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <thread>
#include <tuple>
#include <utility>

#include "lasting.h"
#include "layer.h"
#include "observe.h"
#include "words.h"

namespace zelcheck {
namespace {

constexpr RuleText kRules[] = {
#define ZEL_CHECK_OF_CLIENT(name, id, advice) {id, advice, false},
#define ZEL_CHECK_OF_HOST(name, id, advice) {id, advice, true},
    ZEL_CHECK_CLIENT_RULES(ZEL_CHECK_OF_CLIENT) ZEL_CHECK_HOST_RULES(ZEL_CHECK_OF_HOST)
#undef ZEL_CHECK_OF_CLIENT
#undef ZEL_CHECK_OF_HOST
};

using Place = std::tuple<Rule, const Row*, const void*>;

constinit Lasting<std::set<Place>> Told;
// Flags, since another exchange of one byte needs a library of its own on some processors.
constinit std::atomic_flag g_isShort;  // memory has run out

// The ways out, which any thread may need: a copy of the settings, under a lock of its own.
struct Outlet {
  std::string path;
  ZELUtilsCheckFindingProc procedure = nullptr;
  bool abort = false;
  bool tellsOfDisturbance = true;
};
constinit Lasting<Outlet> g_outlet;
constinit std::atomic_flag g_isOutletTaken;

// A mutex would be made when the layer is loaded, and end before the layer does.
class OutletLock {
 public:
  OutletLock() noexcept {
    while (g_isOutletTaken.test_and_set(std::memory_order_acquire)) std::this_thread::yield();
  }
  ~OutletLock() { g_isOutletTaken.clear(std::memory_order_release); }
  OutletLock(const OutletLock&) = delete;
  OutletLock& operator=(const OutletLock&) = delete;
};

Outlet CurrentOutlet() {
  const OutletLock lock;
  return g_outlet();
}

constinit thread_local bool t_isTelling = false;

// Calls that the host makes while it is told of a finding are not looked at.
class Telling {
 public:
  Telling() noexcept : isWithinCall_(TheLayer().running.load() == ThisThread()) {
    if (isWithinCall_) TheLayer().running.store(kTelling);
    ++TheLayer().unsettled;
    t_isTelling = true;
  }
  ~Telling() {
    t_isTelling = false;
    --TheLayer().unsettled;
    if (isWithinCall_) TheLayer().running.store(ThisThread());
  }
  Telling(const Telling&) = delete;
  Telling& operator=(const Telling&) = delete;

 private:
  const bool isWithinCall_;
};

std::string Capitalized(std::string text) {
  if (!text.empty() && text[0] >= 'a' && text[0] <= 'z') text[0] = static_cast<char>(text[0] - 32);
  return text;
}

void PrintTo(const std::string& path, const std::string& text) {
  std::FILE* const file = path.empty() ? nullptr : std::fopen(path.c_str(), "ab");
  std::FILE* const out = file == nullptr ? stderr : file;  // a file that cannot be written
  std::fwrite(text.data(), 1, text.size(), out);
  std::fflush(out);
  if (file != nullptr) std::fclose(file);
}

void Publish(Rule rule, const std::string& body, const std::string& who, const std::string& stack) {
  const RuleText& text = TextOf(rule);
  std::string paragraph = "zelutils-check: " + std::string(text.id) + "\n  " + body + "\n";
  if (!who.empty()) paragraph += "  " + Capitalized(who) + ".\n";
  paragraph += "  What to do: " + std::string(text.advice) + "\n";
  if (!stack.empty()) paragraph += "  Call stack:\n" + stack;
  const Outlet outlet = CurrentOutlet();
  PrintTo(outlet.path, paragraph);
  if (outlet.procedure != nullptr) {
    const Telling telling;
    outlet.procedure(text.id.data(), paragraph.c_str());
  }
  if (outlet.abort) {
    if (!WasDisturbed()) FlushTrace();
    std::abort();
  }
}

bool IsNew(Rule rule, const Row* row, const void* caller) {
  if (WasDisturbed()) return false;
  return IsAskedFor(rule) && Told().emplace(rule, row, caller).second;
}

}  // namespace

const RuleText& TextOf(Rule rule) { return kRules[static_cast<std::size_t>(rule)]; }

bool IsAskedFor(Rule rule) { return TheLayer().settings.Asks(TextOf(rule).id); }

void Tell(Rule rule, const Call& call, const std::string& what, const std::string& who) {
  const Origin here = call.Here();
  if (!IsNew(rule, &call.row, here.outerRow == nullptr ? here.caller : here.outerCaller)) return;
  std::string body = "In " + InWords(call) + ", call " + std::to_string(call.number);
  if (here.outerRow != nullptr) body += ", made in " + NameOf(*here.outerRow);
  body += ", from " + PlaceOf(here.outerRow == nullptr ? here.caller : here.outerCaller) + ": ";
  Publish(rule, body + what, who, CallStack());
}

void TellOf(Rule rule, const Origin& origin, const std::string& what, const std::string& who) {
  if (!IsNew(rule, origin.row, origin.outerRow == nullptr ? origin.caller : origin.outerCaller)) {
    return;
  }
  Publish(rule, Capitalized(what), who, "");
}

void TellDisturbance(const std::string& what) {
  const bool isTold = (TheLayer().unsettled.fetch_or(kDisturbed) & kDisturbed) != 0;
  if (isTold || !CurrentOutlet().tellsOfDisturbance) return;
  Publish(Rule::kConcurrentCall, what, "", CallStack());
}

void TellOfLostSight() noexcept {
  if (g_isShort.test_and_set()) return;
  std::fputs(
      "zelutils-check: the layer has no memory left; it goes on, and may miss things or take them "
      "for others\n",
      stderr);
}

void BeginTelling(const Settings& settings, ZELUtilsCheckFindingProc procedure) {
  Told().clear();
  g_isShort.clear();
  Outlet outlet = {settings.out, procedure, settings.abort,
                   settings.Asks(TextOf(Rule::kConcurrentCall).id)};
  const OutletLock lock;
  g_outlet() = std::move(outlet);
}

bool IsTelling() noexcept { return t_isTelling; }

void Print(const std::string& text) { PrintTo(CurrentOutlet().path, text); }

}  // namespace zelcheck
