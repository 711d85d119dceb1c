#include "pos/own_operations.h"

#include <new>

#include "frame/object/guard.h"
#include "pos/array.h"
#include "pos/dict.h"
#include "pos/scalars.h"

namespace NPOSObjectImpl {
namespace {

using ZEL_T_NMT::ContainerReference;
using ZEL_T_NMT::CZELStringAtom;
using ZEL_T_NMT::OwnArray;
using ZEL_T_NMT::OwnDict;
using ZEL_T_NMT::OwnWalk;

static_assert(sizeof(ConstDictIterator) <= sizeof(OwnWalk::state));
static_assert(alignof(ConstDictIterator) <= alignof(OwnWalk));

ConstDictIterator& IteratorOf(OwnWalk& walk) noexcept {
  return *std::launder(reinterpret_cast<ConstDictIterator*>(walk.state));
}
const ConstDictIterator& IteratorOf(const OwnWalk& walk) noexcept {
  return *std::launder(reinterpret_cast<const ConstDictIterator*>(walk.state));
}

// Reports the exception being handled and raises the operation's text.
[[noreturn]] ZEL_NEVER_INLINE void ReportAndRaise(const char* message) {
  ZEL_T_NMT::ReportCurrentException();
  ZEL_T_NMT::RaisePOSException(message);
}

template <typename T, typename... Arguments>
ZELInstance NewValue(Arguments... arguments) {
  ZELInstance made = nullptr;
  try {
    made = PublishObject(std::make_unique<T>(arguments...));
  } catch (...) {
    ZEL_T_NMT::ReportCurrentException();
  }
  return ContainerReference::Adopt(made).Detach();
}

}  // namespace

constinit const ZEL_T_NMT::OwnOperations kOwnOperations = {
    .newNumber = &NewValue<Number, double>,
    .newString = &NewValue<String, const char*>,
    .newUnicodeString = &NewValue<UnicodeString, const std::uint16_t*>,
    .newArray = &NewValue<Array>,
    .newDict = &NewValue<Dict>,
    .append =
        [](OwnArray& array, ContainerReference&& value) {
          try {
            static_cast<Array&>(array).Append(std::move(value));
          } catch (...) {
            ReportAndRaise("CPOSArray::Append failed");
          }
        },
    .find = [](const OwnDict& dict,
               const char* key) noexcept { return static_cast<const Dict&>(dict).Get(key); },
    .put =
        [](OwnDict& dict, CZELStringAtom&& key, ContainerReference&& value) {
          try {
            static_cast<Dict&>(dict).Put(std::move(key), std::move(value));
          } catch (...) {
            ReportAndRaise("CPOSDict::Put failed");
          }
        },
    .beginWalk =
        [](OwnWalk& walk, OwnDict& dict) noexcept {
          return (new (static_cast<void*>(walk.state)) ConstDictIterator(static_cast<Dict&>(dict)))
              ->CurMember();
        },
    .nextInWalk = [](OwnWalk& walk) noexcept { return IteratorOf(walk).NextMember(); },
    .endWalk = [](OwnWalk& walk) noexcept { IteratorOf(walk).~ConstDictIterator(); },
    .valueInWalk = [](const OwnWalk& walk) noexcept { return IteratorOf(walk).ValueNow(); },
};

}  // namespace NPOSObjectImpl
