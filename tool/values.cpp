#include "values.h"

namespace zelpos {

const char* KindName(int type) {
#define ZELPOS_KIND_NAME(name, plural, noun, ...) \
  case POSType##name:                             \
    return noun;
  switch (type) { POS_KINDS(ZELPOS_KIND_NAME) }
#undef ZELPOS_KIND_NAME
  return "empty slot";
}

std::string Counted(std::size_t count, const char* noun) {
  return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

}  // namespace zelpos
