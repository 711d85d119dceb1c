// Views of POS values: how the library's own code reads and changes values that somebody else
// holds.
//
// A view borrows: it is valid while the value is held, as are the texts, units, bytes and members
// that it gives. Foreign code (a callback, a stream of a client) may let go of a value; who calls
// such code meanwhile holds the value with one of the classes of pos_wrappers.h.
//
// A value of the library's own is reached directly while its interface's procedures in the binder
// are the library's own; any other, and every value while somebody has put procedures over them,
// through the procedures in the binder. The results are the same.
//
// One rule of failure: an operation that fails raises. The text is that of the operation
// ("CPOSArray::Count failed"), or "Missing Interface" where the binder does not have the interface;
// the procedure that failed has reported why.
#pragma once

#include <cstdint>

#include "frame/client/own_operations.h"

namespace ZEL_T_NMT {

// The kinds whose interfaces, and those of all kinds before them, were found to be the library's
// own.
struct DirectKinds {
  std::int32_t last = 0;
  std::uint64_t generation = 0;
};
extern constinit DirectKinds g_directKinds;

class POSView {
 public:
  POSView() noexcept = default;
  explicit POSView(ZELInstance handle) noexcept : handle_(handle), own_(OwnValueOf(handle)) {}

  bool IsEmpty() const noexcept { return handle_ == nullptr; }
  ZELInstance Handle() const noexcept { return handle_; }
  // The library's own value, whatever procedures the binder has; null for every other.
  OwnValue* Own() const noexcept { return own_; }

  // The kind of the value, asked of each interface in the order of the type tags; 0 for a value of
  // none.
  std::int32_t Type() const {
    if (own_ != nullptr && IsKindDirect(own_->Type())) [[likely]]
      return own_->Type();
    return TypeThroughBinder(*this);
  }
  // Whether nobody else's procedure is called to learn the value's kind, and none to read it: the
  // value is the library's own, and so are its methods and the procedures of all interfaces up to
  // that of its kind. False as well where that is not known yet; Type settles it.
  bool IsDirect() const noexcept {
    return own_ != nullptr && IsKindDirect(own_->Type()) && HasKnownMethods(handle_);
  }
  // The same of an own value of this kind that would just have been made.
  static bool IsKindDirect(POSObjectType type) noexcept {
    return type <= g_directKinds.last && g_directKinds.generation == g_link.Generation();
  }
  // Whether it is the library's own, and known to be reached directly by this interface.
  template <typename Interface>
  bool IsOwnIn(const POSInterface<Interface>& interface) const noexcept {
    return own_ != nullptr && interface.IsKnownToBeOwn();
  }

 protected:
  // The library's own value of a kind when it may be reached directly; otherwise null.
  template <typename Own, POSObjectType type, typename Interface>
  Own* Direct(POSInterface<Interface>& interface) const {
    if (own_ == nullptr || !interface.IsOwn() || own_->Type() != type) [[unlikely]]
      return nullptr;
    return static_cast<Own*>(own_);
  }

 private:
  static std::int32_t TypeThroughBinder(POSView value);

  ZELInstance handle_ = nullptr;
  OwnValue* own_ = nullptr;
};

// The answers that POSView::IsDirect asks of the binder, kept for many values: only as long as
// nothing of somebody else's is called. Of nothing until it is made from something.
class KnownToBeDirect {
 public:
  KnownToBeDirect() noexcept = default;
  static KnownToBeDirect Now() noexcept {
    KnownToBeDirect known;
    const std::uint64_t generation = g_link.Generation();
    if (g_directKinds.generation == generation && g_ownMethods.generation == generation) {
      known.lastKind_ = g_directKinds.last;
      known.signature_ = g_ownMethods.signature;
    }
    return known;
  }
  bool Has(POSObjectType type) const noexcept { return type <= lastKind_; }
  bool Has(POSView value) const noexcept {
    return value.Own() != nullptr && Has(value.Own()->Type()) &&
           PrimaryInstance(value.Handle()).signature == signature_;
  }

