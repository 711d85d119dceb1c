#include "findings.h"

#include <cstdio>
#include <cstdlib>
#include <set>
#include <tuple>

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
constinit ZELUtilsCheckFindingProc g_procedure = nullptr;
constinit bool g_isShort = false;  // memory has run out

std::string Capitalized(std::string text) {
  if (!text.empty() && text[0] >= 'a' && text[0] <= 'z') text[0] = static_cast<char>(text[0] - 32);
  return text;
}

void Publish(Rule rule, const std::string& body, const std::string& who, const std::string& stack) {
  const RuleText& text = TextOf(rule);
  std::string paragraph = "zelutils-check: " + std::string(text.id) + "\n  " + body + "\n";
  if (!who.empty()) paragraph += "  " + Capitalized(who) + ".\n";
  paragraph += "  What to do: " + std::string(text.advice) + "\n";
  if (!stack.empty()) paragraph += "  Call stack:\n" + stack;
  Print(paragraph);
  if (g_procedure != nullptr) {
    TheLayer().telling.store(std::this_thread::get_id());
    g_procedure(text.id.data(), paragraph.c_str());
    TheLayer().telling.store(std::thread::id());
  }
  if (TheLayer().settings.abort) {
    FlushTrace();
    std::abort();
  }
}

bool IsNew(Rule rule, const Row* row, const void* caller) {
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

void TellAtOnce(Rule rule, const std::string& what) { Publish(rule, what, "", CallStack()); }

void TellOfLostSight() noexcept {
  if (g_isShort) return;
  g_isShort = true;
  std::fputs(
      "zelutils-check: the layer has no memory left; it goes on, and may miss things or take them "
      "for others\n",
      stderr);
}

void ForgetFindings() {
  Told().clear();
  g_isShort = false;
}

std::size_t FindingCount() { return Told().size(); }

void SetFindingProc(ZELUtilsCheckFindingProc procedure) { g_procedure = procedure; }

void Print(const std::string& text) {
  const std::string& path = TheLayer().settings.out;
  std::FILE* const file = path.empty() ? nullptr : std::fopen(path.c_str(), "ab");
  std::FILE* const out = file == nullptr ? stderr : file;  // a file that cannot be written
  std::fwrite(text.data(), 1, text.size(), out);
  std::fflush(out);
  if (file != nullptr) std::fclose(file);
}

}  // namespace zelcheck
