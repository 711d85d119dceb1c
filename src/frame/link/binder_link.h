// The link to the host's interface binder: its procedures, and what changes from one link to the
// next.
#pragma once

#include <cstdint>

#include "zelutils/table.hpp"

namespace ZEL_T_NMT {

using zelutils::Table;

// One per process; all zero while the library is loaded but not linked.
struct LinkState {
  // Null while the library is not linked.
  ZELLookupProc lookup = nullptr;
  // Of the binder's procedures, ZELIsMultiThreaded must be there and is never called.
  Table<zelutils::BinderInterface> binder;
  const std::uint32_t* unregisterCount = nullptr;
  // Whether a procedure that the binder does not have is an error. Not while a link imports its
  // first tables.
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
  // The number of errors that the procedure guard has reported. A client of a procedure without a
  // result compares it to learn that the call failed.
  std::uint32_t reports = 0;

  // The generation of current tables; only while linked.
  std::uint64_t Generation() const noexcept {
    return std::uint64_t{binderEpoch} << 32 | *unregisterCount;
  }
};

extern constinit LinkState g_link;

// Takes over a lookup procedure and what it finds of the binder's own procedures. All five are
// asked for, even when one is missing; false then. Reports go on to the binder of the link before
// while the new one does not take them.
bool FetchBinder(ZELLookupProc lookup);

// Forgets what starts and stops the library. Reports stay possible, as the calls that objects need
// which clients still hold: as long as the host makes such calls, it is there.
void ForgetBinder() noexcept;

// Forwards to the binder; does nothing while the procedure is not known.
std::int32_t ZELReportError(const char* message) noexcept;

}  // namespace ZEL_T_NMT
