// POS objects as typed values: any value, and the five kinds that hold no others. Programs include
// zelutils/client.hpp, which says how they are used.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iosfwd>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zelutils/client_base.hpp"
#include "zelutils/client_utf.hpp"

namespace zelutils {

class Element;

namespace detail {

// An object as a C++ type; `handle` is borrowed, null for nothing. In client_convert.hpp.
template <typename T>
T Read(const Client& client, ZELInstance handle);
template <typename T>
inline constexpr bool isView = std::is_same_v<T, std::string_view> || std::is_pointer_v<T>;
template <typename T>
inline constexpr bool isOptional = false;
template <typename T>
inline constexpr bool isOptional<std::optional<T>> = true;

ZELUTILS_COLD inline void ThrowMistyped(const Client& client, ZELInstance handle,
                                        POSObjectType wanted) {
  std::vector<std::string> reports = client.TakeReports();
  if (reports.empty()) return;
  if (handle == nullptr) throw NotFoundError("nothing there", std::move(reports));
  const auto found =
      static_cast<POSObjectType>(client.Procedures<ObjectInterface>().GetType(handle));
  if (found == 0) client.TakeReports();
  if (found != wanted) throw TypeError(KindName(wanted), KindName(found), std::move(reports));
  const std::string message = JoinReports(reports);
  throw Error(message, std::move(reports));
}

// Throws when something has been reported about an object that was used as of the wanted type.
inline void CheckType(const Client& client, ZELInstance handle, POSObjectType wanted) {
  if (!client.NothingReported()) ThrowMistyped(client, handle, wanted);
}

// Passes a result on; a neutral one is looked into.
template <typename Result>
Result OfType(const Client& client, ZELInstance handle, POSObjectType wanted, Result result) {
  if (result == Result()) CheckType(client, handle, wanted);
  return result;
}

// The same for a result that must be there.
template <typename Result>
Result* NotNull(const Client& client, ZELInstance handle, POSObjectType wanted, Result* result) {
  if (result == nullptr) [[unlikely]] {
    CheckType(client, handle, wanted);
    Throw("a procedure gave nothing");
  }
  return result;
}

}  // namespace detail

// Any POS object, or empty: what is found under an absent key, or in an empty array slot.
class Value : public Instance {
 public:
  using Instance::Instance;
  Value() noexcept = default;
  Value(const Value&) = default;
  Value(Value&&) noexcept = default;
  Value& operator=(const Value&) & = default;
  Value& operator=(Value&&) & noexcept = default;
  template <typename T>
  Value& operator=(const T& /*value*/) && {
    static_assert(
        detail::never<T>,
        "what was found is a copy, and assigning to it would change nothing: assign to an "
        "element, as in dict[key] = value");
    return *this;
  }
  ~Value() = default;

  POSObjectType Type() const {
    return static_cast<POSObjectType>(
        Owner().Checked(Procedures<ObjectInterface>().GetType(Handle())));
  }
  // Whether it is of a class below (Number, Array, ...); false when empty.
  template <typename T>
  bool Is() const {
    static_assert(std::is_base_of_v<Value, T> && !std::is_same_v<T, Value>,
                  "Is<T> asks for a class of values: Number, String, UnicodeString, BinData, "
                  "RawPointer, Array or Dict");
    return *this && Owner().Checked(T::IsType(Owner(), Handle()));
  }

  // The value as a C++ type; client_convert.hpp lists them. Throws TypeError when it is of another
  // type, RangeError when it does not fit, NotFoundError when it is empty.
  template <typename T>
  T As() const& {
    return detail::Read<T>(Owner(), Handle());
  }
  template <typename T>
  T As() const&& {
    static_assert(!detail::isView<T>,
                  "a view of a temporary value would outlive it: keep the value in a variable, or "
                  "ask for std::string");
    return detail::Read<T>(Owner(), Handle());
  }
  // The same, or `fallback` when empty; a text as std::string. A value of another type is an error.
  template <typename T>
  auto ValueOr(const T& fallback) const;

  // Members. The result can be read, looked into further, and assigned to; what is not there is an
  // error when it is read. A path is one such as "pages[2].size.width", or "[2].size" for an array.
  Element operator[](const Text& key) const;
  template <IndexType T>
  Element operator[](T index) const;
  Element DeepGet(const Text& path) const;
  // Makes the dictionaries and arrays that are missing on the way. An index may be the next one.
  template <typename T>
  void DeepPut(const Text& path, const T& value);
  void DeepPut(const Text& path, std::initializer_list<Input> list);
  // Closes the gap in an array; a path that leads nowhere is no error.
  void DeepRemove(const Text& path);

  // A deep copy; what cannot change is shared with the original.
  Value Clone() const {
    return Value(Owner(), Procedures<ObjectInterface>().Clone(Handle()), Handed::kAsked);
  }
  // Deep equality; an empty value equals an empty one only.
  friend bool operator==(const Value& left, const Value& right) {
    if (!left || !right) return !left && !right;
    return left.Owner().Checked(
        left.Procedures<ObjectInterface>().IsEqual(left.Handle(), right.Argument()));
  }

  // As a text that Parse reads back: on one line, or each member that is too long for one on lines
  // of its own, indented by so many blanks. Throws for what the text syntax cannot say.
  std::string ToText(std::size_t indentation = 0) const;
  // As JSON, in the same layouts. An empty slot is null; strings must be UTF-8. Throws for what
  // JSON cannot say.
  std::string ToJson(std::size_t indentation = 0) const;
  // The text on one line, with words in braces for what the text syntax cannot say.
  friend std::ostream& operator<<(std::ostream& stream, const Value& value);

