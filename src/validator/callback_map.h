// The checks that clients attach to type names of a schema.
#pragma once

#include <cstring>
#include <map>

#include "frame/client_base.h"
#include "frame/string_atom.h"
#include "zelutils/validator.h"

namespace NPOSValidatorImpl {

struct Callback {
  POSStructValidatorCallbackProc procedure;
  void* clientData;
};

// Ordered by the bytes of the names, one entry per name; nodes come from the memory interface.
class CallbackMap {
 public:
  // The entry takes the place of an earlier one; when it cannot be made, that one stays.
  void Put(const ZEL_T_NMT::CZELStringAtom& name, const Callback& callback) {
    Entries entry;
    entry.emplace(name, callback);
    entries_.erase(name);
    entries_.merge(entry);
  }
  // Null when there is none.
  const Callback* Find(const char* name) const {
    const auto entry = entries_.find(name);
    return entry == entries_.end() ? nullptr : &entry->second;
  }

 private:
  struct ByText {
    using is_transparent = void;
    static const char* Text(const char* text) noexcept { return text; }
    static const char* Text(const ZEL_T_NMT::CZELStringAtom& atom) noexcept { return atom.Text(); }
    bool operator()(const auto& left, const auto& right) const noexcept {
      return std::strcmp(Text(left), Text(right)) < 0;
    }
  };
  using Entries =
      std::map<ZEL_T_NMT::CZELStringAtom, Callback, ByText,
               ZEL_T_NMT::BinderAllocator<std::pair<const ZEL_T_NMT::CZELStringAtom, Callback>>>;

  Entries entries_;
};

}  // namespace NPOSValidatorImpl
