#include "validator/validation.h"

namespace NPOSValidatorImpl {

std::int32_t RequiredMembers::Fetch(const DictRules& rules, ZELInstance dict, ErrorList& errors) {
  std::int32_t findings = 0;
  for (const MemberRule& rule : rules.Required()) {
    const ZELInstance value = FindMember(dict, rule.key);
    validation_.required.push_back(value);
    if (value != nullptr) continue;
    errors.Append(FormatIntoPOSString("Missing required member %s", {rule.key.Text()}));
    AddFindings(findings, 1);
  }
  return findings;
}

}  // namespace NPOSValidatorImpl
