// Arrays and dictionaries, and the iterators over them. Programs include zelutils/client.hpp, which
// says how they are used.
#pragma once

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <ranges>
#include <string>
#include <string_view>
#include <utility>

#include "zelutils/client_input.hpp"
#include "zelutils/text_errors.hpp"

namespace zelutils {

class Array : public Value {
 public:
  using Value::Value;
  static constexpr POSObjectType kType = POSTypeArray;
  static bool IsType(const Client& client, ZELInstance handle) {
    return client.Procedures<ArrayInterface>().IsPOSArray(handle);
  }

  std::uint32_t Count() const {
    return detail::OfType(Owner(), Handle(), kType, Procedures<ArrayInterface>().Count(Handle()));
  }
  std::size_t size() const { return Count(); }
  [[nodiscard]] bool empty() const { return Count() == 0; }

  // Empty beyond the end and for an empty slot.
  template <IndexType T>
  Value GetAt(T index) const {
    const std::optional<std::uint32_t> place = FindableIndex(index);
    return {Owner(), place ? BorrowAt(*place) : nullptr};
  }
  // The same without a reference: held by the array alone.
  ZELInstance BorrowAt(std::uint32_t index) const {
    return detail::OfType(Owner(), Handle(), kType,
                          Procedures<ArrayInterface>().GetAt(Handle(), index));
  }
  // Beyond the end, the slots in between stay empty.
  template <IndexType I, typename T>
  void SetAt(I index, const T& value) {
    const std::uint32_t place = StorableIndex(index);
    WithHandle(value, [&](ZELInstance handle) {
      Procedures<ArrayInterface>().SetAt(Handle(), place, handle);
    });
  }
  template <IndexType I>
  void SetAt(I index, std::initializer_list<Input> list) {
    SetAt(index, Owner().New(list));
  }
  template <typename T>
  void Append(const T& value) {
    WithHandle(value,
               [&](ZELInstance handle) { Procedures<ArrayInterface>().Append(Handle(), handle); });
  }
  void Append(std::initializer_list<Input> list) { Append(Owner().New(list)); }
  // Closes the gap; does nothing beyond the end.
  template <IndexType T>
  void Remove(T index) {
    const std::optional<std::uint32_t> place = FindableIndex(index);
    if (!place) return;
    Procedures<ArrayInterface>().Remove(Handle(), *place);
    detail::CheckType(Owner(), Handle(), kType);
  }

  class Iterator;
  Iterator begin() const;
  Iterator end() const;

 private:
  template <typename T, typename Call>
  void WithHandle(const T& value, Call call) {
    if constexpr (std::is_base_of_v<Value, T>) {
      call(value.Argument());
    } else {
      call(Owner().New(value).Handle());
    }
    detail::CheckType(Owner(), Handle(), kType);
  }
};

// A random-access iterator that gives values. It holds the array; the end lies where the array
// ends when it is looked at, so that elements appended meanwhile are visited too.
class Array::Iterator {
 public:
  using iterator_concept = std::random_access_iterator_tag;
  using iterator_category = std::input_iterator_tag;
  using value_type = Value;
  using reference = Value;
  using pointer = void;
  using difference_type = std::int64_t;

  Iterator() = default;
  Value operator*() const { return array_.GetAt(Position()); }
  Value operator[](difference_type offset) const { return *(*this + offset); }

  Iterator& operator+=(difference_type offset) {
    position_ = Position() + offset;
    return *this;
  }
  Iterator& operator-=(difference_type offset) { return *this += -offset; }
  Iterator& operator++() { return *this += 1; }
  Iterator& operator--() { return *this += -1; }
  Iterator operator++(int) {
    Iterator before = *this;
    ++*this;
    return before;
  }
  Iterator operator--(int) {
    Iterator before = *this;
    --*this;
    return before;
  }
  friend Iterator operator+(Iterator left, difference_type right) { return left += right; }
  friend Iterator operator+(difference_type left, Iterator right) { return right += left; }
  friend Iterator operator-(Iterator left, difference_type right) { return left -= right; }
  friend difference_type operator-(const Iterator& left, const Iterator& right) {
    return left.Position() - right.Position();
  }
  friend bool operator==(const Iterator& left, const Iterator& right) {
    // Elements may have been removed before a position.
    if (left.position_ == kEnd) return right.IsAtEnd();
    if (right.position_ == kEnd) return left.IsAtEnd();
    return left.position_ == right.position_;
  }
  friend std::strong_ordering operator<=>(const Iterator& left, const Iterator& right) {
    return left.Position() <=> right.Position();
  }

