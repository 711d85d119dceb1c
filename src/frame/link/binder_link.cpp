#include "frame/link/binder_link.h"

#include <algorithm>
#include <utility>

#include "frame/core/core_interfaces.h"
#include "frame/core/error.h"
#include "frame/link/lazy_terminate.h"
#include "frame/object/process_state.h"

namespace ZEL_T_NMT {
namespace {

// The longest import table.
constexpr std::uint32_t kMaxMethods = 24;

template <typename Proc>
Proc FetchBinderProc(ZELLookupProc lookup, const char* name) {
  return reinterpret_cast<Proc>(lookup(ZEL_BINDER_INTERFACE, name, name));
}

// All five are asked for, even when one is missing. Reports go on to the binder of the link before
// while the new one does not take them.
bool FetchBinderProcs(ZELLookupProc lookup) {
  g_link.registerProcAddress =
      FetchBinderProc<::ZELRegisterProcAddress>(lookup, "ZELRegisterProcAddress");
  const auto reportError = FetchBinderProc<::ZELReportError>(lookup, "ZELReportError");
  if (reportError != nullptr) g_link.reportError = reportError;
  g_link.unregisterInterface =
      FetchBinderProc<::ZELUnregisterInterface>(lookup, "ZELUnregisterInterface");
  g_link.getUnregisterCountAddr =
      FetchBinderProc<::ZELGetUnregisterCountAddr>(lookup, "ZELGetUnregisterCountAddr");
  g_link.isMultiThreaded = FetchBinderProc<::ZELIsMultiThreaded>(lookup, "ZELIsMultiThreaded");
  return g_link.registerProcAddress != nullptr && reportError != nullptr &&
         g_link.unregisterInterface != nullptr && g_link.getUnregisterCountAddr != nullptr &&
         g_link.isMultiThreaded != nullptr;
}

// Which binder the library was linked to last.
struct BinderIdentity {
  ZELLookupProc lookup = nullptr;
  const std::uint32_t* unregisterCount = nullptr;
};
constinit BinderIdentity g_lastBinder;

void BindCounter() {
  g_link.unregisterCount = g_link.getUnregisterCountAddr();
  if (g_lastBinder.lookup != g_link.lookup ||
      g_lastBinder.unregisterCount != g_link.unregisterCount) {
    ++g_link.binderEpoch;
    g_lastBinder = {g_link.lookup, g_link.unregisterCount};
  }
}

// Keeps errors that a link raises before it has bound the error interface from being made by that
// of another binder. When the link does not get so far, objects of the link before are still there,
// and fail with errors of theirs.
class ErrorsOfThisLink {
 public:
  ErrorsOfThisLink() noexcept : boundBefore_(std::exchange(g_link.errorsBound, false)) {}
  ErrorsOfThisLink(const ErrorsOfThisLink&) = delete;
  ErrorsOfThisLink& operator=(const ErrorsOfThisLink&) = delete;
  ~ErrorsOfThisLink() { g_link.errorsBound = g_link.errorsBound || boundBefore_; }

 private:
  bool boundBefore_;
};

bool BindCoreInterfaces() {
  const ErrorsOfThisLink errors;
  if (g_constructionMarker != kConstructed) return false;
  if (g_core.containers.Get() == nullptr) ZELRaise("Missing Interface", "ZEL");
  g_core.primaryInstanceOffset = Containers().GetOffsetToPrimaryInstance();

  if (g_core.errors.Get() == nullptr) return false;
  g_link.errorsBound = true;
  *g_unknownError = CZELError::Core(0);
  *g_outOfMemoryError = CZELError::Core(1);
  if (g_unknownError->Handle() == nullptr) return false;

  if (g_core.strings.Get() == nullptr) return false;
  if (g_core.memory.Get() == nullptr) ZELRaise("Missing Interface", "ZEL");
  return true;
}

bool InitializeElement(LazyTerminate& element) {
  try {
    return element.Initialize();
  } catch (...) {
    return false;
  }
}

bool InitializeLazyElements() {
  LazyTerminate* const first = LazyTerminate::List().First();
  for (LazyTerminate* element = first; element != nullptr; element = element->Next()) {
    if (InitializeElement(*element)) continue;
    for (LazyTerminate* done = first; done != element; done = done->Next()) done->Terminate();
    return false;
  }
  return true;
}

}  // namespace

constinit LinkState g_link;

bool ZELLink(ZELLookupProc lookup) {
  if (g_link.lookup != nullptr) return true;
  if (lookup == nullptr) return false;
  g_link.lookup = lookup;
  if (!FetchBinderProcs(lookup)) return false;
  BindCounter();
  g_link.strict = false;
  if (!BindCoreInterfaces()) return false;
  g_link.strict = true;
  return InitializeLazyElements();
}

void ZELUnlink() {
  if (g_link.lookup == nullptr) return;
  for (LazyTerminate* element = LazyTerminate::List().First(); element != nullptr;
       element = element->Next()) {
    element->Terminate();
  }
  *g_unknownError = CZELError();
  *g_outOfMemoryError = CZELError();
  // What starts and stops the library goes with the lookup procedure. Reports stay possible, as the
  // calls that objects need which clients still hold: as long as the host makes such calls, it is
  // there.
  g_link.lookup = nullptr;
  g_link.registerProcAddress = nullptr;
  g_link.unregisterInterface = nullptr;
  g_link.getUnregisterCountAddr = nullptr;
  g_link.isMultiThreaded = nullptr;
  g_link.unregisterCount = nullptr;
  ++g_link.tableEpoch;
}

ZELProc ZELImportProc(const char* interfaceName, const char* method, const char* procType) {
  if (g_link.lookup == nullptr) return nullptr;
  const ZELProc procedure = g_link.lookup(interfaceName, method, procType);
  if (procedure == nullptr && g_link.strict) ZELRaise("", "ZEL");
  return procedure;
}

bool ZELImportProcTable(const ImportEntry* table, std::uint32_t count, const char* interfaceName,
                        ZELProc* slots) {
  ZELProc imported[kMaxMethods];
  for (std::uint32_t i = count; i-- > 0;) {
    imported[i] = ZELImportProc(interfaceName, table[i].method, table[i].procType);
    if (imported[i] == nullptr) return false;
  }
  std::copy_n(imported, count, slots);
  return true;
}

bool ZELRegisterProcTable(const ExportEntry* table, std::uint32_t count,
                          const char* interfaceName) {
  if (g_link.registerProcAddress == nullptr) return false;
  for (std::uint32_t i = 0; i < count; ++i) {
    if (g_link.registerProcAddress(interfaceName, table[i].method, table[i].procType,
                                   table[i].procedure) == 0) {
      return false;
    }
  }
  return true;
}

std::int32_t ZELReportError(const char* message) noexcept {
  return g_link.reportError == nullptr ? 0 : g_link.reportError(message);
}

void ZELUnregisterInterface(const char* interfaceName) noexcept {
  if (g_link.unregisterInterface != nullptr) g_link.unregisterInterface(interfaceName);
}

bool ZELRefreshTable(ImportMark& mark, const ImportEntry* table, std::uint32_t count,
                     const char* interfaceName, ZELProc* slots) {
  if (g_link.unregisterCount == nullptr) return false;
  const std::uint32_t generation = *g_link.unregisterCount;
  if (!ZELImportProcTable(table, count, interfaceName, slots)) return false;
  mark.generation = generation;
  mark.binderEpoch = g_link.binderEpoch;
  return true;
}

}  // namespace ZEL_T_NMT