 private:
  std::int32_t lastKind_ = 0;
  const char* signature_ = nullptr;
};

#define ZEL_DOWNCAST_FAILED(Name) "downcast from CPOSObject to CPOS" #Name " failed"

// A view of each kind, made from a value that is known to be of it: for any other, operations fail.
// `Is` asks; it is false for an empty view, and where the binder does not have the interface.

class NumberView : public POSView {
 public:
  explicit NumberView(POSView value) noexcept : POSView(value) {}
  static bool Is(POSView value) {
    return value.IsOwnIn(g_pos.numbers) ? value.Own()->Type() == POSTypeNumber : IsByBinder(value);
  }
  double Get() const {
    const auto* own = Direct<OwnNumber, POSTypeNumber>(g_pos.numbers);
    return own != nullptr ? own->Get() : GetThroughBinder(*this);
  }

 private:
  static bool IsByBinder(POSView value);
  static double GetThroughBinder(NumberView number);
};

class StringView : public POSView {
 public:
  static constexpr const char* kDowncastFailed = ZEL_DOWNCAST_FAILED(String);

  explicit StringView(POSView value) noexcept : POSView(value) {}
  static bool Is(POSView value) {
    return value.IsOwnIn(g_pos.strings) ? value.Own()->Type() == POSTypeString : IsByBinder(value);
  }
  // Raises kDowncastFailed for a value of another kind.
  static StringView Of(POSView value) {
    if (!Is(value)) [[unlikely]]
      RaisePOSException(kDowncastFailed);
    return StringView(value);
  }
  const char* Get() const {
    const auto* own = Direct<OwnString, POSTypeString>(g_pos.strings);
    return own != nullptr ? own->Get() : GetThroughBinder(*this);
  }

 private:
  static bool IsByBinder(POSView value);
  static const char* GetThroughBinder(StringView string);
};

class UnicodeStringView : public POSView {
 public:
  explicit UnicodeStringView(POSView value) noexcept : POSView(value) {}
  static bool Is(POSView value) {
    return value.IsOwnIn(g_pos.unicodeStrings) ? value.Own()->Type() == POSTypeUnicodeString
                                               : IsByBinder(value);
  }
  // Ended by a 0 unit.
  const std::uint16_t* Get() const {
    const auto* own = Direct<OwnUnicodeString, POSTypeUnicodeString>(g_pos.unicodeStrings);
    return own != nullptr ? own->Get() : GetThroughBinder(*this);
  }

 private:
  static bool IsByBinder(POSView value);
  static const std::uint16_t* GetThroughBinder(UnicodeStringView string);
};

class BinDataView : public POSView {
 public:
  explicit BinDataView(POSView value) noexcept : POSView(value) {}
  static bool Is(POSView value) {
    return value.IsOwnIn(g_pos.binData) ? value.Own()->Type() == POSTypeBinData : IsByBinder(value);
  }
  const char* GetTypeName() const;
  // May be null where the size is 0.
  const void* GetBinData() const;
  std::uint32_t GetSize() const;

 private:
  static bool IsByBinder(POSView value);
};

class RawPointerView : public POSView {
 public:
  explicit RawPointerView(POSView value) noexcept : POSView(value) {}
  static bool Is(POSView value) {
    return value.IsOwnIn(g_pos.rawPointers) ? value.Own()->Type() == POSTypeRawPointer
                                            : IsByBinder(value);
  }
  void* GetRawPointer() const;

