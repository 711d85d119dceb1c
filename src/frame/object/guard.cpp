#include "frame/object/guard.h"

#include "frame/core/error.h"
#include "frame/link/binder_link.h"

namespace ZEL_T_NMT {

void ReportCurrentException() noexcept {
  ++g_link.reports;
  try {
    throw;
  } catch (const std::exception& error) {
    ZELReportError(ExceptionText(error));
  } catch (...) {
    ZELReportError("unknown ZEL error");
  }
}

ZELErrorObject CurrentExceptionAsError() noexcept {
  try {
    throw;
  } catch (const std::exception& error) {
    const CZELError carrier(error);
    return carrier.Handle() == nullptr ? nullptr : Errors().AddRef(carrier.Handle());
  } catch (...) {
    return UnknownError();
  }
}

}  // namespace ZEL_T_NMT
