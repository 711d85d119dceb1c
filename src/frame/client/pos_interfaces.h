// The nine POS interfaces imported by name, as any other client of the binder imports them.
#pragma once

#include "frame/core/error.h"
#include "frame/link/binder_link.h"
#include "zelutils/pos.h"

namespace ZEL_T_NMT {

ZEL_DEFINE_SLOTS(POSArraySlots, POS_ARRAY_METHODS);
ZEL_DEFINE_SLOTS(POSBinDataSlots, POS_BIN_DATA_METHODS);
ZEL_DEFINE_SLOTS(POSDictSlots, POS_DICT_METHODS);
ZEL_DEFINE_SLOTS(POSDictIteratorSlots, POS_DICT_ITERATOR_METHODS);
ZEL_DEFINE_SLOTS(POSNumberSlots, POS_NUMBER_METHODS);
ZEL_DEFINE_SLOTS(POSObjectStaticsSlots, POS_OBJECT_STATICS_METHODS);
ZEL_DEFINE_SLOTS(POSRawPointerSlots, POS_RAW_POINTER_METHODS);
ZEL_DEFINE_SLOTS(POSStringSlots, POS_STRING_METHODS);
ZEL_DEFINE_SLOTS(POSUnicodeStringSlots, POS_UNICODE_STRING_METHODS);

static_assert(POSArraySlots::kSlotCount == 7 && POSBinDataSlots::kSlotCount == 5);
static_assert(POSDictSlots::kSlotCount == 6 && POSDictIteratorSlots::kSlotCount == 5);
static_assert(POSNumberSlots::kSlotCount == 3 && POSObjectStaticsSlots::kSlotCount == 4);
static_assert(POSRawPointerSlots::kSlotCount == 4 && POSStringSlots::kSlotCount == 3);
static_assert(POSUnicodeStringSlots::kSlotCount == 3);

struct POSInterfaces {
  ImportedInterface<POSArraySlots> arrays{POS_ARRAY_INTERFACE};
  ImportedInterface<POSBinDataSlots> binData{POS_BIN_DATA_INTERFACE};
  ImportedInterface<POSDictSlots> dicts{POS_DICT_INTERFACE};
  ImportedInterface<POSDictIteratorSlots> dictIterators{POS_DICT_ITERATOR_INTERFACE};
  ImportedInterface<POSNumberSlots> numbers{POS_NUMBER_INTERFACE};
  ImportedInterface<POSObjectStaticsSlots> statics{POS_OBJECT_STATICS};
  ImportedInterface<POSRawPointerSlots> rawPointers{POS_RAW_POINTER_INTERFACE};
  ImportedInterface<POSStringSlots> strings{POS_STRING_INTERFACE};
  ImportedInterface<POSUnicodeStringSlots> unicodeStrings{POS_UNICODE_STRING_INTERFACE};
};

extern constinit POSInterfaces g_pos;

// Getters: null when the interface cannot be imported.
inline const POSArraySlots* POSArrays() { return g_pos.arrays.GetOrClear(); }
inline const POSBinDataSlots* POSBinDatas() { return g_pos.binData.GetOrClear(); }
inline const POSDictSlots* POSDicts() { return g_pos.dicts.GetOrClear(); }
inline const POSDictIteratorSlots* POSDictIterators() { return g_pos.dictIterators.GetOrClear(); }
inline const POSNumberSlots* POSNumbers() { return g_pos.numbers.GetOrClear(); }
inline const POSObjectStaticsSlots* POSStatics() { return g_pos.statics.GetOrClear(); }
inline const POSRawPointerSlots* POSRawPointers() { return g_pos.rawPointers.GetOrClear(); }
inline const POSStringSlots* POSStrings() { return g_pos.strings.GetOrClear(); }
inline const POSUnicodeStringSlots* POSUnicodeStrings() {
  return g_pos.unicodeStrings.GetOrClear();
}

// For an operation that cannot do without the interface: raises "Missing Interface" for null.
template <typename Slots>
const Slots& Require(const Slots* table) {
  if (table == nullptr) [[unlikely]]
    ZELRaise("Missing Interface", "ZEL");
  return *table;
}

}  // namespace ZEL_T_NMT