 private:
  static bool IsByBinder(POSView value);
};

class ArrayView : public POSView {
 public:
  explicit ArrayView(POSView value) noexcept : POSView(value) {}
  static bool Is(POSView value) {
    return value.IsOwnIn(g_pos.arrays) ? value.Own()->Type() == POSTypeArray : IsByBinder(value);
  }
  // The library's own array when it may be reached directly; otherwise null.
  OwnArray* Directly() const { return Direct<OwnArray, POSTypeArray>(g_pos.arrays); }
  std::uint32_t Count() const {
    const OwnArray* const own = Directly();
    return own != nullptr ? own->Count() : CountThroughBinder(*this);
  }
  // Raises "CPOSArray::GetAt subscript failed" for an empty slot and beyond the end.
  POSView GetAt(std::uint32_t index) const {
    const OwnArray* const own = Directly();
    const ZELInstance element =
        own != nullptr ? own->GetAt(index) : GetAtThroughBinder(*this, index);
    if (element == nullptr) [[unlikely]]
      RaisePOSException("CPOSArray::GetAt subscript failed");
    return POSView(element);
  }

 private:
  static bool IsByBinder(POSView value);
  static std::uint32_t CountThroughBinder(ArrayView array);
  static ZELInstance GetAtThroughBinder(ArrayView array, std::uint32_t index);
};

class DictView : public POSView {
 public:
  explicit DictView(POSView value) noexcept : POSView(value) {}
  static bool Is(POSView value) {
    return value.IsOwnIn(g_pos.dicts) ? value.Own()->Type() == POSTypeDict : IsByBinder(value);
  }
  // The library's own dictionary when it may be reached directly; otherwise null.
  OwnDict* Directly() const { return Direct<OwnDict, POSTypeDict>(g_pos.dicts); }
  // Empty for an absent key. An atom of the key that is at hand saves its making where the value is
  // not the library's own.
  POSView Find(const char* key) const;
  POSView Find(const CZELStringAtom& key) const {
    const OwnDict* const own = Directly();
    return own != nullptr ? POSView(g_own.find(*own, key.Text())) : FindByBinder(*this, key);
  }
  // As Find, but where the operation fails, as for a value that is no dictionary, there is no such
  // member either: the failure has been reported, and that is all.
  POSView FindOrReport(const CZELStringAtom& key) const;
  // Raise "CPOSDict::Get failed" for an absent key.
  POSView Get(const char* key) const { return NotAbsent(Find(key)); }
  POSView Get(const CZELStringAtom& key) const { return NotAbsent(Find(key)); }

 private:
  friend class MemberWalk;
  static bool IsByBinder(POSView value);
  static POSView FindByBinder(DictView dict, const CZELStringAtom& key);
  static POSView NotAbsent(POSView value) {
    if (value.IsEmpty()) [[unlikely]]
      RaisePOSException("CPOSDict::Get failed");
    return value;
  }
};

// A walk over the members of a dictionary in the order of their keys, at the first when made. It
// stays valid whatever is done to the dictionary meanwhile, as long as that is held.
class MemberWalk {
 public:
  explicit MemberWalk(DictView dict);
  MemberWalk(const MemberWalk&) = delete;
  MemberWalk& operator=(const MemberWalk&) = delete;
  ~MemberWalk() {
    if (isDirect_) g_own.endWalk(walk_);
  }

  // The current key, valid until the walk moves; null behind the last one.
  const char* Key() const noexcept { return found_.key; }
  // Whether the key stays whatever is done to the dictionary meanwhile.
  bool KeepsKey() const noexcept { return isDirect_; }
  void Next() {
    if (isDirect_) [[likely]] {
      found_ = g_own.nextInWalk(walk_);
    } else {
      NextThroughBinder();
    }
  }
  // The value under the current key; raises "CPOSDict::Get failed" when it has been taken out.
  POSView Value() const;
  // The same where nothing of somebody else's has been called since the walk came to the key.
  POSView ValueFound() const { return isDirect_ ? POSView(found_.value) : Value(); }

 private:
  void NextThroughBinder();
  void FetchKey();

  const DictView dict_;
  const bool isDirect_;
  OwnMember found_;
  OwnWalk walk_;
  ContainerReference iterator_;
};

}  // namespace ZEL_T_NMT
