// The link to the host's interface binder and the procedure tables that cross it.
//
// A client imports an interface as a slot array: one procedure address per method, in the order of
// the method list in the public header. A server registers its procedures from an export table in
// the same order. After the link, in strict mode, a procedure that the binder does not have is an
// error.
#pragma once

#include <cstdint>

#include "zelutils/binder.h"

namespace ZEL_T_NMT {

struct ImportEntry {
  const char* method;
  const char* procType;
};

struct ExportEntry {
  const char* method;
  const char* procType;
  ZELProc procedure;
};

// One per process; all zero while the library is loaded but not linked.
struct LinkState {
  ZELLookupProc lookup = nullptr;
  ::ZELRegisterProcAddress registerProcAddress = nullptr;
  ::ZELReportError reportError = nullptr;
  ::ZELUnregisterInterface unregisterInterface = nullptr;
  ::ZELGetUnregisterCountAddr getUnregisterCountAddr = nullptr;
  ::ZELIsMultiThreaded isMultiThreaded = nullptr;  // must be there, is never called
  const std::uint32_t* unregisterCount = nullptr;
  bool strict = false;
  // Whether the error interface may be called: errors raised earlier in a link carry no error
  // object. Stays set after the unlink and through a link that fails, so that a stream that the
  // host still calls fails with an error.
  bool errorsBound = false;
  // Changes when the library links to another binder than before, whose counter may happen to read
  // the same: tables imported from the old one are not current then. 0 is "never imported".
  std::uint32_t binderEpoch = 0;
  // Changes with every unlink, which destroys the per-instance method tables: who kept a pointer to
  // one compares, and looks it up again.
  std::uint32_t tableEpoch = 0;
  // How many errors the procedure guard has reported. A client of a procedure without a result
  // compares it to learn that the call failed.
  std::uint32_t reports = 0;
};

extern constinit LinkState g_link;

// True on success. On failure the link stays as far as it got; ZELUnlink ends it. Raises "Missing
// Interface" where the container or memory interface is incomplete.
bool ZELLink(ZELLookupProc lookup);

// Gives back what the link holds and forgets the binder. Does nothing when not linked.
void ZELUnlink();

// The library is being unloaded while the binder may be gone: nothing calls the host from here on.
void ZELProcessDetach() noexcept;

// Returns the procedure under the triple; when there is none, raises an error with an empty message
// in strict mode and returns null otherwise.
ZELProc ZELImportProc(const char* interfaceName, const char* method, const char* procType);

// Looks the entries up from the last to the first and fills `slots` when all are there; false at
// the first that is missing. The procedures imported before then stay: what they made can be given
// back.
bool ZELImportProcTable(const ImportEntry* table, std::uint32_t count, const char* interfaceName,
                        ZELProc* slots);

// Registers from the first entry to the last; false at the first that the binder refuses.
bool ZELRegisterProcTable(const ExportEntry* table, std::uint32_t count, const char* interfaceName);

// Forwards to the binder; does nothing while the procedure is not known.
std::int32_t ZELReportError(const char* message) noexcept;
void ZELUnregisterInterface(const char* interfaceName) noexcept;

// Makes a table of the same name, type and number of slots from a method list of a public header:
//   slot i holds the address imported for method i, and each method is callable by its name.
#define ZEL_SLOT_INDEX(method, procType) k##method,
#define ZEL_IMPORT_ENTRY(method, procType) {#method, #procType},
#define ZEL_SLOT_CALL(method, procType)                                  \
  template <typename... Arguments>                                       \
  auto method(Arguments... arguments) const {                            \
    return reinterpret_cast<::procType>(slots[k##method])(arguments...); \
  }
#define ZEL_DEFINE_SLOTS(Name, METHODS)                                            \
  struct Name {                                                                    \
    enum Index : std::uint32_t { METHODS(ZEL_SLOT_INDEX) kSlotCount };             \
    static constexpr ImportEntry kImports[] = {METHODS(ZEL_IMPORT_ENTRY){"", ""}}; \
    ZELProc slots[kSlotCount] = {};                                                \
    METHODS(ZEL_SLOT_CALL)                                                         \
  }

// What an imported interface remembers of its last import.
struct ImportMark {
  std::uint32_t generation = 0;
  std::uint32_t binderEpoch = 0;

  bool IsCurrent() const noexcept {
    return binderEpoch == g_link.binderEpoch && g_link.unregisterCount != nullptr &&
           generation == *g_link.unregisterCount;
  }
};

// Imports a table again; false, with the mark unchanged, when a procedure is missing.
bool ZELRefreshTable(ImportMark& mark, const ImportEntry* table, std::uint32_t count,
                     const char* interfaceName, ZELProc* slots);

// An interface imported by name: a table that imports itself on its first use and on the next use
// after the binder has withdrawn any interface.
template <typename Slots>
struct ImportedInterface {
  const char* name;
  Slots table{};
  ImportMark mark{};

  // Returns the table, or null when it cannot be imported.
  const Slots* Get() {
    if (mark.IsCurrent()) return &table;
    return ZELRefreshTable(mark, Slots::kImports, Slots::kSlotCount, name, table.slots) ? &table
                                                                                        : nullptr;
  }

  // As Get; a failure also clears slot 0.
  const Slots* GetOrClear() {
    const Slots* current = Get();
    if (current == nullptr) table.slots[0] = nullptr;
    return current;
  }
};

}  // namespace ZEL_T_NMT
