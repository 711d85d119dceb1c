// The one way to learn that a procedure in the binder has failed whose result does not tell.
#pragma once

#include "frame/core/raise.h"
#include "frame/link/binder_link.h"

namespace ZEL_T_NMT {

// Tells whether a procedure of the library has reported a failure since this was made, be it called
// by name or through whoever has put a procedure of his own over it.
class ReportWatch {
 public:
  void RaiseIfReported(const char* message) const {
    if (g_link.reports != before_) [[unlikely]] {
      RaisePOSException(message);
    }
  }
  template <typename Result>
  Result Checked(Result result, const char* message) const {
    RaiseIfReported(message);
    return result;
  }

 private:
  std::uint32_t before_ = g_link.reports;
};

}  // namespace ZEL_T_NMT
