// Typed client wrappers over POS objects: each holds a reference to a value and has the operations
// of a view of its kind (pos_views.h), with the same rule of failure.
#pragma once

#include <cstdint>
#include <utility>

#include "frame/client/pos_views.h"
#include "frame/core/container_reference.h"
#include "frame/core/error.h"
#include "frame/core/string_atom.h"

namespace ZEL_T_NMT {

// A reference to any POS object, or empty. Copies take a reference of their own.
class CPOSObject {
 public:
  CPOSObject() noexcept = default;
  // From a handle that carries no reference. Raises "invalid container" for null and for a refused
  // reference, and what POSObjectMethods raises.
  explicit CPOSObject(ZELInstance handle) : CPOSObject(ContainerReference(handle)) {}
  // As above for an instance just made, which ends when it cannot be referenced.
  static CPOSObject Adopt(ZELInstance handle) {
    return CPOSObject(ContainerReference::Adopt(handle));
  }
  // Takes over a reference that the caller holds; raises what POSObjectMethods raises.
  static CPOSObject TakeOver(ZELInstance referenced) {
    return CPOSObject(ContainerReference::TakeOver(referenced));
  }
  // The same of a value that was just made directly, whose methods are known.
  static CPOSObject TakeOverMade(ZELInstance referenced) noexcept {
    CPOSObject made;
    made.reference_ = ContainerReference::TakeOver(referenced);
    return made;
  }

  bool IsEmpty() const noexcept { return reference_.Get() == nullptr; }
  ZELInstance Handle() const noexcept { return reference_.Get(); }
  POSView View() const noexcept { return POSView(Handle()); }
  ZELInstance HandOut() noexcept { return reference_.HandOut(); }
  // The reference, for somebody who takes it and leaves this empty.
  ContainerReference&& TakeReference() noexcept { return std::move(reference_); }

  // The object's own procedures; must not be empty. Clone returns a handle without reference, null
  // after a report.
  ZELInstance Clone() const { return POSObjectMethods(Handle()).Clone(Handle()); }
  bool IsEqual(ZELInstance other) const {
    return POSObjectMethods(Handle()).IsEqual(Handle(), other);
  }
  std::int32_t GetType() const { return POSObjectMethods(Handle()).GetType(Handle()); }

 protected:
  // The end of a downcast: keeps the object, lets go of it, or raises.
  void Expect(bool isOfType, bool quiet, const char* message);

 private:
  explicit CPOSObject(ContainerReference reference) : reference_(std::move(reference)) {
    if (IsEmpty()) [[unlikely]]
      RaiseInvalidContainer();
    RequireMethods(Handle());
  }

  ContainerReference reference_;
};

// Each typed wrapper is made from a CPOSObject by a downcast. When the object is of another type or
// the source is empty, a quiet downcast makes an empty wrapper and any other raises "downcast from
// CPOSObject to CPOS... failed".
//
// `New` raises when the object cannot be made. A value just made is not asked for its kind.

class CPOSNumber : public CPOSObject {
 public:
  CPOSNumber() noexcept = default;
  CPOSNumber(CPOSObject source, bool quiet);
  static bool Is(ZELInstance handle) { return NumberView::Is(POSView(handle)); }
  static CPOSObject New(double value) {
    if (g_pos.numbers.MakesDirectly()) [[likely]]
      return TakeOverMade(g_own.newNumber(value));
    return NewElsewhere(value);
  }
  NumberView View() const noexcept { return NumberView(CPOSObject::View()); }
  double Get() const { return View().Get(); }

 private:
  static CPOSObject NewElsewhere(double value);
};

class CPOSString : public CPOSObject {
 public:
  CPOSString() noexcept = default;
  CPOSString(CPOSObject source, bool quiet);
  static bool Is(ZELInstance handle) { return StringView::Is(POSView(handle)); }
  static CPOSObject New(const char* text) {
    if (g_pos.strings.MakesDirectly()) [[likely]]
      return TakeOverMade(g_own.newString(text));
    return NewElsewhere(text);
  }
  StringView View() const noexcept { return StringView(CPOSObject::View()); }
  // Valid as long as the object lives.
  const char* Get() const { return View().Get(); }

