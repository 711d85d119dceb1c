// The ten POS interfaces: a class for each, whose static functions are the procedure bodies under
// their method names. A body may raise; the export table puts the guard around it.
#pragma once

#include "frame/object/guard.h"
#include "zelutils/pos.h"

namespace NPOSObjectImpl {

struct ObjectInterface {
  static ZELInstance Clone(ZELInstance object);
  static bool IsEqual(ZELInstance object, ZELInstance other);
  static std::int32_t GetType(ZELInstance object);
};

struct ObjectStaticsInterface {
  static void DebugDump(ZELInstance object);
  static void DebugDumpWithHeader(ZELInstance object);
  static void DebugDumpRewind(ZELInstance object);
  static ZELInstance CreateFromText(const char* text, const char** errorPosition);
};

struct NumberInterface {
  static ZELInstance NewPOSNumber(double value);
  static bool IsPOSNumber(ZELInstance object);
  static double Get(ZELInstance number);
};

struct StringInterface {
  static ZELInstance NewPOSString(const char* text);
  static bool IsPOSString(ZELInstance object);
  static const char* Get(ZELInstance string);
};

struct UnicodeStringInterface {
  static ZELInstance NewPOSUnicodeString(const std::uint16_t* units);
  static bool IsPOSUnicodeString(ZELInstance object);
  static const std::uint16_t* Get(ZELInstance string);
};

struct BinDataInterface {
  static ZELInstance NewPOSBinData(const char* typeName, const void* data, std::uint32_t size);
  static bool IsPOSBinData(ZELInstance object);
  static const char* GetTypeName(ZELInstance data);
  static const void* GetBinData(ZELInstance data);
  static std::uint32_t GetSize(ZELInstance data);
};

struct RawPointerInterface {
  static ZELInstance NewPOSRawPointer(void* pointer, POSRawPointerReleaseProc release);
  static bool IsPOSRawPointer(ZELInstance object);
  static void* GetRawPointer(ZELInstance pointer);
  static POSRawPointerReleaseProc GetReleaseProc(ZELInstance pointer);
};

struct ArrayInterface {
  static ZELInstance NewPOSArray();
  static bool IsPOSArray(ZELInstance object);
  static ZELInstance GetAt(ZELInstance array, std::uint32_t index);
  static std::uint32_t Count(ZELInstance array);
  static void SetAt(ZELInstance array, std::uint32_t index, ZELInstance value);
  static void Append(ZELInstance array, ZELInstance value);
  static void Remove(ZELInstance array, std::uint32_t index);
};

struct DictInterface {
  static ZELInstance NewPOSDict();
  static bool IsPOSDict(ZELInstance object);
  static ZELInstance Get(ZELInstance dict, ZELStringAtom key);
  static ZELInstance DeepGet(ZELInstance dict, ZELStringAtom path);
  static void Put(ZELInstance dict, ZELStringAtom key, ZELInstance value);
  static void Remove(ZELInstance dict, ZELStringAtom key);
};

struct DictIteratorInterface {
  static ZELInstance NewPOSDictIterator(ZELInstance dict);
  static void Begin(ZELInstance iterator);
  static void Next(ZELInstance iterator);
  static bool IsDone(ZELInstance iterator);
  static const char* CurKey(ZELInstance iterator);
};

}  // namespace NPOSObjectImpl

// A loop over an iterator that cannot be read must end.
template <>
struct ZEL_T_NMT::NeutralResult<&NPOSObjectImpl::DictIteratorInterface::IsDone> {
  template <typename Result>
  static constexpr Result Value() {
    return true;
  }
};