 private:
  friend class Array;
  static constexpr difference_type kEnd = -1;
  Iterator(Array array, difference_type position) : array_(std::move(array)), position_(position) {}
  bool IsAtEnd() const { return position_ == kEnd || position_ >= Count(); }
  difference_type Count() const { return array_ ? difference_type{array_.Count()} : 0; }
  difference_type Position() const { return position_ == kEnd ? Count() : position_; }

  Array array_;
  difference_type position_ = kEnd;
};
inline Array::Iterator Array::begin() const { return {*this, 0}; }
inline Array::Iterator Array::end() const { return {*this, Iterator::kEnd}; }

class Dict : public Value {
 public:
  using Value::Value;
  static constexpr POSObjectType kType = POSTypeDict;
  static bool IsType(const Client& client, ZELInstance handle) {
    return client.Procedures<DictInterface>().IsPOSDict(handle);
  }

  // The value under a key; empty when the key is absent.
  Value Find(const Atom& key) const {
    const ZELInstance found = Procedures<DictInterface>().Get(Handle(), key.Argument());
    return {Owner(), detail::OfType(Owner(), Handle(), kType, found)};
  }
  Value Find(const Text& key) const { return Find(Atom(Owner(), key)); }
  Value Get(const Atom& key) const { return Find(key); }
  Value Get(const Text& key) const { return Find(key); }
  bool Contains(const Text& key) const { return static_cast<bool>(Find(key)); }
  // An empty std::optional takes the key out.
  template <typename T>
  void Put(const Atom& key, const T& value) {
    if constexpr (detail::isOptional<T>) {
      value ? Put(key, *value) : Remove(key);
    } else if constexpr (std::is_base_of_v<Value, T>) {
      Procedures<DictInterface>().Put(Handle(), key.Argument(), value.Argument());
      detail::CheckType(Owner(), Handle(), kType);
    } else {
      Put(key, Owner().New(value));
    }
  }
  template <typename T>
  void Put(const Text& key, const T& value) {
    Put(Atom(Owner(), key), value);
  }
  void Put(const Atom& key, std::initializer_list<Input> list) { Put(key, Owner().New(list)); }
  void Put(const Text& key, std::initializer_list<Input> list) { Put(key, Owner().New(list)); }
  // An absent key is no error.
  void Remove(const Atom& key) {
    Procedures<DictInterface>().Remove(Handle(), key.Argument());
    detail::CheckType(Owner(), Handle(), kType);
  }
  void Remove(const Text& key) { Remove(Atom(Owner(), key)); }

  // Counting walks over the keys.
  std::uint32_t Count() const;
  std::size_t size() const { return Count(); }
  [[nodiscard]] bool empty() const;

  using Entry = std::pair<std::string, Value>;

  class Iterator;
  Iterator begin() const;
  Iterator end() const;
};

// A forward iterator over the entries, keys in ascending order of their bytes, whatever is put
// and removed meanwhile. It holds the dictionary. A copy stands at the same key and goes its own
// way from there; to find that, its first step walks from the start.
class Dict::Iterator {
 public:
  using iterator_concept = std::forward_iterator_tag;
  using iterator_category = std::input_iterator_tag;
  using value_type = Entry;
  using reference = Entry;
  using pointer = void;
  using difference_type = std::ptrdiff_t;

  Iterator() = default;
  Iterator(const Iterator& other) : dict_(other.dict_), key_(other.key_) {}
  Iterator(Iterator&&) noexcept = default;
  Iterator& operator=(const Iterator& other) { return *this = Iterator(other); }
  Iterator& operator=(Iterator&&) noexcept = default;
  ~Iterator() = default;

  Entry operator*() const {
    if (!key_) throw Error("no current key");
    return {*key_, dict_.Find(key_->c_str())};
  }
  Iterator& operator++() {
    if (!key_) throw Error("no current key");
    if (iterator_) {
      Step();
      return *this;
    }
    const std::string left = *key_;
    Start();
    while (key_ && *key_ <= left) Step();
    return *this;
  }
  Iterator operator++(int) {
    Iterator before = *this;
    ++*this;
    return before;
  }
  friend bool operator==(const Iterator& left, const Iterator& right) {
    return left.key_ == right.key_;
  }
  bool IsDone() const { return !key_; }

