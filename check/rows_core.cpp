// The rows of the host's interfaces, and of the callbacks that it is given.
#include "rows_groups.h"
#include "rows_of.h"

namespace zelcheck {
namespace {

#define ZEL_CORE_ROWS(Name, interfaceName, METHODS) \
  ZEL_CHECK_ROWS_OF(Name, zelutils::Name##Interface, interfaceName, kOfHost, METHODS)
ZEL_CHECK_ROWS_OF(Binder, zelutils::BinderInterface, ZEL_BINDER_INTERFACE, kOfHost,
                  ZEL_BINDER_METHODS)
ZEL_CORE_INTERFACES(ZEL_CORE_ROWS)
#define ZEL_FAMILY_ROWS(Name, METHODS) \
  ZEL_CHECK_ROWS_OF(Name, zelutils::Name##Interface, #Name, kOfHost, METHODS)
ZEL_STREAM_FAMILIES(ZEL_FAMILY_ROWS)
ZEL_DATA_STORE_FAMILIES(ZEL_FAMILY_ROWS)

#define ZEL_CORE_GROUP(Name, interfaceName, METHODS) {interfaceName, Name##RowList::kRows, false},
#define ZEL_FAMILY_GROUP(Name, METHODS) {nullptr, Name##RowList::kRows, false},
constexpr RowGroup kGroups[] = {{ZEL_BINDER_INTERFACE, BinderRowList::kRows, false},
                                ZEL_CORE_INTERFACES(ZEL_CORE_GROUP)
                                    ZEL_STREAM_FAMILIES(ZEL_FAMILY_GROUP)
                                        ZEL_DATA_STORE_FAMILIES(ZEL_FAMILY_GROUP)};

}  // namespace

std::span<const RowGroup> CoreRowGroups() { return kGroups; }

}  // namespace zelcheck
