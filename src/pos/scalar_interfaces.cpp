// The interfaces of the five scalar types.
#include "pos/interfaces.h"
#include "pos/scalars.h"

namespace NPOSObjectImpl {
namespace {

// Texts, units and type names must not be null.
template <typename T>
const T* NotNull(const T* argument) {
  if (argument == nullptr) ZEL_T_NMT::RaisePOSException("null text");
  return argument;
}

}  // namespace

ZELInstance NumberInterface::NewPOSNumber(double value) {
  return PublishObject(std::make_unique<Number>(value));
}
bool NumberInterface::IsPOSNumber(ZELInstance object) {
  return QuietCheck<Number>(object) != nullptr;
}
double NumberInterface::Get(ZELInstance number) { return RaisingCheck<Number>(number).Get(); }

ZELInstance StringInterface::NewPOSString(const char* text) {
  return PublishObject(std::make_unique<String>(NotNull(text)));
}
bool StringInterface::IsPOSString(ZELInstance object) {
  return QuietCheck<String>(object) != nullptr;
}
const char* StringInterface::Get(ZELInstance string) { return RaisingCheck<String>(string).Get(); }

ZELInstance UnicodeStringInterface::NewPOSUnicodeString(const std::uint16_t* units) {
  return PublishObject(std::make_unique<UnicodeString>(NotNull(units)));
}
bool UnicodeStringInterface::IsPOSUnicodeString(ZELInstance object) {
  return QuietCheck<UnicodeString>(object) != nullptr;
}
const std::uint16_t* UnicodeStringInterface::Get(ZELInstance string) {
  return RaisingCheck<UnicodeString>(string).Get();
}

ZELInstance BinDataInterface::NewPOSBinData(const char* typeName, const void* data,
                                            std::uint32_t size) {
  if (data == nullptr && size > 0) ZEL_T_NMT::RaisePOSException("null data");
  return PublishObject(std::make_unique<BinData>(NotNull(typeName), data, size));
}
bool BinDataInterface::IsPOSBinData(ZELInstance object) {
  return QuietCheck<BinData>(object) != nullptr;
}
const char* BinDataInterface::GetTypeName(ZELInstance data) {
  return RaisingCheck<BinData>(data).GetTypeName();
}
const void* BinDataInterface::GetBinData(ZELInstance data) {
  return RaisingCheck<BinData>(data).GetBinData();
}
std::uint32_t BinDataInterface::GetSize(ZELInstance data) {
  return RaisingCheck<BinData>(data).GetSize();
}

ZELInstance RawPointerInterface::NewPOSRawPointer(void* pointer, POSRawPointerReleaseProc release) {
  auto object = std::make_unique<RawPointer>(pointer);
  RawPointer& published = *object;
  const ZELInstance handle = PublishObject(std::move(object));
  // Only now: when publishing fails, the pointer stays the client's.
  published.Own(release);
  return handle;
}
bool RawPointerInterface::IsPOSRawPointer(ZELInstance object) {
  return QuietCheck<RawPointer>(object) != nullptr;
}
void* RawPointerInterface::GetRawPointer(ZELInstance pointer) {
  return RaisingCheck<RawPointer>(pointer).GetRawPointer();
}
POSRawPointerReleaseProc RawPointerInterface::GetReleaseProc(ZELInstance pointer) {
  return RaisingCheck<RawPointer>(pointer).GetReleaseProc();
}

}  // namespace NPOSObjectImpl
