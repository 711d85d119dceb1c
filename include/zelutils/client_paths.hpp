// Paths through nested values: lookup, storing and removal, and how far one leads that does not
// arrive. Programs include zelutils/client.hpp.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "zelutils/client_containers.hpp"

namespace zelutils {

namespace detail {

// A step of a path: a key, or an index (none for one that no array reaches).
using PathStep = std::variant<std::string, std::optional<std::uint32_t>>;

// The digits of a subscript as an index.
inline std::optional<std::uint32_t> IndexOf(std::string_view digits) {
  std::uint64_t index = 0;
  for (const char digit : digits) {
    index = index * 10 + static_cast<std::uint64_t>(digit - '0');
    if (!FindableIndex(index)) return {};
  }
  return FindableIndex(index);
}

// The steps of a path such as "pages[2].size.width"; none for a malformed one. Only a path from an
// array begins with a subscript.
inline std::optional<std::vector<PathStep>> ParsePath(std::string path, bool isFromArray) {
  if (!path.starts_with('.') && !(isFromArray && path.starts_with('['))) path.insert(0, 1, '.');
  std::vector<PathStep> steps;
  for (std::size_t at = 0; at < path.size();) {
    const std::size_t begin = at + 1;
    if (path[at] == '.') {
      at = std::min(path.find_first_of(".[", begin), path.size());
      steps.emplace_back(path.substr(begin, at - begin));
    } else {
      const std::size_t end = path.find_first_not_of("0123456789", begin);
      if (path[at] != '[' || end == begin || end == path.npos || path[end] != ']') return {};
      steps.emplace_back(IndexOf(std::string_view(path).substr(begin, end - begin)));
      at = end + 1;
    }
  }
  return steps;
}

inline std::string StepText(const PathStep& step) {
  if (const auto* key = std::get_if<std::string>(&step)) return *key;
  const auto index = std::get<std::optional<std::uint32_t>>(step);
  return '[' + (index ? std::to_string(*index) : "...") + ']';
}

inline Element At(const Value& container, const PathStep& step) {
  if (const auto* key = std::get_if<std::string>(&step)) return container[*key];
  const auto index = std::get<std::optional<std::uint32_t>>(step);
  return container[index ? std::uint64_t{*index} : std::numeric_limits<std::uint64_t>::max()];
}

// As far as the steps lead: the last value reached, how many steps that takes, and its path.
struct Reach {
  Value value;
  std::size_t steps = 0;
  std::string path;
};
inline Reach Follow(Value root, std::span<const PathStep> steps) {
  Reach reach{std::move(root), 0, {}};
  for (const PathStep& step : steps) {
    Value next = At(reach.value, step).Find();
    if (!next) break;
    reach.value = std::move(next);
    AppendStep(reach.path, StepText(step));
    ++reach.steps;
  }
  return reach;
}

// "an array of 3", "a dictionary"
inline std::string Describe(const Value& value) {
  const POSObjectType type = value.Type();
  std::string text = KindName(type);
  if (type == POSTypeArray) {
    const auto& arrays = value.Owner().Procedures<ArrayInterface>();
    text += " of " + std::to_string(arrays.Count(value.Handle()));
  }
  return text;
}

}  // namespace detail

// ---- Value's members --------------------------------------------------------------------------

template <typename T>
void Value::DeepPut(const Text& path, const T& value) {
  PutAt(path.CString(), Owner().New(value));
}

inline void Value::DeepPut(const Text& path, std::initializer_list<Input> list) {
  PutAt(path.CString(), Owner().New(list));
}

inline void Value::PutAt(const std::string& path, Value value) {
  const auto steps = detail::ParsePath(path, Is<Array>());
  if (!steps) throw Error("malformed path \"" + path + '"');
  const std::size_t last = steps->size() - 1;
  const detail::Reach reach = detail::Follow(*this, std::span(*steps).first(last));
  // Containers that are missing are made from the inside, so that a failure changes nothing.
  for (std::size_t i = last; i > reach.steps; --i) {
    const bool isKey = std::holds_alternative<std::string>((*steps)[i]);
    Value container = isKey ? Value(Owner().NewDict()) : Value(Owner().NewArray());
    detail::At(container, (*steps)[i]).StoreNext(value);
    value = std::move(container);
  }
  try {
    detail::At(reach.value, (*steps)[reach.steps]).StoreNext(value);
  } catch (Error& error) {
    error.PutUnder(reach.path);
    throw;
  }
}

inline void Value::DeepRemove(const Text& path) {
  const auto steps = detail::ParsePath(path.CString(), Is<Array>());
  if (!steps) return;
  const std::size_t last = steps->size() - 1;
  const detail::Reach reach = detail::Follow(*this, std::span(*steps).first(last));
  if (reach.steps == last) detail::At(reach.value, steps->back()).Remove();
}

// ---- Element's members ------------------------------------------------------------------------

inline std::string Element::Extended(std::string trail) const {
  if (step_ == Step::kIndex) {
    AppendStep(trail, detail::StepText(index_));
  } else {
    AppendStep(trail, name_.CString());
  }
  return trail;
}

inline ZELInstance Element::LookupPath() const {
  if (!beginsWithIndex_ || !container_.Is<Array>()) {
    const ZELInstance found =
        Owner().Procedures<DictInterface>().DeepGet(container_.Handle(), name_.Handle());
    return found != nullptr ? found : Absent(POSTypeDict);
  }
  const auto steps = detail::ParsePath(name_.CString(), true);
  if (!steps) return nullptr;
  const detail::Reach reach = detail::Follow(container_, *steps);
  // The value reached stays held by the one that it is in.
  return reach.steps == steps->size() ? reach.value.Handle() : nullptr;
}

inline void Element::ThrowNotFound() const {
  std::string reached = trail_.substr(0, reached_);
  Value last = container_;
  if (!isBeyond_ && step_ == Step::kPath) {
    const auto steps = detail::ParsePath(name_.CString(), container_.Is<Array>());
    if (!steps) throw NotFoundError("nothing there; the path is malformed");
    detail::Reach reach = detail::Follow(container_, *steps);
    AppendStep(reached, reach.path);
    last = std::move(reach.value);
  }
  const std::string name = reached.empty() ? "the value" : '"' + reached + '"';
  throw NotFoundError("nothing there; " + name + " is " + detail::Describe(last));
}

inline void Element::Store(const Value& value) {
  if (isBeyond_) Told([&] { ThrowNotFound(); });
  const Client& client = Owner();
  const ZELInstance container = container_.Handle();
  try {
    if (step_ == Step::kKey) {
      client.Procedures<DictInterface>().Put(container, name_.Handle(), value.Handle());
      detail::CheckType(client, container, POSTypeDict);
    } else if (step_ == Step::kIndex) {
      if (!index_) throw RangeError("an index of more than 32 bits");
      client.Procedures<ArrayInterface>().SetAt(container, *index_, value.Handle());
      detail::CheckType(client, container, POSTypeArray);
    } else {
      container_.PutAt(name_.CString(), value);
    }
  } catch (TypeError& error) {
    error.PutUnder(trail_);  // it is about the container
    throw;
  } catch (Error& error) {
    error.PutUnder(step_ == Step::kPath ? trail_ : Path());
    throw;
  }
}

// An index may be the next one, not one beyond.
inline void Element::StoreNext(const Value& value) {
  if (step_ == Step::kIndex && container_.Is<Array>()) {
    const std::uint32_t count = Owner().Procedures<ArrayInterface>().Count(container_.Handle());
    if (!index_ || *index_ > count) {
      Told([&] { throw RangeError("beyond the end of an array of " + std::to_string(count)); });
    }
  }
  Store(value);
}

inline void Element::Remove() {
  if (isBeyond_ || (step_ == Step::kIndex && !index_)) return;
  const Client& client = Owner();
  if (step_ == Step::kKey) {
    client.Procedures<DictInterface>().Remove(container_.Handle(), name_.Handle());
    detail::CheckType(client, container_.Handle(), POSTypeDict);
  } else if (step_ == Step::kIndex) {
    client.Procedures<ArrayInterface>().Remove(container_.Handle(), *index_);
    detail::CheckType(client, container_.Handle(), POSTypeArray);
  } else {
    container_.DeepRemove(name_.CString());
  }
}

}  // namespace zelutils
