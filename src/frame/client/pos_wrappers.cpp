#include "frame/client/pos_wrappers.h"

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
  template <typename Result>
  Result Checked(Result result, const char* message) const {
    RaiseIfReported(message);
    return result;
  }

 private:
  std::uint32_t before_ = g_link.reports;
};

template <typename Pointer>
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
  const auto* numbers = POSNumbers();
  return numbers != nullptr && numbers->IsPOSNumber(handle);
}

CPOSObject CPOSNumber::New(double value) {
  return Adopt(Require(POSNumbers())->NewPOSNumber(value));
}

double CPOSNumber::Get() const {
  const ReportWatch watch;
  return watch.Checked(Require(POSNumbers())->Get(Handle()), "CPOSNumber::Get failed");
}

CPOSString::CPOSString(CPOSObject source, bool quiet) : CPOSObject(std::move(source)) {
  Expect(Is(Handle()), quiet, "downcast from CPOSObject to CPOSString failed");
}

bool CPOSString::Is(ZELInstance handle) {
  const auto* strings = POSStrings();
  return strings != nullptr && strings->IsPOSString(handle);
}

CPOSObject CPOSString::New(const char* text) {
  return Adopt(Require(POSStrings())->NewPOSString(text));
}

const char* CPOSString::Get() const {
  return NotNull(Require(POSStrings())->Get(Handle()), "CPOSString::Get failed");
}

CPOSUnicodeString::CPOSUnicodeString(CPOSObject source, bool quiet)
    : CPOSObject(std::move(source)) {
  Expect(Is(Handle()), quiet, "downcast from CPOSObject to CPOSUnicodeString failed");
}

bool CPOSUnicodeString::Is(ZELInstance handle) {
  const auto* strings = POSUnicodeStrings();
  return strings != nullptr && strings->IsPOSUnicodeString(handle);
}

CPOSObject CPOSUnicodeString::New(const std::uint16_t* units) {
  return Adopt(Require(POSUnicodeStrings())->NewPOSUnicodeString(units));
}

const std::uint16_t* CPOSUnicodeString::Get() const {
  return NotNull(Require(POSUnicodeStrings())->Get(Handle()), "CPOSUnicodeString::Get failed");
}

CPOSBinData::CPOSBinData(CPOSObject source, bool quiet) : CPOSObject(std::move(source)) {
  Expect(Is(Handle()), quiet, "downcast from CPOSObject to CPOSBinData failed");
}

bool CPOSBinData::Is(ZELInstance handle) {
  const auto* data = POSBinDatas();
  return data != nullptr && data->IsPOSBinData(handle);
}

CPOSObject CPOSBinData::New(const char* typeName, const void* data, std::uint32_t size) {
  return Adopt(Require(POSBinDatas())->NewPOSBinData(typeName, data, size));
}

const char* CPOSBinData::GetTypeName() const {
  return NotNull(Require(POSBinDatas())->GetTypeName(Handle()), "CPOSBinData::GetTypeName failed");
}

const void* CPOSBinData::GetBinData() const { return Require(POSBinDatas())->GetBinData(Handle()); }

std::uint32_t CPOSBinData::GetSize() const {
  const ReportWatch watch;
  return watch.Checked(Require(POSBinDatas())->GetSize(Handle()), "CPOSBinData::GetSize failed");
}

CPOSRawPointer::CPOSRawPointer(CPOSObject source, bool quiet) : CPOSObject(std::move(source)) {
  Expect(Is(Handle()), quiet, "downcast from CPOSObject to CPOSRawPointer failed");
}

bool CPOSRawPointer::Is(ZELInstance handle) {
  const auto* pointers = POSRawPointers();
  return pointers != nullptr && pointers->IsPOSRawPointer(handle);
}

void* CPOSRawPointer::GetRawPointer() const {
  return Require(POSRawPointers())->GetRawPointer(Handle());
}

CPOSArray::CPOSArray(CPOSObject source, bool quiet) : CPOSObject(std::move(source)) {
  Expect(Is(Handle()), quiet, "downcast from CPOSObject to CPOSArray failed");
}

bool CPOSArray::Is(ZELInstance handle) {
  const auto* arrays = POSArrays();
  return arrays != nullptr && arrays->IsPOSArray(handle);
}

CPOSArray CPOSArray::New() { return {Adopt(Require(POSArrays())->NewPOSArray()), false}; }

std::uint32_t CPOSArray::Count() const {
  const ReportWatch watch;
  return watch.Checked(Require(POSArrays())->Count(Handle()), "CPOSArray::Count failed");
}

CPOSObject CPOSArray::GetAt(std::uint32_t index) const {
  const ZELInstance element = Require(POSArrays())->GetAt(Handle(), index);
  if (element == nullptr) RaisePOSException("CPOSArray::GetAt subscript failed");
  return CPOSObject(element);
}

void CPOSArray::Append(const CPOSObject& value) const {
  const ReportWatch watch;
  Require(POSArrays())->Append(Handle(), value.Handle());
  watch.RaiseIfReported("CPOSArray::Append failed");
}

CPOSDict::CPOSDict(CPOSObject source, bool quiet) : CPOSObject(std::move(source)) {
  Expect(Is(Handle()), quiet, "downcast from CPOSObject to CPOSDict failed");
}

bool CPOSDict::Is(ZELInstance handle) {
  const auto* dicts = POSDicts();
  return dicts != nullptr && dicts->IsPOSDict(handle);
}

CPOSDict CPOSDict::New() { return {Adopt(Require(POSDicts())->NewPOSDict()), false}; }

CPOSObject CPOSDict::Get(const CZELStringAtom& key, bool quiet) const {
  const ZELInstance value = Require(POSDicts())->Get(Handle(), key.Atom());
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
  Require(POSDicts())->Put(Handle(), atom.Atom(), value.Handle());
  watch.RaiseIfReported("CPOSDict::Put failed");
}

CPOSDictIterator::CPOSDictIterator(const CPOSObject& dict)
    : iterator_(ContainerReference::Adopt(
          Require(POSDictIterators())->NewPOSDictIterator(dict.Handle()))) {}

void CPOSDictIterator::Begin() const {
  const ReportWatch watch;
  Require(POSDictIterators())->Begin(iterator_.Get());
  watch.RaiseIfReported("CPOSDictIterator::Begin failed");
}

void CPOSDictIterator::Next() const {
  const ReportWatch watch;
  Require(POSDictIterators())->Next(iterator_.Get());
  watch.RaiseIfReported("CPOSDictIterator::Next failed");
}

bool CPOSDictIterator::IsDone() const {
  const ReportWatch watch;
  return watch.Checked(Require(POSDictIterators())->IsDone(iterator_.Get()),
                       "CPOSDictIterator::IsDone failed");
}

const char* CPOSDictIterator::CurKey() const {
  return NotNull(Require(POSDictIterators())->CurKey(iterator_.Get()),
                 "CPOSDictIterator::CurKey failed");
}

std::size_t UnicodeLength(const std::uint16_t* units) noexcept {
  std::size_t length = 0;
  while (units[length] != 0) ++length;
  return length;
}

}  // namespace ZEL_T_NMT
