// All rows: every procedure of the public lists, and the callbacks.
#pragma once

#include <span>

#include "callbacks.h"
#include "row.h"

namespace zelcheck {

// The rows of one interface or family.
struct RowGroup {
  const char* name;  // under which the binder keeps it; null for a family of methods of instances
  std::span<const Row> rows;
  bool isOfLibrary;
};

std::span<const RowGroup> RowGroups();

// The row of a triple; null for one that is not in the public lists.
const Row* FindRow(const char* interfaceName, const char* method, const char* procType);
// The row of a method that an instance gives: of a stream family, or of an interface of the
// library.
const Row* FindMethodRow(const char* method, const char* procType);

// The procedure that the library or the host has behind a thunk of the layer, whatever it stands in
// for; the address itself when it is no thunk.
ZELProc WithoutThunk(const Row& row, ZELProc procedure);

// Thunks for callbacks, the same for each procedure wherever it is given.
extern const Row kClientStreamRows[8];
extern const Row kCallbackRows[4];
enum CallbackRow : std::size_t { kDestroyRow, kMessageRow, kCheckRow, kReleaseRow };

template <typename Proc>
Proc WrapCallback(const Row& row, Proc procedure) {
  if (procedure == nullptr) return nullptr;
  return reinterpret_cast<Proc>(
      row.wrap(row, Side::kCallback, reinterpret_cast<ZELProc>(procedure)));
}

}  // namespace zelcheck