 private:
  static CPOSObject NewElsewhere(const char* text);
};

class CPOSUnicodeString : public CPOSObject {
 public:
  CPOSUnicodeString() noexcept = default;
  CPOSUnicodeString(CPOSObject source, bool quiet);
  static bool Is(ZELInstance handle) { return UnicodeStringView::Is(POSView(handle)); }
  static CPOSObject New(const std::uint16_t* units);
  UnicodeStringView View() const noexcept { return UnicodeStringView(CPOSObject::View()); }
  // Valid as long as the object lives; ended by a 0 unit.
  const std::uint16_t* Get() const { return View().Get(); }
};

class CPOSBinData : public CPOSObject {
 public:
  CPOSBinData() noexcept = default;
  CPOSBinData(CPOSObject source, bool quiet);
  static bool Is(ZELInstance handle) { return BinDataView::Is(POSView(handle)); }
  static CPOSObject New(const char* typeName, const void* data, std::uint32_t size);
  BinDataView View() const noexcept { return BinDataView(CPOSObject::View()); }
  const char* GetTypeName() const { return View().GetTypeName(); }
  const void* GetBinData() const { return View().GetBinData(); }
  std::uint32_t GetSize() const { return View().GetSize(); }
};

class CPOSRawPointer : public CPOSObject {
 public:
  CPOSRawPointer() noexcept = default;
  CPOSRawPointer(CPOSObject source, bool quiet);
  static bool Is(ZELInstance handle) { return RawPointerView::Is(POSView(handle)); }
  RawPointerView View() const noexcept { return RawPointerView(CPOSObject::View()); }
  void* GetRawPointer() const { return View().GetRawPointer(); }
};

class CPOSArray : public CPOSObject {
 public:
  CPOSArray() noexcept = default;
  CPOSArray(CPOSObject source, bool quiet);
  static bool Is(ZELInstance handle) { return ArrayView::Is(POSView(handle)); }
  static CPOSArray New();
  ArrayView View() const noexcept { return ArrayView(CPOSObject::View()); }
  std::uint32_t Count() const { return View().Count(); }
  // Raises "CPOSArray::GetAt subscript failed" for an empty slot and beyond the end.
  CPOSObject GetAt(std::uint32_t index) const { return CPOSObject(View().GetAt(index).Handle()); }
  // Raises "CPOSArray::Append failed". The array takes over the reference of a value that is given
  // up.
  void Append(CPOSObject&& value) const {
    OwnArray* const own = View().Directly();
    if (own == nullptr || value.IsEmpty() || !own->AppendInPlace(value.TakeReference()))
        [[unlikely]]
      AppendElsewhere(std::move(value));
  }
  void Append(const CPOSObject& value) const { Append(CPOSObject(value)); }

 private:
  void AppendElsewhere(CPOSObject&& value) const;
  explicit CPOSArray(CPOSObject made) noexcept : CPOSObject(std::move(made)) {}
};

class CPOSDict : public CPOSObject {
 public:
  CPOSDict() noexcept = default;
  CPOSDict(CPOSObject source, bool quiet);
  static bool Is(ZELInstance handle) { return DictView::Is(POSView(handle)); }
  static CPOSDict New();
  DictView View() const noexcept { return DictView(CPOSObject::View()); }
  // For an absent key, quiet gives an empty reference; otherwise raises "CPOSDict::Get failed".
  CPOSObject Get(const char* key) const { return Get(key, false); }
  CPOSObject Get(const CZELStringAtom& key, bool quiet) const;
  CPOSObject Get(const char* key, bool quiet) const;
  CPOSString GetString(const char* key, bool quiet) const;
  // Raises "CPOSDict::Put failed". The dictionary takes over the reference of a value that is given
  // up.
  void Put(const char* key, CPOSObject value) const { Put(CZELStringAtom(key), std::move(value)); }
  void Put(CZELStringAtom&& key, CPOSObject&& value) const {
    OwnDict* const own = View().Directly();
    if (own != nullptr && !value.IsEmpty()) [[likely]] {
      g_own.put(*own, std::move(key), value.TakeReference());
    } else {
      PutThroughBinder(key, value);
    }
  }

 private:
  void PutThroughBinder(const CZELStringAtom& key, const CPOSObject& value) const;
  explicit CPOSDict(CPOSObject made) noexcept : CPOSObject(std::move(made)) {}
};

// A container that has just been made and is filled at once: the library's own is found once, and
// then only asked for whether it may still be reached directly.

class ArrayToFill {
 public:
  explicit ArrayToFill(const CPOSArray& array) : array_(array), own_(array.View().Directly()) {}
  // As CPOSArray's, of a value that is not empty.
  void Append(CPOSObject&& value) const {
    if (own_ == nullptr || !g_pos.arrays.IsKnownToBeOwn() ||
        !own_->AppendInPlace(value.TakeReference())) [[unlikely]]
      AppendElsewhere(std::move(value));
  }

 private:
  void AppendElsewhere(CPOSObject&& value) const;

  const CPOSArray& array_;
  OwnArray* const own_;
};

class DictToFill {
 public:
  explicit DictToFill(const CPOSDict& dict) : dict_(dict), own_(dict.View().Directly()) {}
  // As CPOSDict's, of a value that is not empty.
  void Put(CZELStringAtom&& key, CPOSObject&& value) const {
    if (own_ != nullptr && g_pos.dicts.IsKnownToBeOwn()) [[likely]] {
      g_own.put(*own_, std::move(key), value.TakeReference());
    } else {
      PutElsewhere(std::move(key), std::move(value));
    }
  }

 private:
  void PutElsewhere(CZELStringAtom&& key, CPOSObject&& value) const;

  const CPOSDict& dict_;
  OwnDict* const own_;
};

// The number of 16-bit code units before the terminating 0.
std::size_t UnicodeLength(const std::uint16_t* units) noexcept;

}  // namespace ZEL_T_NMT
