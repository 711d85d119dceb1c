#include "frame/link/binder_link.h"

namespace ZEL_T_NMT {
namespace {

using Binder = Table<zelutils::BinderInterface>;

// Which binder the library was linked to last.
struct BinderIdentity {
  ZELLookupProc lookup = nullptr;
  const std::uint32_t* unregisterCount = nullptr;
};
constinit BinderIdentity g_lastBinder;

void BindCounter() {
  g_link.unregisterCount = g_link.binder.ZELGetUnregisterCountAddr();
  if (g_lastBinder.lookup != g_link.lookup ||
      g_lastBinder.unregisterCount != g_link.unregisterCount) {
    ++g_link.binderEpoch;
    g_lastBinder = {g_link.lookup, g_link.unregisterCount};
  }
}

}  // namespace

constinit LinkState g_link;

bool FetchBinder(ZELLookupProc lookup) {
  g_link.lookup = lookup;
  Binder::Procedures found;
  bool complete = true;
  for (std::size_t i = 0; i < Binder::kCount; ++i) {
    const zelutils::Method& method = Binder::kMethods[i];
    found[i] = lookup(Binder::kName, method.name, method.procType);
    complete = complete && found[i] != nullptr;
  }
  const ::ZELReportError reportBefore = g_link.binder.ZELReportError;
  g_link.binder.Assign(found);
  if (g_link.binder.ZELReportError == nullptr) g_link.binder.ZELReportError = reportBefore;
  if (!complete) return false;
  BindCounter();
  return true;
}

void ForgetBinder() noexcept {
  zelutils::BinderInterface kept;
  kept.ZELReportError = g_link.binder.ZELReportError;
  g_link.binder = Binder(kept);
  g_link.lookup = nullptr;
  g_link.unregisterCount = nullptr;
}

std::int32_t ZELReportError(const char* message) noexcept {
  return g_link.binder.ZELReportError == nullptr ? 0 : g_link.binder.ZELReportError(message);
}

}  // namespace ZEL_T_NMT
