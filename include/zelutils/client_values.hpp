// POS objects as typed values. Programs include zelutils/client.hpp, which says how they are used.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "zelutils/client_base.hpp"

namespace zelutils {

// Any POS object, or empty: what is found under an absent key, or in an empty array slot.
class Value : public Instance {
 public:
  using Instance::Instance;

  POSObjectType Type() const {
    return static_cast<POSObjectType>(
        Owner().Checked(Procedures<ObjectProcedures>().GetType(Handle())));
  }
  // Whether it is of a class below; false when empty.
  template <typename T>
  bool Is() const {
    return *this && Owner().Checked(T::IsType(Owner(), Handle()));
  }
  // The value as one of the classes below, or as double, std::string or std::u16string. Throws when
  // it is of another type or empty.
  template <typename T>
  T As() const;
  // A deep copy; what cannot change is shared with the original.
  Value Clone() const {
    const ZELInstance clone = Procedures<ObjectProcedures>().Clone(Handle());
    return Value(Owner(), clone, clone == Handle() && *this ? Handed::kHeld : Handed::kNew);
  }
  // Deep equality; an empty value equals an empty one only.
  friend bool operator==(const Value& left, const Value& right) {
    if (!left || !right) return !left && !right;
    return left.Owner().Checked(
        left.Procedures<ObjectProcedures>().IsEqual(left.Handle(), right.Handle()));
  }
};

class Number : public Value {
 public:
  using Value::Value;
  static bool IsType(const Client& client, ZELInstance handle) {
    return client.Procedures<NumberProcedures>().IsPOSNumber(handle);
  }
  double Get() const { return As<double>(); }
};

class String : public Value {
 public:
  using Value::Value;
  static bool IsType(const Client& client, ZELInstance handle) {
    return client.Procedures<StringProcedures>().IsPOSString(handle);
  }
  std::string_view Get() const { return Get(Owner(), Handle()); }

 private:
  friend class Value;
  static std::string_view Get(const Client& client, ZELInstance handle) {
    const char* text = client.Procedures<StringProcedures>().Get(handle);
    if (text == nullptr) client.Fail("no text");
    return text;
  }
};

class UnicodeString : public Value {
 public:
  using Value::Value;
  static bool IsType(const Client& client, ZELInstance handle) {
    return client.Procedures<UnicodeStringProcedures>().IsPOSUnicodeString(handle);
  }
  // The 16-bit code units, without the 0 that ends them.
  std::span<const std::uint16_t> Get() const { return Get(Owner(), Handle()); }
  // Half of a surrogate pair alone becomes the replacement character, U+FFFD.
  std::string ToUtf8() const;

 private:
  friend class Value;
  static std::span<const std::uint16_t> Get(const Client& client, ZELInstance handle) {
    const std::uint16_t* units = client.Procedures<UnicodeStringProcedures>().Get(handle);
    if (units == nullptr) client.Fail("no units");
    std::size_t count = 0;
    while (units[count] != 0) ++count;
    return {units, count};
  }
};

class BinData : public Value {
 public:
  using Value::Value;
  static bool IsType(const Client& client, ZELInstance handle) {
    return client.Procedures<BinDataProcedures>().IsPOSBinData(handle);
  }
  std::string_view TypeName() const {
    const char* name = Procedures<BinDataProcedures>().GetTypeName(Handle());
    if (name == nullptr) Owner().Fail("no type name");
    return name;
  }
  std::span<const std::byte> Bytes() const {
    const auto& procedures = Procedures<BinDataProcedures>();
    const std::uint32_t size = Owner().Checked(procedures.GetSize(Handle()));
    const void* bytes = Owner().Checked(procedures.GetBinData(Handle()));
    return {static_cast<const std::byte*>(bytes), bytes == nullptr ? 0 : size};
  }
};

class RawPointer : public Value {
 public:
  using Value::Value;
  static bool IsType(const Client& client, ZELInstance handle) {
    return client.Procedures<RawPointerProcedures>().IsPOSRawPointer(handle);
  }
  void* Get() const {
    return Owner().Checked(Procedures<RawPointerProcedures>().GetRawPointer(Handle()));
  }
  POSRawPointerReleaseProc ReleaseProc() const {
    return Owner().Checked(Procedures<RawPointerProcedures>().GetReleaseProc(Handle()));
  }
};

class Array : public Value {
 public:
  using Value::Value;
  static bool IsType(const Client& client, ZELInstance handle) {
    return client.Procedures<ArrayProcedures>().IsPOSArray(handle);
  }

