// One run of validation: what it knows, and what it is in the midst of.
#pragma once

#include <functional>
#include <map>
#include <vector>

#include "frame/client/pos_wrappers.h"
#include "frame/core/client_base.h"
#include "validator/definition.h"
#include "validator/messages.h"

namespace NPOSValidatorImpl {

struct Validation {
  using Definitions =
      std::map<ZELInstance, Definition, std::less<>,
               ZEL_T_NMT::BinderAllocator<std::pair<const ZELInstance, Definition>>>;
  using Values = std::vector<ZELInstance, ZEL_T_NMT::BinderAllocator<ZELInstance>>;

  const ZEL_T_NMT::CPOSObject& schema;
  // Whether foreign code may run meanwhile and change the values: their parts are held then.
  bool mayChange;
  std::uint32_t depth = 0;
  // How often foreign code has run. What a name stands for is looked up again after that.
  std::uint32_t changes = 0;
  // By their dictionaries, which they hold.
  Definitions definitions = {};
  // The required members of the dictionaries that are being walked through.
  Values required = {};

  // A reference to a part of a value where one is needed.
  ZEL_T_NMT::ContainerReference Hold(ZELInstance part) const {
    return mayChange ? ZEL_T_NMT::ContainerReference(part) : ZEL_T_NMT::ContainerReference();
  }
};

// Adds to a number of findings, which stops at its largest value.
inline void AddFindings(std::int32_t& total, std::int32_t findings) noexcept {
  total = findings > INT32_MAX - total ? INT32_MAX : total + findings;
}

// The values of a dictionary's required members, for as long as its members are walked through.
class RequiredMembers {
 public:
  explicit RequiredMembers(Validation& validation) noexcept
      : validation_(validation), first_(validation.required.size()), changes_(validation.changes) {}
  RequiredMembers(const RequiredMembers&) = delete;
  RequiredMembers& operator=(const RequiredMembers&) = delete;
  ~RequiredMembers() {
    auto& stack = validation_.required;
    stack.erase(stack.begin() + static_cast<std::ptrdiff_t>(first_), stack.end());
  }

  // Returns the number of findings: one for each member that is missing.
  std::int32_t Fetch(const DictRules& rules, ZELInstance dict, ErrorList& errors);
  // The value for a rule by its place; null when foreign code may have changed it meanwhile.
  ZELInstance At(std::size_t place) const noexcept {
    return validation_.changes == changes_ ? validation_.required[first_ + place] : nullptr;
  }

 private:
  Validation& validation_;
  std::size_t first_;
  std::uint32_t changes_;
};

}  // namespace NPOSValidatorImpl
