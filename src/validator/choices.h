// The texts that a definition allows.
#pragma once

#include <map>
#include <vector>

#include "validator/held_text.h"
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
  using ByText = std::map<const char*, HeldText, TextOrder,
                          ZEL_T_NMT::BinderAllocator<std::pair<const char* const, HeldText>>>;

  ZEL_T_NMT::CPOSArray array_;
  std::uint32_t count_;
  std::uint32_t read_ = 0;
  // The first few are compared one by one, the others found by their order.
  std::vector<HeldText, ZEL_T_NMT::BinderAllocator<HeldText>> first_;
  ByText others_;
};

}  // namespace NPOSValidatorImpl
