#include "binder.h"

#include <array>
#include <cstring>
#include <utility>
#include <vector>

#include "adapt.h"
#include "findings.h"
#include "lasting.h"
#include "layer.h"
#include "real_library.h"
#include "words.h"

namespace zelcheck {
namespace {

// The library gets the host's procedures behind thunks. Those that the library itself has
// registered come back as they were registered: it tells its own procedures by their addresses.
ZELProc Answer(ZELLookupProc lookup, const char* interfaceName, const char* method,
               const char* procType) {
  const ZELProc found = lookup(interfaceName, method, procType);
  Layer& layer = TheLayer();
  const Row* const row = FindRow(interfaceName, method, procType);
  if (row == nullptr) return found;
  // In a call that is not looked at, beside one that is.
  if (layer.running.load(std::memory_order_relaxed) != ThisThread() && !IsTelling()) {
    return WithoutThunk(*row, found);
  }
  if (found == nullptr) {
    Origin origin;
    origin.row = row;
    TellOf(Rule::kHostProcedureMissing, origin,
           std::string("the library looks up (\"") + interfaceName + "\", \"" + method + "\", \"" +
               procType + "\"), and the host has none.");
    return nullptr;
  }
  if (row->unwrap(Side::kClientToLibrary, found) != nullptr) {
    return row->unwrap(Side::kClientToLibrary, found);
  }
  const ZELProc behind = WithoutThunk(*row, found);
  if (std::strcmp(interfaceName, ZEL_ERROR_INTERFACE) == 0) {
    if (std::strcmp(method, "NewError") == 0) {
      layer.errors.NewError = reinterpret_cast<ZELNewErrorProc>(behind);
    }
  }
  return row->wrap(*row, Side::kLibraryToHost, behind);
}

// One lookup procedure for each host that the process has had.
constexpr std::size_t kHosts = 16;
constinit std::array<ZELLookupProc, kHosts> g_lookups{};

template <std::size_t host>
ZELProc LookupOf(const char* interfaceName, const char* method, const char* procType) {
  try {
    return Answer(g_lookups[host], interfaceName, method, procType);
  } catch (...) {  // in the telling that the host has no such procedure
    TellOfLostSight();
    return nullptr;
  }
}

template <std::size_t... host>
constexpr std::array<ZELLookupProc, kHosts> MakeLookups(std::index_sequence<host...>) {
  return {&LookupOf<host>...};
}
constexpr auto kLookups = MakeLookups(std::make_index_sequence<kHosts>());

// Procedures that were put over the host's.
struct Covered {
  const Row* row;
  const char* interfaceName;
  ZELProc procedure;
};
constinit Lasting<std::vector<Covered>> AllCovered;
constinit ZELRegisterProcAddress g_register = nullptr;

}  // namespace

ZELLookupProc LookupBefore(ZELLookupProc lookup) {
  if (lookup == nullptr) return nullptr;
  for (std::size_t i = 0; i < kHosts; ++i) {
    if (g_lookups[i] == nullptr) g_lookups[i] = lookup;
    if (g_lookups[i] == lookup) return kLookups[i];
  }
  return nullptr;
}

void WatchClients(ZELLookupProc lookup) {
  g_register = reinterpret_cast<ZELRegisterProcAddress>(
      lookup(ZEL_BINDER_INTERFACE, "ZELRegisterProcAddress", "ZELRegisterProcAddress"));
  if (g_register == nullptr) return;
  TheLayer().watchesClients = true;
  // Clients may keep the addresses for as long as the host offers these procedures.
  StayLoaded();
  for (const RowGroup& group : RowGroups()) {
    if (group.name == nullptr || group.isOfLibrary ||
        std::strcmp(group.name, ZEL_BINDER_INTERFACE) == 0) {
      continue;
    }
    AllCovered().reserve(AllCovered().size() + group.rows.size());
    for (const Row& row : group.rows) {
      const ZELProc found = lookup(group.name, row.method, row.procType);
      if (found == nullptr) continue;
      const ZELProc procedure = WithoutThunk(row, found);
      const ZELProc thunk = row.wrap(row, Side::kClientToHost, procedure);
      if (thunk == procedure) continue;  // a procedure that nobody calls
      if (g_register(group.name, row.method, row.procType, thunk) != 0) {
        AllCovered().push_back({&row, group.name, procedure});
      }
    }
  }
}

void StopWatchingClients() {
  for (const Covered& covered : std::exchange(AllCovered(), {})) {
    g_register(covered.interfaceName, covered.row->method, covered.row->procType,
               covered.procedure);
  }
  TheLayer().watchesClients = false;
}

ZELProc ForClients(const char* interfaceName, const char* method, const char* procType,
                   ZELProc procedure) {
  const Row* const row = FindRow(interfaceName, method, procType);
  return row == nullptr || procedure == nullptr
             ? procedure
             : row->wrap(*row, Side::kClientToLibrary, procedure);
}

namespace {

const char* TextOfAtom(ZELStringAtom atom) {
  const Atom* const known = TheLayer().ledger.atoms.Find(atom);
  return known == nullptr || known->isShortened ? nullptr : known->text.c_str();
}

}  // namespace

ZELProc MethodFor(Side side, ZELStringAtom method, ZELStringAtom procType, ZELProc procedure) {
  const char* const methodText = TextOfAtom(method);
  const char* const procTypeText = TextOfAtom(procType);
  if (methodText == nullptr || procTypeText == nullptr) return procedure;
  const Row* const row = FindMethodRow(methodText, procTypeText);
  if (row == nullptr) return procedure;
  const ZELProc own = row->unwrap(Side::kClientToLibrary, procedure);
  if (side == Side::kLibraryToHost && own != nullptr) return own;
  if (own != nullptr) return procedure;
  return row->wrap(*row, side, WithoutThunk(*row, procedure));
}

}  // namespace zelcheck
