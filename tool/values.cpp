#include "values.h"

namespace zelpos {

const char* KindName(int type) {
  switch (type) {
    case POSTypeNumber:
      return "number";
    case POSTypeString:
      return "string";
    case POSTypeUnicodeString:
      return "Unicode string";
    case POSTypeBinData:
      return "binary data";
    case POSTypeRawPointer:
      return "raw pointer";
    case POSTypeArray:
      return "array";
    case POSTypeDict:
      return "dictionary";
    default:
      return "empty slot";
  }
}

std::string Counted(std::size_t count, const char* noun) {
  return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

}  // namespace zelpos
