// The checks that clients attach to type names of a schema.
#pragma once

#include <map>

#include "frame/core/client_base.h"
#include "frame/core/string_atom.h"
#include "validator/text_order.h"
#include "zelutils/validator.h"

namespace NPOSValidatorImpl {

struct Callback {
  POSStructValidatorCallbackProc procedure;
  void* clientData;
};

// One entry per name; nodes come from the memory interface.
class CallbackMap {
 public:
  // The entry takes the place of an earlier one; when it cannot be made, that one stays.
  void Put(const ZEL_T_NMT::CZELStringAtom& name, const Callback& callback) {
    Entries entry;
    entry.emplace(name, callback);
    entries_.erase(name);
    entries_.merge(entry);
  }
  bool IsEmpty() const noexcept { return entries_.empty(); }
  // Null when there is none.
  const Callback* Find(const char* name) const {
    const auto entry = entries_.find(name);
    return entry == entries_.end() ? nullptr : &entry->second;
  }

 private:
  using Entries =
      std::map<ZEL_T_NMT::CZELStringAtom, Callback, TextOrder,
               ZEL_T_NMT::BinderAllocator<std::pair<const ZEL_T_NMT::CZELStringAtom, Callback>>>;

  Entries entries_;
};

}  // namespace NPOSValidatorImpl
