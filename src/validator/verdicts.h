// Checks of values that need not be made again in the same run.
#pragma once

#include <functional>
#include <map>
#include <utility>

#include "frame/core/client_base.h"
#include "frame/core/container_reference.h"

namespace NPOSValidatorImpl {

class Definition;

// The result of a check that left no message: it would come to the same again.
struct Verdict {
  std::int32_t findings;
  std::uint32_t height;  // levels of nesting that the check went down
};

class Verdicts {
 public:
  bool AreEmpty() const noexcept { return verdicts_.empty(); }
  // Null when there is none.
  const Verdict* Find(ZELInstance value, const Definition& definition) const;
  // Saves time and no more: when there is no memory for it, or no reference to the value, the check
  // is made again.
  void Note(ZELInstance value, const Definition& definition, const Verdict& verdict) noexcept;
  void Clear() noexcept { verdicts_.clear(); }

 private:
  using Check = std::pair<ZELInstance, const Definition*>;
  // The value is held, so that no other one can have its handle.
  struct Entry {
    Entry(ZEL_T_NMT::ContainerReference held, const Verdict& found) noexcept
        : value(std::move(held)), verdict(found) {}
    ZEL_T_NMT::ContainerReference value;
    Verdict verdict;
  };
  using Entries = std::map<Check, Entry, std::less<>,
                           ZEL_T_NMT::BinderAllocator<std::pair<const Check, Entry>>>;

  Entries verdicts_;
};

}  // namespace NPOSValidatorImpl
