// Findings: breaches of the contract, each told once, in a paragraph for people.
#pragma once

#include <string>

#include "call.h"
#include "rules.h"
#include "settings.h"
#include "zelutils/check.h"

namespace zelcheck {

// Tells of a breach in a call. `what` is a sentence; `who` says who holds what, and may be empty.
// The same rule at the same place of a program is told once.
void Tell(Rule rule, const Call& call, const std::string& what, const std::string& who = "");
// The same with words that are made up only then, in a function apart: calls that are as they
// should be do not pay for them. `words` gives a Said; it captures by value.
struct Said {
  std::string what;
  std::string who = {};
};
template <typename Words>
[[gnu::noinline, gnu::cold]] void TellBy(Rule rule, const Call& call, Words words) {
  const Said said = words();
  Tell(rule, call, said.what, said.who);
}
// Tells of a breach that is noticed after the call that made it, as a leak is.
void TellOf(Rule rule, const Origin& origin, const std::string& what, const std::string& who = "");
// Tells once of a call that came while another one ran on another thread; from then on nothing else
// is told. Looks at nothing that the other may be changing.
void TellDisturbance(const std::string& what);
// Tells that memory ran out in the layer, which then goes on and knows less.
void TellOfLostSight() noexcept;
// Whether a finding of the rule would be told at all.
bool IsAskedFor(Rule rule);

// The place of findings, traces and tables: standard error, or the file of out=FILE.
void Print(const std::string& text);
// Of a new start: what was told is told again, where the settings say, and to `procedure` besides,
// if it is not null.
void BeginTelling(const Settings& settings, ZELUtilsCheckFindingProc procedure);
// Whether this thread is just being told of a finding.
bool IsTelling() noexcept;

}  // namespace zelcheck
