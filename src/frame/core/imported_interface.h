// An interface imported by name: a table that imports itself on its first use, and on the next use
// after the binder has withdrawn any interface.
#pragma once

#include "frame/core/raise.h"
#include "frame/link/binder_link.h"

namespace ZEL_T_NMT {

// The procedure under a triple. Without one, an error with an empty message is raised in
// strict mode, and null returned otherwise.
ZELProc FindProcedure(const char* interfaceName, const char* method, const char* procType);

template <typename Interface>
class ImportedInterface {
 public:
  constexpr ImportedInterface() noexcept = default;
  // With slots for as long as nothing has been imported.
  explicit constexpr ImportedInterface(const Interface& slots) noexcept : table_(slots) {}

  // Returns the table, or null when it cannot be imported.
  const Table<Interface>* Get() {
    if (g_link.unregisterCount == nullptr) [[unlikely]]
      return nullptr;
    return table_.Refresh(g_link.Generation(), &FindProcedure) == nullptr ? &table_ : nullptr;
  }

  // The table as it was imported last, also after the link: for calls that need no import, or must
  // not make one, as those that give something back.
  const Table<Interface>& Kept() const noexcept { return table_; }
  Table<Interface>& Kept() noexcept { return table_; }

 private:
  Table<Interface> table_;
};

}  // namespace ZEL_T_NMT
