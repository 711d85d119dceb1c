#include "pos/subsystem.h"

#include <initializer_list>

#include "frame/link/binder_link.h"
#include "pos/interfaces.h"

namespace NPOSObjectImpl {
namespace {

using ZEL_T_NMT::RegisterExports;

bool RegisterInterfaces() {
  return RegisterExports(ObjectInterface::kExports, POS_OBJECT_INTERFACE) &&
         RegisterExports(ObjectStatics::kExports, POS_OBJECT_STATICS) &&
         RegisterExports(NumberInterface::kExports, POS_NUMBER_INTERFACE) &&
         RegisterExports(StringInterface::kExports, POS_STRING_INTERFACE) &&
         RegisterExports(UnicodeStringInterface::kExports, POS_UNICODE_STRING_INTERFACE) &&
         RegisterExports(BinDataInterface::kExports, POS_BIN_DATA_INTERFACE) &&
         RegisterExports(RawPointerInterface::kExports, POS_RAW_POINTER_INTERFACE) &&
         RegisterExports(ArrayInterface::kExports, POS_ARRAY_INTERFACE) &&
         RegisterExports(DictInterface::kExports, POS_DICT_INTERFACE) &&
         RegisterExports(DictIteratorInterface::kExports, POS_DICT_ITERATOR_INTERFACE);
}

// In the order of their registration.
void UnregisterInterfaces() {
  for (const char* name :
       {POS_OBJECT_INTERFACE, POS_OBJECT_STATICS, POS_NUMBER_INTERFACE, POS_STRING_INTERFACE,
        POS_UNICODE_STRING_INTERFACE, POS_BIN_DATA_INTERFACE, POS_RAW_POINTER_INTERFACE,
        POS_ARRAY_INTERFACE, POS_DICT_INTERFACE, POS_DICT_ITERATOR_INTERFACE}) {
    ZEL_T_NMT::ZELUnregisterInterface(name);
  }
}

}  // namespace

constinit const ZEL_T_NMT::Subsystem kSubsystem = {&RegisterInterfaces, &UnregisterInterfaces};

}  // namespace NPOSObjectImpl
