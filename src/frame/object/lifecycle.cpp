#include "frame/object/lifecycle.h"

#include <utility>

#include "frame/core/core_interfaces.h"
#include "frame/core/error.h"
#include "frame/link/lazy_terminate.h"
#include "frame/object/process_state.h"

namespace ZEL_T_NMT {
namespace {

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
  Require(g_core.containers.Get());
  g_core.primaryInstanceOffset = Containers().GetOffsetToPrimaryInstance();

  if (g_core.errors.Get() == nullptr) return false;
  g_link.errorsBound = true;
  *g_unknownError = CZELError::Core(0);
  *g_outOfMemoryError = CZELError::Core(1);
  if (g_unknownError->Handle() == nullptr) return false;

  if (g_core.strings.Get() == nullptr) return false;
  Require(g_core.memory.Get());
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

bool ZELLink(ZELLookupProc lookup) {
  if (g_link.lookup != nullptr) return true;
  if (lookup == nullptr) return false;
  if (!FetchBinder(lookup)) return false;
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
  ForgetBinder();
  ++g_link.tableEpoch;
}

void ZELProcessDetach() noexcept {
  for (LazyTerminate* element = LazyTerminate::List().First(); element != nullptr;
       element = element->Next()) {
    element->Abandon();
  }
  g_link.errorsBound = false;
  g_link.binder.ZELReportError = nullptr;
  AbandonCoreInterfaces();
}

}  // namespace ZEL_T_NMT
