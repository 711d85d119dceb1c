#include "frame/client/pos_wrappers.h"

#include "frame/client/report_watch.h"

namespace ZEL_T_NMT {

void CPOSObject::Expect(bool isOfType, bool quiet, const char* message) {
  if (isOfType) return;
  if (!quiet) RaisePOSException(message);
  reference_ = ContainerReference();
}

#define ZEL_DOWNCAST(Name, interface, ...)                                                \
  CPOS##Name::CPOS##Name(CPOSObject source, bool quiet) : CPOSObject(std::move(source)) { \
    Expect(Is(Handle()), quiet, ZEL_DOWNCAST_FAILED(Name));                               \
  }
POS_KINDS(ZEL_DOWNCAST)
#undef ZEL_DOWNCAST

CPOSObject CPOSNumber::NewElsewhere(double value) {
  if (g_pos.numbers.IsLinkedAndOwn()) return TakeOver(g_own.newNumber(value));
  return Adopt(Require(g_pos.numbers.Get())->NewPOSNumber(value));
}

CPOSObject CPOSString::NewElsewhere(const char* text) {
  if (g_pos.strings.IsLinkedAndOwn()) return TakeOver(g_own.newString(text));
  return Adopt(Require(g_pos.strings.Get())->NewPOSString(text));
}

CPOSObject CPOSUnicodeString::New(const std::uint16_t* units) {
  if (g_pos.unicodeStrings.IsLinkedAndOwn()) [[likely]]
    return TakeOver(g_own.newUnicodeString(units));
  return Adopt(Require(g_pos.unicodeStrings.Get())->NewPOSUnicodeString(units));
}

CPOSObject CPOSBinData::New(const char* typeName, const void* data, std::uint32_t size) {
  return Adopt(Require(g_pos.binData.Get())->NewPOSBinData(typeName, data, size));
}

CPOSArray CPOSArray::New() {
  if (g_pos.arrays.IsLinkedAndOwn()) [[likely]]
    return CPOSArray(TakeOver(g_own.newArray()));
  return {Adopt(Require(g_pos.arrays.Get())->NewPOSArray()), false};
}

void CPOSArray::AppendElsewhere(CPOSObject&& value) const {
  if (OwnArray* const own = View().Directly(); own != nullptr && !value.IsEmpty()) [[likely]] {
    g_own.append(*own, value.TakeReference());
    return;
  }
  const ReportWatch watch;
  Require(g_pos.arrays.Get())->Append(Handle(), value.Handle());
  watch.RaiseIfReported("CPOSArray::Append failed");
}

CPOSDict CPOSDict::New() {
  if (g_pos.dicts.IsLinkedAndOwn()) [[likely]]
    return CPOSDict(TakeOver(g_own.newDict()));
  return {Adopt(Require(g_pos.dicts.Get())->NewPOSDict()), false};
}

CPOSObject CPOSDict::Get(const CZELStringAtom& key, bool quiet) const {
  const POSView value = View().Find(key);
  if (value.IsEmpty() && quiet) return CPOSObject();
  if (value.IsEmpty()) RaisePOSException("CPOSDict::Get failed");
  return CPOSObject(value.Handle());
}

CPOSObject CPOSDict::Get(const char* key, bool quiet) const {
  const POSView value = View().Find(key);
  if (value.IsEmpty() && quiet) return CPOSObject();
  if (value.IsEmpty()) RaisePOSException("CPOSDict::Get failed");
  return CPOSObject(value.Handle());
}

CPOSString CPOSDict::GetString(const char* key, bool quiet) const {
  return {Get(key, quiet), quiet};
}

void CPOSDict::PutThroughBinder(const CZELStringAtom& key, const CPOSObject& value) const {
  const ReportWatch watch;
  Require(g_pos.dicts.Get())->Put(Handle(), key.Atom(), value.Handle());
  watch.RaiseIfReported("CPOSDict::Put failed");
}

std::size_t UnicodeLength(const std::uint16_t* units) noexcept {
  std::size_t length = 0;
  while (units[length] != 0) ++length;
  return length;
}

void ArrayToFill::AppendElsewhere(CPOSObject&& value) const { array_.Append(std::move(value)); }

void DictToFill::PutElsewhere(CZELStringAtom&& key, CPOSObject&& value) const {
  dict_.Put(std::move(key), std::move(value));
}

}  // namespace ZEL_T_NMT