  std::uint32_t Count() const {
    return Owner().Checked(Procedures<ArrayProcedures>().Count(Handle()));
  }
  // Empty beyond the end and for an empty slot.
  Value GetAt(std::uint32_t index) const {
    return {Owner(), Owner().Checked(Procedures<ArrayProcedures>().GetAt(Handle(), index))};
  }
  // Throws for those.
  Value operator[](std::uint32_t index) const {
    Value found = GetAt(index);
    if (!found) throw Error("nothing at index " + std::to_string(index));
    return found;
  }
  void SetAt(std::uint32_t index, const Value& value) {
    Procedures<ArrayProcedures>().SetAt(Handle(), index, value.Handle());
    Owner().Check();
  }
  void SetAt(std::uint32_t index, const Input& input) { SetAt(index, Owner().New(input)); }
  void Append(const Value& value) {
    Procedures<ArrayProcedures>().Append(Handle(), value.Handle());
    Owner().Check();
  }
  void Append(const Input& input) { Append(Owner().New(input)); }
  // Closes the gap; does nothing beyond the end.
  void Remove(std::uint32_t index) {
    Procedures<ArrayProcedures>().Remove(Handle(), index);
    Owner().Check();
  }

  // Range-for over the elements by index; those appended meanwhile are visited too.
  class Iterator {
   public:
    explicit Iterator(const Array& array) : array_(&array) {}
    Value operator*() const { return array_->GetAt(index_); }
    Iterator& operator++() {
      ++index_;
      return *this;
    }
    bool operator==(std::default_sentinel_t) const { return index_ >= array_->Count(); }

   private:
    const Array* array_;
    std::uint32_t index_ = 0;
  };
  Iterator begin() const { return Iterator(*this); }
  std::default_sentinel_t end() const { return {}; }
};

class Dict : public Value {
 public:
  using Value::Value;
  static bool IsType(const Client& client, ZELInstance handle) {
    return client.Procedures<DictProcedures>().IsPOSDict(handle);
  }

  // Empty when the key is absent.
  Value Get(const Atom& key) const {
    return {Owner(), Owner().Checked(Procedures<DictProcedures>().Get(Handle(), key.Handle()))};
  }
  Value Get(const Text& key) const { return Get(Atom(Owner(), key)); }
  // Throws when the key is absent.
  Value operator[](const Text& key) const {
    Value found = Get(key);
    if (!found) throw Error(std::string("no key \"") + key.CString() + '"');
    return found;
  }
  bool Contains(const Text& key) const { return static_cast<bool>(Get(key)); }
  // What a path such as "pages[2].size.width" leads to; empty when it leads nowhere.
  Value DeepGet(const Text& path) const {
    const Atom atom(Owner(), path);
    return {Owner(),
            Owner().Checked(Procedures<DictProcedures>().DeepGet(Handle(), atom.Handle()))};
  }
  void Put(const Atom& key, const Value& value) {
    Procedures<DictProcedures>().Put(Handle(), key.Handle(), value.Handle());
    Owner().Check();
  }
  void Put(const Atom& key, const Input& input) { Put(key, Owner().New(input)); }
  void Put(const Text& key, const Value& value) { Put(Atom(Owner(), key), value); }
  void Put(const Text& key, const Input& input) { Put(key, Owner().New(input)); }
  // An absent key is no error.
  void Remove(const Text& key) {
    Procedures<DictProcedures>().Remove(Handle(), Atom(Owner(), key).Handle());
    Owner().Check();
  }

  struct Entry {
    std::string_view key;  // valid until the iterator moves
    Value value;
  };
  // Range-for over the entries, keys in ascending order of their bytes.
  class Iterator {
   public:
    explicit Iterator(const Dict& dict)
        : dict_(&dict),
          iterator_(dict.Owner(),
                    dict.Procedures<DictIteratorProcedures>().NewPOSDictIterator(dict.Handle()),
                    Handed::kNew) {}
    Entry operator*() const {
      const char* key = Procedures().CurKey(iterator_.Handle());
      if (key == nullptr) dict_->Owner().Fail("no current key");
      return {key, dict_->Get(key)};
    }
    Iterator& operator++() {
      Procedures().Next(iterator_.Handle());
      dict_->Owner().Check();
      return *this;
    }
    bool operator==(std::default_sentinel_t) const {
      return dict_->Owner().Checked(Procedures().IsDone(iterator_.Handle()), true);
    }

