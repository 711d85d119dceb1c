// Typed client wrappers over POS objects: how the library's own code holds and uses them, through
// the procedures that the POS interfaces have in the binder.
#pragma once

#include <cstdint>
#include <utility>

#include "frame/client/pos_interfaces.h"
#include "frame/core/container_reference.h"
#include "frame/core/error.h"
#include "frame/core/string_atom.h"
#include "frame/object/process_state.h"

namespace ZEL_T_NMT {

// The methods of a POS object. Raises "couldn't get signature" for an instance without signature
// and "invalid container" for one without the methods of a POS object.
inline const zelutils::ObjectInterface& POSObjectMethods(ZELInstance instance) {
  const zelutils::ObjectInterface* methods = g_posObjects->Lookup(instance);
  if (methods == nullptr) [[unlikely]]
    RaiseInvalidContainer();
  return *methods;
}

// A reference to any POS object, or empty. Copies take a reference of their own.
class CPOSObject {
 public:
  CPOSObject() noexcept = default;
  // From a handle that carries no reference. Raises "invalid container" for null and for a refused
  // reference, and what POSObjectMethods raises.
  explicit CPOSObject(ZELInstance handle) : reference_(handle) {
    if (handle == nullptr) [[unlikely]]
      RaiseInvalidContainer();
    methods_ = &POSObjectMethods(handle);
  }
  // As above for an instance just made, which ends when it cannot be referenced.
  static CPOSObject Adopt(ZELInstance handle) {
    return CPOSObject(ContainerReference::Adopt(handle));
  }

  bool IsEmpty() const noexcept { return reference_.Get() == nullptr; }
  ZELInstance Handle() const noexcept { return reference_.Get(); }
  ZELInstance HandOut() noexcept { return reference_.HandOut(); }
  // Gives the reference away and leaves this empty.
  ContainerReference TakeReference() noexcept { return std::move(reference_); }

  // The object's own procedures; must not be empty. Clone returns a handle without reference, null
  // after a report.
  ZELInstance Clone() const { return methods_->Clone(Handle()); }
  bool IsEqual(ZELInstance other) const { return methods_->IsEqual(Handle(), other); }
  std::int32_t GetType() const { return methods_->GetType(Handle()); }

 protected:
  // The end of a downcast: keeps the object, lets go of it, or raises.
  void Expect(bool isOfType, bool quiet, const char* message);

 private:
  explicit CPOSObject(ContainerReference reference)
      : reference_(std::move(reference)), methods_(&POSObjectMethods(reference_.Get())) {}

  ContainerReference reference_;
  const zelutils::ObjectInterface* methods_ = nullptr;
};

// Each typed wrapper is made from a CPOSObject by a downcast. When the object is of another type or
// the source is empty, a quiet downcast makes an empty wrapper and any other raises "downcast from
// CPOSObject to CPOS... failed".
//
// `Is` is the quiet type check alone. `New` raises when the object cannot be made. Operations raise
// when the procedure has reported a failure.

class CPOSNumber : public CPOSObject {
 public:
  CPOSNumber() noexcept = default;
  CPOSNumber(CPOSObject source, bool quiet);
  static bool Is(ZELInstance handle);
  static CPOSObject New(double value);
  double Get() const;
};

class CPOSString : public CPOSObject {
 public:
  CPOSString() noexcept = default;
  CPOSString(CPOSObject source, bool quiet);
  static bool Is(ZELInstance handle);
  static CPOSObject New(const char* text);
  // Valid as long as the object lives.
  const char* Get() const;
};

class CPOSUnicodeString : public CPOSObject {
 public:
  CPOSUnicodeString() noexcept = default;
  CPOSUnicodeString(CPOSObject source, bool quiet);
  static bool Is(ZELInstance handle);
  static CPOSObject New(const std::uint16_t* units);
  // Valid as long as the object lives; ended by a 0 unit.
  const std::uint16_t* Get() const;
};

class CPOSBinData : public CPOSObject {
 public:
  CPOSBinData() noexcept = default;
  CPOSBinData(CPOSObject source, bool quiet);
  static bool Is(ZELInstance handle);
  static CPOSObject New(const char* typeName, const void* data, std::uint32_t size);
  const char* GetTypeName() const;
  const void* GetBinData() const;
  std::uint32_t GetSize() const;
};

class CPOSRawPointer : public CPOSObject {
 public:
  CPOSRawPointer() noexcept = default;
  CPOSRawPointer(CPOSObject source, bool quiet);
  static bool Is(ZELInstance handle);
  void* GetRawPointer() const;
};

class CPOSArray : public CPOSObject {
 public:
  CPOSArray() noexcept = default;
  CPOSArray(CPOSObject source, bool quiet);
  static bool Is(ZELInstance handle);
  static CPOSArray New();
  std::uint32_t Count() const;
  // Raises "CPOSArray::GetAt subscript failed" for an empty slot and beyond the end.
  CPOSObject GetAt(std::uint32_t index) const;
  // Raises "CPOSArray::Append failed".
  void Append(const CPOSObject& value) const;
};

class CPOSDict : public CPOSObject {
 public:
  CPOSDict() noexcept = default;
  CPOSDict(CPOSObject source, bool quiet);
  static bool Is(ZELInstance handle);
  static CPOSDict New();
  // For an absent key, quiet gives an empty reference; otherwise raises "CPOSDict::Get failed".
  CPOSObject Get(const char* key) const { return Get(key, false); }
  CPOSObject Get(const CZELStringAtom& key, bool quiet) const;
  CPOSObject Get(const char* key, bool quiet) const;
  CPOSString GetString(const char* key, bool quiet) const;
  // Raises "CPOSDict::Put failed".
  void Put(const char* key, const CPOSObject& value) const;
};

// A dictionary iterator, at the first key when made.
class CPOSDictIterator {
 public:
  explicit CPOSDictIterator(const CPOSObject& dict);
  void Begin() const;
  void Next() const;
  bool IsDone() const;
  const char* CurKey() const;

 private:
  ContainerReference iterator_;
};

// The number of 16-bit code units before the terminating 0.
std::size_t UnicodeLength(const std::uint16_t* units) noexcept;

}  // namespace ZEL_T_NMT
