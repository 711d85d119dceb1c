// The cache, filter and progress interfaces: there, so that a library can import them; not more.
#include "services.h"

namespace zelhost {

namespace {

#define ZELHOST_UNSUPPORTED(method, procedureType) {#method, #procedureType, Unsupported},

void Open(const HostOptions&) {
  const Procedure cache[] = {ZEL_CACHE_METHODS(ZELHOST_UNSUPPORTED)};
  const Procedure filter[] = {ZEL_FILTER_METHODS(ZELHOST_UNSUPPORTED)};
  const Procedure progress[] = {ZEL_PROGRESS_METHODS(ZELHOST_UNSUPPORTED)};
  OfferProcedures(ZEL_CACHE_INTERFACE, cache);
  OfferProcedures(ZEL_FILTER_INTERFACE, filter);
  OfferProcedures(ZEL_PROGRESS_INTERFACE, progress);
}

void Close() noexcept {}
void Count(Counts&) {}
void ListLeaks(std::vector<Leak>&) {}

}  // namespace

constinit const ServiceLife kUnsupportedLife = {Open, Close, Count, ListLeaks};

}  // namespace zelhost