   private:
    const DictIteratorProcedures& Procedures() const {
      return dict_->Procedures<DictIteratorProcedures>();
    }
    const Dict* dict_;
    Instance iterator_;
  };
  Iterator begin() const { return Iterator(*this); }
  std::default_sentinel_t end() const { return {}; }
};

template <typename T>
T Value::As() const {
  if constexpr (std::is_same_v<T, double>) {
    return Owner().Checked(Procedures<NumberProcedures>().Get(Handle()));
  } else if constexpr (std::is_same_v<T, std::string>) {
    return std::string(String::Get(Owner(), Handle()));
  } else if constexpr (std::is_same_v<T, std::u16string>) {
    const auto units = UnicodeString::Get(Owner(), Handle());
    return std::u16string(units.begin(), units.end());
  } else {
    if (!Is<T>()) throw Error("the value is of another type");
    return T(Owner(), Handle());
  }
}

inline std::string UnicodeString::ToUtf8() const {
  const auto units = Get();
  std::string text;
  for (std::size_t i = 0; i < units.size(); ++i) {
    char32_t codePoint = units[i];
    if (codePoint >= 0xD800 && codePoint < 0xE000) {
      const char32_t next = i + 1 < units.size() ? units[i + 1] : 0;
      const bool isPair = codePoint < 0xDC00 && next >= 0xDC00 && next < 0xE000;
      codePoint = isPair ? 0x10000 + ((codePoint - 0xD800) << 10) + (next - 0xDC00) : 0xFFFD;
      if (isPair) ++i;
    }
    if (codePoint < 0x80) {
      text += static_cast<char>(codePoint);
      continue;
    }
    const unsigned trailing = codePoint < 0x800 ? 1 : codePoint < 0x10000 ? 2 : 3;
    text += static_cast<char>((0xFF00U >> (trailing + 1) & 0xFF) | codePoint >> (6 * trailing));
    for (unsigned left = trailing; left-- > 0;) {
      text += static_cast<char>(0x80 | (codePoint >> (6 * left) & 0x3F));
    }
  }
  return text;
}

// ---- What the client makes of them ------------------------------------------------------------

inline Number Client::NewNumber(double value) const {
  return {*this, Procedures<NumberProcedures>().NewPOSNumber(value), Handed::kNew};
}

inline String Client::NewString(const Text& text) const {
  return {*this, Procedures<StringProcedures>().NewPOSString(text.CString()), Handed::kNew};
}

inline UnicodeString Client::NewUnicodeString(std::u16string_view units) const {
  if (units.find(u'\0') != units.npos) throw Error("a text must not hold a NUL");
  std::vector<std::uint16_t> ended(units.begin(), units.end());
  ended.push_back(0);
  return {*this, Procedures<UnicodeStringProcedures>().NewPOSUnicodeString(ended.data()),
          Handed::kNew};
}

inline BinData Client::NewBinData(const Text& typeName, std::span<const std::byte> bytes) const {
  return {*this,
          Procedures<BinDataProcedures>().NewPOSBinData(typeName.CString(), bytes.data(),
                                                        Size(bytes.size())),
          Handed::kNew};
}

inline RawPointer Client::NewRawPointer(void* pointer, POSRawPointerReleaseProc release) const {
  return {*this, Procedures<RawPointerProcedures>().NewPOSRawPointer(pointer, release),
          Handed::kNew};
}

inline Array Client::NewArray(std::initializer_list<Input> elements) const {
  Array array(*this, Procedures<ArrayProcedures>().NewPOSArray(), Handed::kNew);
  for (const Input& element : elements) array.Append(element);
  return array;
}

inline Dict Client::NewDict(std::initializer_list<std::pair<Text, Input>> members) const {
  Dict dict(*this, Procedures<DictProcedures>().NewPOSDict(), Handed::kNew);
  for (const auto& [key, value] : members) dict.Put(key, value);
  return dict;
}

inline Value Client::New(const Input& input) const {
  const auto& content = input.content_;
  if (const auto* number = std::get_if<double>(&content)) return NewNumber(*number);
  if (const auto* text = std::get_if<Text>(&content)) return NewString(*text);
  if (const auto* units = std::get_if<std::u16string_view>(&content)) {
    return NewUnicodeString(*units);
  }
  return *std::get<const Value*>(content);
}

inline Value Client::Parse(const Text& text) const {
  const char* position = nullptr;
  const ZELInstance handle =
      Procedures<StaticsProcedures>().CreateFromText(text.CString(), &position);
  if (handle == nullptr && position != nullptr) {
    throw ParseError(static_cast<std::size_t>(position - text.CString()));
  }
  return {*this, handle, Handed::kNew};
}

}  // namespace zelutils
