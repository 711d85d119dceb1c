#include "validator/verdicts.h"

namespace NPOSValidatorImpl {

const Verdict* Verdicts::Find(ZELInstance value, const Definition& definition) const {
  const auto found = verdicts_.find(Check(value, &definition));
  return found == verdicts_.end() ? nullptr : &found->second.verdict;
}

void Verdicts::Note(ZELInstance value, const Definition& definition,
                    const Verdict& verdict) noexcept {
  try {
    verdicts_.try_emplace(Check(value, &definition), ZEL_T_NMT::ContainerReference(value), verdict);
  } catch (...) {  // NOLINT(bugprone-empty-catch)
  }
}

}  // namespace NPOSValidatorImpl
