// The nine POS interfaces imported by name, as any other client of the binder imports them.
#pragma once

#include "frame/core/imported_interface.h"

namespace ZEL_T_NMT {

struct POSInterfaces {
  ImportedInterface<zelutils::ArrayInterface> arrays;
  ImportedInterface<zelutils::BinDataInterface> binData;
  ImportedInterface<zelutils::DictInterface> dicts;
  ImportedInterface<zelutils::DictIteratorInterface> dictIterators;
  ImportedInterface<zelutils::NumberInterface> numbers;
  ImportedInterface<zelutils::ObjectStaticsInterface> statics;
  ImportedInterface<zelutils::RawPointerInterface> rawPointers;
  ImportedInterface<zelutils::StringInterface> strings;
  ImportedInterface<zelutils::UnicodeStringInterface> unicodeStrings;
};

extern constinit POSInterfaces g_pos;

// Getters: null when the interface cannot be imported.
inline const auto* POSArrays() { return g_pos.arrays.Get(); }
inline const auto* POSBinDatas() { return g_pos.binData.Get(); }
inline const auto* POSDicts() { return g_pos.dicts.Get(); }
inline const auto* POSDictIterators() { return g_pos.dictIterators.Get(); }
inline const auto* POSNumbers() { return g_pos.numbers.Get(); }
inline const auto* POSStatics() { return g_pos.statics.Get(); }
inline const auto* POSRawPointers() { return g_pos.rawPointers.Get(); }
inline const auto* POSStrings() { return g_pos.strings.Get(); }
inline const auto* POSUnicodeStrings() { return g_pos.unicodeStrings.Get(); }

}  // namespace ZEL_T_NMT