 private:
  friend class Dict;
  explicit Iterator(Dict dict) : dict_(std::move(dict)) { Start(); }
  void Start() {
    iterator_ = Instance(
        dict_.Owner(), dict_.Procedures<DictIteratorInterface>().NewPOSDictIterator(dict_.Handle()),
        Handed::kNew);
    Read();
  }
  void Step() {
    dict_.Procedures<DictIteratorInterface>().Next(iterator_.Handle());
    dict_.Owner().Check();
    Read();
  }
  void Read() {
    const char* key =
        dict_.Owner().Checked(dict_.Procedures<DictIteratorInterface>().CurKey(iterator_.Handle()));
    if (key == nullptr) {
      key_.reset();
    } else if (key_) {
      key_->assign(key);
    } else {
      key_.emplace(key);
    }
  }

  Dict dict_;
  Instance iterator_;               // none in a copy that has made no step yet
  std::optional<std::string> key_;  // none at the end
};
inline Dict::Iterator Dict::begin() const { return Iterator(*this); }
inline Dict::Iterator Dict::end() const { return {}; }
inline bool Dict::empty() const { return begin().IsDone(); }
inline std::uint32_t Dict::Count() const {
  std::uint32_t count = 0;
  for (Iterator at = begin(); !at.IsDone(); ++at) ++count;
  return count;
}

// ---- Made by the client -----------------------------------------------------------------------

inline Array Client::NewArray() const {
  return {*this, Procedures<ArrayInterface>().NewPOSArray(), Handed::kNew};
}

inline Array Client::NewArray(std::initializer_list<Input> elements) const {
  Array array = NewArray();
  for (const Input& element : elements) array.Append(element);
  return array;
}

inline Dict Client::NewDict() const {
  return {*this, Procedures<DictInterface>().NewPOSDict(), Handed::kNew};
}

inline Dict Client::NewDict(std::initializer_list<Member> members) const {
  Dict dict = NewDict();
  for (const Member& member : members) dict.Put(member.key, member.value);
  return dict;
}

template <typename T>
Value detail::ArrayOf(const Client& client, const T& elements) {
  Array array = client.NewArray();
  for (const auto& element : elements) {
    array.Append(static_cast<const std::ranges::range_value_t<T>&>(element));
  }
  return array;
}

template <typename T>
Value detail::DictOf(const Client& client, const T& members) {
  Dict dict = client.NewDict();
  for (const auto& [key, member] : members) dict.Put(std::string_view(key), member);
  return dict;
}

inline Value Input::Make(const Client& client) const {
  if (const auto* number = std::get_if<double>(&content_)) return client.NewNumber(*number);
  if (const auto* text = std::get_if<std::string>(&content_)) return client.NewString(*text);
  if (const auto* units = std::get_if<std::u16string>(&content_)) {
    return client.NewUnicodeString(*units);
  }
  if (const auto* later = std::get_if<Later>(&content_)) return (*later)(client);
  const auto& list = std::get<std::vector<Input>>(content_);
  if (list.empty()) {
    throw Error("{} may be an array or a dictionary: use NewArray() or NewDict()");
  }
  if (!std::all_of(list.begin(), list.end(), IsPair)) return detail::ArrayOf(client, list);
  Dict dict = client.NewDict();
  for (const Input& pair : list) {
    const auto& members = std::get<std::vector<Input>>(pair.content_);
    dict.Put(std::get<std::string>(members[0].content_), members[1]);
  }
  return dict;
}

inline Value Client::Parse(const Text& text, const std::string& name) const {
  const char* position = nullptr;
  const ZELInstance handle =
      Procedures<ObjectStaticsInterface>().CreateFromText(text.CString(), &position);
  if (handle == nullptr && position != nullptr) {
    const auto stop = static_cast<std::size_t>(position - text.CString());
    const TextFinding fault = ExplainTextError(text.CString(), stop);
    const LineColumn place = TextLines(text.CString()).Locate(fault.position);
    throw ParseError(name, place.line, place.column, fault.message, stop);
  }
  return {*this, handle, Handed::kNew};
}

}  // namespace zelutils

// Counting the entries takes a walk, which a range's size must not.
template <>
inline constexpr bool std::ranges::disable_sized_range<zelutils::Dict> = true;
