// Members of arrays and dictionaries by key, index or path, for reading and for assignment.
// Programs include zelutils/client.hpp, which says how they are used.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "zelutils/client_values.hpp"

namespace zelutils {

// A place in a value: the member under a key, an index or a path. It holds the array or dictionary
// that the member is in, and looks the member up each time it is read. Errors tell the whole path
// of the expression that it came from.
class Element {
 public:
  Element(const Element&) = default;
  Element(Element&&) noexcept = default;
  ~Element() = default;

  // The member. Find gives an empty value where there is none; the conversion throws NotFoundError
  // then, but for a path from DeepGet, which converts to an empty value.
  Value Find() const {
    return Told([&] { return Value(Owner(), Lookup()); });
  }
  operator Value() const {  // NOLINT(google-explicit-constructor)
    return step_ == Step::kPath ? Find() : Existing();
  }
  explicit operator bool() const { return static_cast<bool>(Find()); }

  // As of the member. An absent one may be asked for as a std::optional.
  template <typename T>
  T As() const {
    static_assert(!detail::isView<T>,
                  "a view of a member may outlive it: keep the member in a Value, or ask for "
                  "std::string");
    return Told([&] {
      const ZELInstance found = Lookup();
      if constexpr (!detail::isOptional<T>) {
        if (found == nullptr) ThrowNotFound();
      }
      return detail::Read<T>(Owner(), found);
    });
  }
  template <typename T>
  auto ValueOr(const T& fallback) const {
    return Told([&] { return Find().ValueOr(fallback); });
  }
  template <typename T>
  bool Is() const {
    return Find().Is<T>();
  }
  POSObjectType Type() const { return Existing().Type(); }
  Value Clone() const { return Existing().Clone(); }
  std::string ToText(std::size_t indentation = 0) const {
    return Told([&] { return Existing().ToText(indentation); });
  }
  std::string ToJson(std::size_t indentation = 0) const {
    return Told([&] { return Existing().ToJson(indentation); });
  }
  friend bool operator==(const Element& left, const Value& right) { return left.Find() == right; }
  friend bool operator==(const Element& left, const Element& right) { return left == right.Find(); }
  friend std::ostream& operator<<(std::ostream& stream, const Element& element) {
    return stream << element.Find();
  }

  // Further in. Members of an absent member are absent.
  Element operator[](const Text& key) const& { return Further(Path(), key, Step::kKey); }
  Element operator[](const Text& key) && {
    return Further(std::move(*this).Path(), key, Step::kKey);
  }
  template <IndexType T>
  Element operator[](T index) const& {
    return Further(Path(), FindableIndex(index));
  }
  template <IndexType T>
  Element operator[](T index) && {
    return Further(std::move(*this).Path(), FindableIndex(index));
  }
  Element DeepGet(const Text& path) const& { return Further(Path(), path, Step::kPath); }
  Element DeepGet(const Text& path) && {
    return Further(std::move(*this).Path(), path, Step::kPath);
  }

  // Assignment stores into the array or dictionary. A key or an index may be new (slots before it
  // stay empty), and a path stores as DeepPut does.
  template <typename T>
  Element& operator=(const T& value) {
    Store(Owner().New(value));
    return *this;
  }
  Element& operator=(std::initializer_list<Input> list);
  // Stores what the other one stands for.
  Element& operator=(const Element& other) {  // NOLINT(bugprone-unhandled-self-assignment)
    Store(other.Existing());
    return *this;
  }
  // Takes the member out, if there is one; an array closes the gap.
  void Remove();

  // "pages[0].width"
  std::string Path() const& { return Extended(trail_); }
  std::string Path() && { return Extended(std::move(trail_)); }

 private:
  friend class Value;
  enum class Step : std::uint8_t { kKey, kIndex, kPath };

  template <typename Container>
  Element(Container&& container, const Text& name, Step step)
      : container_(std::forward<Container>(container)),
        name_(Owner(), name),
        step_(step),
        beginsWithIndex_(*name.CString() == '[') {}
  template <typename Container>
  Element(Container&& container, std::optional<std::uint32_t> index)
      : container_(std::forward<Container>(container)), index_(index), step_(Step::kIndex) {}
  // A step further, from the member found or from the last value on the way to it. The path is that
  // of this element.
  template <typename... Step>
  Element Further(std::string path, const Step&... step) const {
    const ZELInstance found = Lookup();
    Element further(found == nullptr ? container_ : Value(Owner(), found), step...);
    further.isBeyond_ = found == nullptr;
    further.reached_ = found == nullptr ? reached_ : path.size();
    further.trail_ = std::move(path);
    return further;
  }

  const Client& Owner() const { return container_.Owner(); }
  // The path of this element, of the one to it.
  std::string Extended(std::string trail) const;

  // The member's handle, borrowed; null where there is none.
  ZELInstance Lookup() const {
    if (isBeyond_) return nullptr;
    if (step_ == Step::kKey) {
      const ZELInstance found =
          Owner().Procedures<DictInterface>().Get(container_.Handle(), name_.Handle());
      return found != nullptr ? found : Absent(POSTypeDict);
    }
    return step_ == Step::kIndex ? LookupIndex() : LookupPath();
  }
  ZELInstance LookupIndex() const {
    if (!index_) return nullptr;
    const ZELInstance found =
        Owner().Procedures<ArrayInterface>().GetAt(container_.Handle(), *index_);
    return found != nullptr ? found : Absent(POSTypeArray);
  }
  ZELInstance LookupPath() const;
  Value Existing() const {
    return Told([&] {
      const ZELInstance found = Lookup();
      if (found == nullptr) ThrowNotFound();
      return Value(Owner(), found);
    });
  }
  [[noreturn]] void ThrowNotFound() const;
  // Null. A report about a container of another kind means that nothing is there; others are
  // thrown.
  ZELInstance Absent(POSObjectType wanted) const {
    if (!Owner().NothingReported()) CheckReports(wanted);
    return nullptr;
  }
  ZELUTILS_COLD void CheckReports(POSObjectType wanted) const {
    if (container_.Type() == wanted) Owner().Check();
    Owner().TakeReports();
  }
  void Store(const Value& value);
  void StoreNext(const Value& value);

  // Puts the path of this element before errors about what it stands for.
  template <typename Action>
  std::invoke_result_t<Action> Told(Action action) const {
    try {
      return action();
    } catch (Error& error) {
      error.PutUnder(Path());
      throw;
    }
  }

  Value container_;    // the last value that was reached
  Atom name_;          // a key or a path
  std::string trail_;  // the path up to this element
  std::optional<std::uint32_t> index_;
  Step step_;
  bool beginsWithIndex_ = false;  // the name
  bool isBeyond_ = false;         // the path ended before this element
  std::size_t reached_ = 0;       // how much of the trail leads to the container
};

// ---- Value's members --------------------------------------------------------------------------

inline Element Value::operator[](const Text& key) const {
  return {*this, key, Element::Step::kKey};
}

template <IndexType T>
Element Value::operator[](T index) const {
  return {*this, FindableIndex(index)};
}

inline Element Value::DeepGet(const Text& path) const {
  return {*this, path, Element::Step::kPath};
}

}  // namespace zelutils
