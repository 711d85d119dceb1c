// The texts that a definition allows.
#pragma once

#include <set>
#include <vector>

#include "validator/attributes.h"
#include "validator/text_order.h"

namespace NPOSValidatorImpl {

// The array under "oneof". Its elements are read in their order when a text is first looked for
// behind those that are known: an element that is not a String raises whenever a search comes to
// it.
class Choices {
 public:
  // An empty array holds nothing.
  explicit Choices(ZEL_T_NMT::CPOSArray array);

  bool Have(const char* text);

 private:
  struct Order : TextOrder {
    using TextOrder::Text;
    static const char* Text(const HeldText& choice) noexcept { return choice.text; }
    bool operator()(const auto& left, const auto& right) const noexcept {
      return std::strcmp(Text(left), Text(right)) < 0;
    }
  };

  ZEL_T_NMT::CPOSArray array_;
  std::uint32_t count_;
  std::uint32_t read_ = 0;
  // The first few are compared one by one, the others found by their order.
  std::vector<HeldText, ZEL_T_NMT::BinderAllocator<HeldText>> first_;
  std::set<HeldText, Order, ZEL_T_NMT::BinderAllocator<HeldText>> others_;
};

}  // namespace NPOSValidatorImpl
