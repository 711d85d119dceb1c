// Values of the library's own, as far as their readers in other folders know them: an object begins
// with a pointer to the record of its kind, and what it holds is reached with a load.
//
// The classes of the values derive from these and are known to nobody but the object model, which
// hands over its operations when it starts (own_operations.h).
#pragma once

#include <cstdint>
#include <memory>

#include "frame/core/client_base.h"
#include "frame/core/container_reference.h"
#include "frame/core/shared_buffer.h"
#include "frame/core/string_atom.h"
#include "zelutils/pos.h"

namespace ZEL_T_NMT {

class OwnValue;

// The common properties of all values of one kind; one constant record for each.
struct OwnKind {
  POSObjectType type;
  bool isComposite;  // derives from OwnComposite
  // Returns the object that the clone's handle is to stand for: this very object where it never
  // changes, else a new one that the caller owns.
  OwnValue* (*clone)(OwnValue& value);
  bool (*isEqual)(OwnValue& value, OwnValue& other);
  void (*destroy)(OwnValue* value) noexcept;
};

class OwnValue : public CZELClientBase {
 public:
  OwnValue(const OwnValue&) = delete;
  OwnValue& operator=(const OwnValue&) = delete;

  POSObjectType Type() const noexcept { return kind_.type; }
  const OwnKind& Kind() const noexcept { return kind_; }

 protected:
  explicit OwnValue(const OwnKind& kind) noexcept : kind_(kind) {}
  ~OwnValue() = default;

 private:
  const OwnKind& kind_;
};

// Destroys a value as its kind does.
struct OwnValueDestroyer {
  void operator()(OwnValue* value) const noexcept { value->Kind().destroy(value); }
};
using OwnedValue = std::unique_ptr<OwnValue, OwnValueDestroyer>;

class OwnNumber : public OwnValue {
 public:
  double Get() const noexcept { return value_; }

 protected:
  OwnNumber(const OwnKind& kind, double value) noexcept : OwnValue(kind), value_(value) {}

 private:
  double value_;
};

class OwnString : public OwnValue {
 public:
  const char* Get() const noexcept { return text_.Text(); }
  const CZELStringAtom& Atom() const noexcept { return text_; }

 protected:
  OwnString(const OwnKind& kind, const char* text) : OwnValue(kind), text_(text) {}

 private:
  CZELStringAtom text_;
};

class OwnUnicodeString : public OwnValue {
 public:
  // Ended by a 0 unit.
  const std::uint16_t* Get() const noexcept { return units_.Get(); }
  // Without the terminating 0 unit.
  std::uint32_t Length() const noexcept { return count_ - 1; }

 protected:
  // Of `count` units, the terminating one included, which the class fills in.
  OwnUnicodeString(const OwnKind& kind, std::uint32_t count)
      : OwnValue(kind), count_(count), units_(count) {}
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
  OwnBinData(const OwnKind& kind, const char* typeName, std::uint32_t size)
      : OwnValue(kind), typeName_(typeName), buffer_(size), size_(size) {}
  const CZELStringAtom& TypeName() const noexcept { return typeName_; }
  void* Bytes() noexcept { return buffer_.Data(); }

 private:
  CZELStringAtom typeName_;
  SharedBuffer buffer_;
  std::uint32_t size_;
};

class OwnRawPointer : public OwnValue {
 public:
  void* GetRawPointer() const noexcept { return pointer_; }

 protected:
  OwnRawPointer(const OwnKind& kind, void* pointer) noexcept : OwnValue(kind), pointer_(pointer) {}

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
  using OwnComposite::OwnComposite;

  ZELInstance* slots_ = nullptr;  // of those below count_ each holds a reference, or null
  std::uint32_t capacity_ = 0;
  std::uint32_t count_ = 0;
};

class OwnDict : public OwnComposite {
 protected:
  using OwnComposite::OwnComposite;
};

}  // namespace ZEL_T_NMT
