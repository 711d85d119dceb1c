// The rows of the library's interfaces.
#include "rows_groups.h"
#include "rows_of.h"

namespace zelcheck {
namespace {

#define ZEL_LIBRARY_ROWS(Name, interfaceName, METHODS) \
  ZEL_CHECK_ROWS_OF(Name, zelutils::Name##Interface, interfaceName, kOfLibrary, METHODS)
ZEL_LIBRARY_INTERFACES(ZEL_LIBRARY_ROWS)

#define ZEL_LIBRARY_GROUP(Name, interfaceName, METHODS) {interfaceName, Name##RowList::kRows, true},
constexpr RowGroup kGroups[] = {ZEL_LIBRARY_INTERFACES(ZEL_LIBRARY_GROUP)};

}  // namespace

std::span<const RowGroup> LibraryRowGroups() { return kGroups; }

}  // namespace zelcheck
