// The categories of type definitions.
#pragma once

#include "frame/client/pos_views.h"
#include "validator/keywords.h"

namespace NPOSValidatorImpl {

class Definition;
class Run;

struct Category {
  Keyword word;
  // Appends one message per finding and returns their number.
  std::int32_t (*check)(Run& run, Definition& definition, ZEL_T_NMT::POSView value);
  // Whether the check goes on into parts of the value or to other types.
  bool leadsOn;
};

// Null for a word that is no category.
const Category* FindCategory(const char* text) noexcept;

}  // namespace NPOSValidatorImpl