 private:
  friend class Element;
  void PutAt(const std::string& path, Value value);
};

class Number : public Value {
 public:
  using Value::Value;
  static constexpr POSObjectType kType = POSTypeNumber;
  static bool IsType(const Client& client, ZELInstance handle) {
    return client.Procedures<NumberInterface>().IsPOSNumber(handle);
  }
  static double Get(const Client& client, ZELInstance handle) {
    return detail::OfType(client, handle, kType, client.Procedures<NumberInterface>().Get(handle));
  }
  double Get() const { return Get(Owner(), Handle()); }
};

// The result of Get and its like is borrowed from a value that has a name, and a copy from a
// temporary.

class String : public Value {
 public:
  using Value::Value;
  static constexpr POSObjectType kType = POSTypeString;
  static bool IsType(const Client& client, ZELInstance handle) {
    return client.Procedures<StringInterface>().IsPOSString(handle);
  }
  static const char* Get(const Client& client, ZELInstance handle) {
    return detail::NotNull(client, handle, kType, client.Procedures<StringInterface>().Get(handle));
  }
  std::string_view Get() const& { return Get(Owner(), Handle()); }
  std::string Get() const&& { return Get(Owner(), Handle()); }
};

class UnicodeString : public Value {
 public:
  using Value::Value;
  static constexpr POSObjectType kType = POSTypeUnicodeString;
  static bool IsType(const Client& client, ZELInstance handle) {
    return client.Procedures<UnicodeStringInterface>().IsPOSUnicodeString(handle);
  }
  static std::span<const std::uint16_t> Get(const Client& client, ZELInstance handle) {
    const std::uint16_t* units = detail::NotNull(
        client, handle, kType, client.Procedures<UnicodeStringInterface>().Get(handle));
    std::size_t count = 0;
    while (units[count] != 0) ++count;
    return {units, count};
  }
  // The 16-bit code units, without the 0 that ends them.
  std::span<const std::uint16_t> Get() const& { return Get(Owner(), Handle()); }
  std::vector<std::uint16_t> Get() const&& {
    const auto units = Get(Owner(), Handle());
    return {units.begin(), units.end()};
  }
  static std::u16string Units(const Client& client, ZELInstance handle) {
    const auto units = Get(client, handle);
    return {units.begin(), units.end()};
  }
  // Half of a surrogate pair alone becomes the replacement character, U+FFFD.
  std::string ToUtf8() const { return Utf8Of(Units(Owner(), Handle())); }
};

class BinData : public Value {
 public:
  using Value::Value;
  static constexpr POSObjectType kType = POSTypeBinData;
  static bool IsType(const Client& client, ZELInstance handle) {
    return client.Procedures<BinDataInterface>().IsPOSBinData(handle);
  }
  std::string_view TypeName() const& {
    return detail::NotNull(Owner(), Handle(), kType,
                           Procedures<BinDataInterface>().GetTypeName(Handle()));
  }
  std::string TypeName() const&& { return std::string(TypeName()); }
  std::span<const std::byte> Bytes() const& {
    const auto& procedures = Procedures<BinDataInterface>();
    const std::uint32_t size =
        detail::OfType(Owner(), Handle(), kType, procedures.GetSize(Handle()));
    const void* bytes = detail::OfType(Owner(), Handle(), kType, procedures.GetBinData(Handle()));
    return {static_cast<const std::byte*>(bytes), bytes == nullptr ? 0 : size};
  }
  std::vector<std::byte> Bytes() const&& {
    const auto bytes = Bytes();
    return {bytes.begin(), bytes.end()};
  }
};

class RawPointer : public Value {
 public:
  using Value::Value;
  static constexpr POSObjectType kType = POSTypeRawPointer;
  static bool IsType(const Client& client, ZELInstance handle) {
    return client.Procedures<RawPointerInterface>().IsPOSRawPointer(handle);
  }
  void* Get() const {
    return detail::OfType(Owner(), Handle(), kType,
                          Procedures<RawPointerInterface>().GetRawPointer(Handle()));
  }
  POSRawPointerReleaseProc ReleaseProc() const {
    return detail::OfType(Owner(), Handle(), kType,
                          Procedures<RawPointerInterface>().GetReleaseProc(Handle()));
  }
};

// ---- Made by the client -----------------------------------------------------------------------

inline Number Client::NewNumber(double value) const {
  return {*this, Procedures<NumberInterface>().NewPOSNumber(value), Handed::kNew};
}

inline String Client::NewString(const Text& text) const {
  return {*this, Procedures<StringInterface>().NewPOSString(text.CString()), Handed::kNew};
}

inline UnicodeString Client::NewUnicodeString(const Units& units) const {
  std::vector<std::uint16_t> ended(units.View().begin(), units.View().end());
  ended.push_back(0);
  return {*this, Procedures<UnicodeStringInterface>().NewPOSUnicodeString(ended.data()),
          Handed::kNew};
}

inline UnicodeString Client::NewUnicodeString(const Text& utf8) const {
  return NewUnicodeString(UnitsOf(utf8.CString()));
}

inline BinData Client::NewBinData(const Text& typeName, std::span<const std::byte> bytes) const {
  return {*this,
          Procedures<BinDataInterface>().NewPOSBinData(typeName.CString(), bytes.data(),
                                                       Size(bytes.size())),
          Handed::kNew};
}

inline RawPointer Client::NewRawPointer(void* pointer, POSRawPointerReleaseProc release) const {
  return {*this, Procedures<RawPointerInterface>().NewPOSRawPointer(pointer, release),
          Handed::kNew};
}

}  // namespace zelutils
