#include "frame/pos_wrappers.h"

namespace ZEL_T_NMT {
namespace {

// Tells whether a procedure has reported a failure since this was made: its result alone does not
// where there is none, or where the neutral one is as good as any.
class ReportWatch {
 public:
  void RaiseIfReported(const char* message) const {
    if (g_link.reports != before_) [[unlikely]] {
      RaisePOSException(message);
    }
  }
  template <class Result>
  Result Checked(Result result, const char* message) const {
    RaiseIfReported(message);
    return result;
  }

 private:
  uint32_t before_ = g_link.reports;
};

template <class Pointer>
Pointer NotNull(Pointer pointer, const char* message) {
  if (pointer == nullptr) RaisePOSException(message);
  return pointer;
}

}  // namespace

constinit POSInterfaces g_pos;

void CPOSObject::Expect(bool isOfType, bool quiet, const char* message) {
  if (isOfType) return;
  if (!quiet) RaisePOSException(message);
  reference_ = ContainerReference();
}

CPOSNumber::CPOSNumber(CPOSObject source, bool quiet) : CPOSObject(std::move(source)) {
  Expect(Is(Handle()), quiet, "downcast from CPOSObject to CPOSNumber failed");
}

bool CPOSNumber::Is(ZELInstance handle) {
  const POSNumberSlots* numbers = POSNumbers();
  return numbers != nullptr && numbers->IsPOSNumber(handle);
}

CPOSObject CPOSNumber::New(double value) { return TakeNew(Need(POSNumbers()).NewPOSNumber(value)); }

double CPOSNumber::Get() const {
  const ReportWatch watch;
  return watch.Checked(Need(POSNumbers()).Get(Handle()), "CPOSNumber::Get failed");
}

CPOSString::CPOSString(CPOSObject source, bool quiet) : CPOSObject(std::move(source)) {
  Expect(Is(Handle()), quiet, "downcast from CPOSObject to CPOSString failed");
}

bool CPOSString::Is(ZELInstance handle) {
  const POSStringSlots* strings = POSStrings();
  return strings != nullptr && strings->IsPOSString(handle);
}

CPOSObject CPOSString::New(const char* text) {
  return TakeNew(Need(POSStrings()).NewPOSString(text));
}

const char* CPOSString::Get() const {
  return NotNull(Need(POSStrings()).Get(Handle()), "CPOSString::Get failed");
}

CPOSUnicodeString::CPOSUnicodeString(CPOSObject source, bool quiet)
    : CPOSObject(std::move(source)) {
  Expect(Is(Handle()), quiet, "downcast from CPOSObject to CPOSUnicodeString failed");
}

bool CPOSUnicodeString::Is(ZELInstance handle) {
  const POSUnicodeStringSlots* strings = POSUnicodeStrings();
  return strings != nullptr && strings->IsPOSUnicodeString(handle);
}

CPOSObject CPOSUnicodeString::New(const uint16_t* units) {
  return TakeNew(Need(POSUnicodeStrings()).NewPOSUnicodeString(units));
}

const uint16_t* CPOSUnicodeString::Get() const {
  return NotNull(Need(POSUnicodeStrings()).Get(Handle()), "CPOSUnicodeString::Get failed");
}

CPOSBinData::CPOSBinData(CPOSObject source, bool quiet) : CPOSObject(std::move(source)) {
  Expect(Is(Handle()), quiet, "downcast from CPOSObject to CPOSBinData failed");
}

bool CPOSBinData::Is(ZELInstance handle) {
  const POSBinDataSlots* data = POSBinDatas();
  return data != nullptr && data->IsPOSBinData(handle);
}

CPOSObject CPOSBinData::New(const char* typeName, const void* data, uint32_t size) {
  return TakeNew(Need(POSBinDatas()).NewPOSBinData(typeName, data, size));
}

const char* CPOSBinData::GetTypeName() const {
  return NotNull(Need(POSBinDatas()).GetTypeName(Handle()), "CPOSBinData::GetTypeName failed");
}

const void* CPOSBinData::GetBinData() const { return Need(POSBinDatas()).GetBinData(Handle()); }

uint32_t CPOSBinData::GetSize() const {
  const ReportWatch watch;
  return watch.Checked(Need(POSBinDatas()).GetSize(Handle()), "CPOSBinData::GetSize failed");
}

CPOSRawPointer::CPOSRawPointer(CPOSObject source, bool quiet) : CPOSObject(std::move(source)) {
  Expect(Is(Handle()), quiet, "downcast from CPOSObject to CPOSRawPointer failed");
}

bool CPOSRawPointer::Is(ZELInstance handle) {
  const POSRawPointerSlots* pointers = POSRawPointers();
  return pointers != nullptr && pointers->IsPOSRawPointer(handle);
}

void* CPOSRawPointer::GetRawPointer() const {
  return Need(POSRawPointers()).GetRawPointer(Handle());
}

CPOSArray::CPOSArray(CPOSObject source, bool quiet) : CPOSObject(std::move(source)) {
  Expect(Is(Handle()), quiet, "downcast from CPOSObject to CPOSArray failed");
}

bool CPOSArray::Is(ZELInstance handle) {
  const POSArraySlots* arrays = POSArrays();
  return arrays != nullptr && arrays->IsPOSArray(handle);
}

CPOSArray CPOSArray::New() { return {TakeNew(Need(POSArrays()).NewPOSArray()), false}; }

uint32_t CPOSArray::Count() const {
  const ReportWatch watch;
  return watch.Checked(Need(POSArrays()).Count(Handle()), "CPOSArray::Count failed");
}

CPOSObject CPOSArray::GetAt(uint32_t index) const {
  const ZELInstance element = Need(POSArrays()).GetAt(Handle(), index);
  if (element == nullptr) RaisePOSException("CPOSArray::GetAt subscript failed");
  return CPOSObject(element);
}

void CPOSArray::Append(const CPOSObject& value) const {
  const ReportWatch watch;
  Need(POSArrays()).Append(Handle(), value.Handle());
  watch.RaiseIfReported("CPOSArray::Append failed");
}

CPOSDict::CPOSDict(CPOSObject source, bool quiet) : CPOSObject(std::move(source)) {
  Expect(Is(Handle()), quiet, "downcast from CPOSObject to CPOSDict failed");
}

bool CPOSDict::Is(ZELInstance handle) {
  const POSDictSlots* dicts = POSDicts();
  return dicts != nullptr && dicts->IsPOSDict(handle);
}

CPOSDict CPOSDict::New() { return {TakeNew(Need(POSDicts()).NewPOSDict()), false}; }

CPOSObject CPOSDict::Get(const CZELStringAtom& key, bool quiet) const {
  const ZELInstance value = Need(POSDicts()).Get(Handle(), key.Atom());
  if (value != nullptr) return CPOSObject(value);
  if (!quiet) RaisePOSException("CPOSDict::Get failed");
  return CPOSObject();
}

CPOSObject CPOSDict::Get(const char* key, bool quiet) const {
  return Get(CZELStringAtom(key), quiet);
}

CPOSString CPOSDict::GetString(const char* key, bool quiet) const {
  return {Get(key, quiet), quiet};
}

void CPOSDict::Put(const char* key, const CPOSObject& value) const {
  const CZELStringAtom atom(key);
  const ReportWatch watch;
  Need(POSDicts()).Put(Handle(), atom.Atom(), value.Handle());
  watch.RaiseIfReported("CPOSDict::Put failed");
}

CPOSDictIterator::CPOSDictIterator(const CPOSObject& dict)
    : iterator_(
          ContainerReference::TakeNew(Need(POSDictIterators()).NewPOSDictIterator(dict.Handle()))) {
}

void CPOSDictIterator::Begin() const {
  const ReportWatch watch;
  Need(POSDictIterators()).Begin(iterator_.Get());
  watch.RaiseIfReported("CPOSDictIterator::Begin failed");
}

void CPOSDictIterator::Next() const {
  const ReportWatch watch;
  Need(POSDictIterators()).Next(iterator_.Get());
  watch.RaiseIfReported("CPOSDictIterator::Next failed");
}

bool CPOSDictIterator::IsDone() const {
  const ReportWatch watch;
  return watch.Checked(Need(POSDictIterators()).IsDone(iterator_.Get()),
                       "CPOSDictIterator::IsDone failed");
}

const char* CPOSDictIterator::CurKey() const {
  return NotNull(Need(POSDictIterators()).CurKey(iterator_.Get()),
                 "CPOSDictIterator::CurKey failed");
}

size_t UnicodeLength(const uint16_t* units) noexcept {
  size_t length = 0;
  while (units[length] != 0) ++length;
  return length;
}

}  // namespace ZEL_T_NMT
