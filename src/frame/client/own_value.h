// Values of the library's own, as far as their readers in other folders know them: an object begins
// with its type, and what it holds is reached with a load.
//
// The classes of the values derive from these and are known to nobody but the object model, which
// hands over its operations when it starts (own_operations.h).
#pragma once

#include <cstdint>

#include "frame/core/client_base.h"
#include "frame/core/container_reference.h"
#include "frame/core/shared_buffer.h"
#include "frame/core/string_atom.h"
#include "zelutils/pos.h"

namespace ZEL_T_NMT {

class OwnValue : public CZELClientBase {
 public:
  OwnValue(const OwnValue&) = delete;
  OwnValue& operator=(const OwnValue&) = delete;

  POSObjectType Type() const noexcept { return type_; }

 protected:
  explicit OwnValue(POSObjectType type) noexcept : type_(type) {}
  ~OwnValue() = default;

 private:
  const POSObjectType type_;
};

class OwnNumber : public OwnValue {
 public:
  double Get() const noexcept { return value_; }

 protected:
  explicit OwnNumber(double value) noexcept : OwnValue(POSTypeNumber), value_(value) {}

 private:
  double value_;
};

class OwnString : public OwnValue {
 public:
  const char* Get() const noexcept { return text_; }

 protected:
  explicit OwnString(CZELStringAtom&& text) noexcept
      : OwnValue(POSTypeString), atom_(text.Atom()), text_(text.Text()) {
    text.HandOut();
  }
  ~OwnString() { Strings().DeleteStringAtom(atom_); }

 private:
  const ZELStringAtom atom_;  // with a reference
  const char* const text_;
};

class OwnUnicodeString : public OwnValue {
 public:
  // Ended by a 0 unit.
  const std::uint16_t* Get() const noexcept { return units_.Get(); }
  // Without the terminating 0 unit.
  std::uint32_t Length() const noexcept { return count_ - 1; }

 protected:
  // Of `count` units, the terminating one included, which the class fills in.
  explicit OwnUnicodeString(std::uint32_t count)
      : OwnValue(POSTypeUnicodeString), count_(count), units_(count) {}
  std::uint16_t* Units() noexcept { return units_.Get(); }

 private:
  std::uint32_t count_;
  BinderBlock<std::uint16_t> units_;
};

class OwnBinData : public OwnValue {
 public:
  const char* GetTypeName() const noexcept { return typeName_.Text(); }
  const void* GetBinData() const noexcept { return buffer_.Data(); }
  std::uint32_t GetSize() const noexcept { return size_; }

 protected:
  OwnBinData(const char* typeName, std::uint32_t size)
      : OwnValue(POSTypeBinData), size_(size), typeName_(typeName), buffer_(size) {}
  const CZELStringAtom& TypeName() const noexcept { return typeName_; }
  void* Bytes() noexcept { return buffer_.Data(); }

 private:
  std::uint32_t size_;
  CZELStringAtom typeName_;
  SharedBuffer buffer_;
};

class OwnRawPointer : public OwnValue {
 public:
  void* GetRawPointer() const noexcept { return pointer_; }

 protected:
  explicit OwnRawPointer(void* pointer) noexcept : OwnValue(POSTypeRawPointer), pointer_(pointer) {}

 private:
  void* pointer_;
};

// A value that holds others. Of a member it holds the reference alone.
class OwnComposite : public OwnValue {
 public:
  // The next one in the queue of those that wait for their destruction.
  OwnComposite* nextPending = nullptr;

 protected:
  using OwnValue::OwnValue;
};

class OwnArray : public OwnComposite {
 public:
  std::uint32_t Count() const noexcept { return count_; }
  // Null beyond the end and for an empty slot.
  ZELInstance GetAt(std::uint32_t index) const noexcept {
    return index < count_ ? slots_[index] : nullptr;
  }
  // Appends the value where nothing can fail; false, and the value stays with the caller, when the
  // array has to grow for it.
  bool AppendInPlace(ContainerReference&& value) noexcept {
    if (count_ == capacity_) return false;
    slots_[count_++] = value.Detach();
    return true;
  }

 protected:
  OwnArray() noexcept : OwnComposite(POSTypeArray) {}

  ZELInstance* slots_ = nullptr;  // of those below count_ each holds a reference, or null
  std::uint32_t capacity_ = 0;
  std::uint32_t count_ = 0;
};

class OwnDict : public OwnComposite {
 protected:
  OwnDict() noexcept : OwnComposite(POSTypeDict) {}
};

}  // namespace ZEL_T_NMT
