// The cache, filter and progress interfaces: there, so that a library can import them; not more.
#include "services.h"

namespace zelhost {

namespace {

#define ZELHOST_UNSUPPORTED(method, procedureType) {#method, #procedureType, Unsupported},

const Procedure kCache[] = {ZEL_CACHE_METHODS(ZELHOST_UNSUPPORTED)};
const Procedure kFilter[] = {ZEL_FILTER_METHODS(ZELHOST_UNSUPPORTED)};
const Procedure kProgress[] = {ZEL_PROGRESS_METHODS(ZELHOST_UNSUPPORTED)};

void Open(const HostOptions&) {
  OfferProcedures(ZEL_CACHE_INTERFACE, kCache);
  OfferProcedures(ZEL_FILTER_INTERFACE, kFilter);
  OfferProcedures(ZEL_PROGRESS_INTERFACE, kProgress);
}

void Close() noexcept {}
void Count(Counts&) {}
void ListLeaks(std::vector<Leak>&) {}

}  // namespace

const ServiceLife kUnsupportedLife = {Open, Close, Count, ListLeaks};

}  // namespace zelhost
