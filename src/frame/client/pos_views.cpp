#include "frame/client/pos_views.h"

#include <iterator>

#include "frame/base/compiler.h"
#include "frame/client/report_watch.h"

namespace ZEL_T_NMT {
namespace {

template <typename Pointer>
Pointer NotNull(Pointer pointer, const char* message) {
  if (pointer == nullptr) RaisePOSException(message);
  return pointer;
}

// Whether a value is of the kind with the type tag, which the second method of its interface tells.
template <POSObjectType type, typename Interface>
bool IsOf(POSView value, POSInterface<Interface>& interface,
          bool (*Interface::*isOfKind)(ZELInstance)) {
  if (value.Own() != nullptr && interface.IsOwn()) [[likely]] {
    return value.Own()->Type() == type;
  }
  if (value.IsEmpty()) return false;
  const Interface* const table = interface.Get();
  return table != nullptr && (table->*isOfKind)(value.Handle());
}

// The kinds in the order in which a value is compared with them.
struct Kind {
  POSObjectType type;
  bool (*is)(POSView value);
  bool (*isKnownToBeOwn)();
};
#define ZEL_KIND(Name, interface, ...) \
  {POSType##Name, &Name##View::Is, [] { return g_pos.interface.IsKnownToBeOwn(); }},
constexpr Kind kKinds[] = {POS_KINDS(ZEL_KIND)};
#undef ZEL_KIND
static_assert(kKinds[0].type == 1 && kKinds[std::size(kKinds) - 1].type == POS_KIND_COUNT,
              "a row for each tag, in their order");

DirectKinds KindsKnownToBeOwn() noexcept {
  DirectKinds found{0, g_link.Generation()};
  for (const Kind& kind : kKinds) {
    if (!kind.isKnownToBeOwn()) break;
    found.last = kind.type;
  }
  return found;
}

}  // namespace

constinit DirectKinds g_directKinds;

std::int32_t POSView::TypeThroughBinder(POSView value) {
  for (const Kind& kind : kKinds) {
    if (!kind.is(value)) continue;
    if (value.Own() != nullptr) g_directKinds = KindsKnownToBeOwn();
    return kind.type;
  }
  return 0;
}

#define ZEL_IS(Name, interface, ...)                                                             \
  ZEL_NEVER_INLINE bool Name##View::IsByBinder(POSView value) {                                  \
    return IsOf<POSType##Name>(value, g_pos.interface, &zelutils::Name##Interface::IsPOS##Name); \
  }
POS_KINDS(ZEL_IS)
#undef ZEL_IS

double NumberView::GetThroughBinder(NumberView number) {
  const ReportWatch watch;
  return watch.Checked(Require(g_pos.numbers.Get())->Get(number.Handle()),
                       "CPOSNumber::Get failed");
}

const char* StringView::GetThroughBinder(StringView string) {
  return NotNull(Require(g_pos.strings.Get())->Get(string.Handle()), "CPOSString::Get failed");
}

const std::uint16_t* UnicodeStringView::GetThroughBinder(UnicodeStringView string) {
  return NotNull(Require(g_pos.unicodeStrings.Get())->Get(string.Handle()),
                 "CPOSUnicodeString::Get failed");
}

const char* BinDataView::GetTypeName() const {
  if (const auto* own = Direct<OwnBinData, POSTypeBinData>(g_pos.binData)) {
    return own->GetTypeName();
  }
  return NotNull(Require(g_pos.binData.Get())->GetTypeName(Handle()),
                 "CPOSBinData::GetTypeName failed");
}

const void* BinDataView::GetBinData() const {
  if (const auto* own = Direct<OwnBinData, POSTypeBinData>(g_pos.binData)) {
    return own->GetBinData();
  }
  const ReportWatch watch;
  return watch.Checked(Require(g_pos.binData.Get())->GetBinData(Handle()),
                       "CPOSBinData::GetBinData failed");
}

std::uint32_t BinDataView::GetSize() const {
  if (const auto* own = Direct<OwnBinData, POSTypeBinData>(g_pos.binData)) return own->GetSize();
  const ReportWatch watch;
  return watch.Checked(Require(g_pos.binData.Get())->GetSize(Handle()),
                       "CPOSBinData::GetSize failed");
}

void* RawPointerView::GetRawPointer() const {
  if (const auto* own = Direct<OwnRawPointer, POSTypeRawPointer>(g_pos.rawPointers)) {
    return own->GetRawPointer();
  }
  const ReportWatch watch;
  return watch.Checked(Require(g_pos.rawPointers.Get())->GetRawPointer(Handle()),
                       "CPOSRawPointer::GetRawPointer failed");
}

std::uint32_t ArrayView::CountThroughBinder(ArrayView array) {
  const ReportWatch watch;
  return watch.Checked(Require(g_pos.arrays.Get())->Count(array.Handle()),
                       "CPOSArray::Count failed");
}

ZELInstance ArrayView::GetAtThroughBinder(ArrayView array, std::uint32_t index) {
  return Require(g_pos.arrays.Get())->GetAt(array.Handle(), index);
}

POSView DictView::Find(const char* key) const {
  if (const OwnDict* const own = Directly()) return POSView(g_own.find(*own, key));
  return Find(CZELStringAtom(key));
}

POSView DictView::FindByBinder(DictView dict, const CZELStringAtom& key) {
  const ReportWatch watch;
  return POSView(watch.Checked(Require(g_pos.dicts.Get())->Get(dict.Handle(), key.Atom()),
                               "CPOSDict::Get failed"));
}

POSView DictView::FindOrReport(const CZELStringAtom& key) const {
  if (const OwnDict* const own = Directly()) return POSView(g_own.find(*own, key.Text()));
  return POSView(Require(g_pos.dicts.Get())->Get(Handle(), key.Atom()));
}

MemberWalk::MemberWalk(DictView dict)
    : dict_(dict), isDirect_(g_pos.dictIterators.IsOwn() && dict.Directly() != nullptr) {
  if (isDirect_) {
    found_ = g_own.beginWalk(walk_, *dict.Directly());
    return;
  }
  const auto& iterators = *Require(g_pos.dictIterators.Get());
  iterator_ = ContainerReference::Adopt(iterators.NewPOSDictIterator(dict.Handle()));
  const ReportWatch watch;
  iterators.Begin(iterator_.Get());
  watch.RaiseIfReported("CPOSDictIterator::Begin failed");
  FetchKey();
}

void MemberWalk::NextThroughBinder() {
  const ReportWatch watch;
  Require(g_pos.dictIterators.Get())->Next(iterator_.Get());
  watch.RaiseIfReported("CPOSDictIterator::Next failed");
  FetchKey();
}

void MemberWalk::FetchKey() {
  const auto& iterators = *Require(g_pos.dictIterators.Get());
  const ReportWatch watch;
  found_ = {};
  if (watch.Checked(iterators.IsDone(iterator_.Get()), "CPOSDictIterator::IsDone failed")) return;
  found_.key = NotNull(iterators.CurKey(iterator_.Get()), "CPOSDictIterator::CurKey failed");
}

POSView MemberWalk::Value() const {
  if (!isDirect_) return dict_.Get(found_.key);
  return DictView::NotAbsent(POSView(g_own.valueInWalk(walk_)));
}

}  // namespace ZEL_T_NMT
