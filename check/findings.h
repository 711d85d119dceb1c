// Findings: breaches of the contract, each told once, in a paragraph for people.
#pragma once

#include <string>

#include "call.h"
#include "rules.h"
#include "zelutils/check.h"

namespace zelcheck {

// Tells of a breach in a call. `what` is a sentence; `who` says who holds what, and may be empty.
// The same rule at the same place of a program is told once.
void Tell(Rule rule, const Call& call, const std::string& what, const std::string& who = "");
// Tells of a breach that is noticed after the call that made it, as a leak is.
void TellOf(Rule rule, const Origin& origin, const std::string& what, const std::string& who = "");
// Tells without a look at what was told before, which another thread may be changing.
void TellAtOnce(Rule rule, const std::string& what);
// Tells that memory ran out in the layer, which then goes on and knows less.
void TellOfLostSight() noexcept;
// Whether a finding of the rule would be told at all.
bool IsAskedFor(Rule rule);

// The place of findings, traces and tables: standard error, or the file of out=FILE.
void Print(const std::string& text);
// Of a new start: what was told is told again.
void ForgetFindings();
std::size_t FindingCount();

// An additional receiver of findings, with the word "callback"; null: none.
void SetFindingProc(ZELUtilsCheckFindingProc procedure);

}  // namespace zelcheck
