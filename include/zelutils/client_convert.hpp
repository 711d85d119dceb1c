// C++ objects from values. Programs include zelutils/client.hpp, which says how they are used.
//
// A value is read as: a class of values; a number, range-checked; bool (the number 0 or 1, or the
// string true or false); std::string (of a Unicode string, its UTF-8), std::string_view (borrowed);
// std::u16string, std::u8string (UTF-8 of a Unicode string); std::optional, empty for what is
// absent; std::vector and its like, and std::array, of such; a map from std::string to such; and an
// object with a FromPos.
//
// A struct of the program's own takes part by two functions in its namespace,
//
//   zelutils::Value ToPos(const zelutils::Client& client, const Page& page);
//   void FromPos(const zelutils::Value& value, Page& page);
//
// or by the list of its members, of which a std::optional may be absent from the dictionary:
//
//   ZELUTILS_MEMBERS(Page, width, height, title)
#pragma once

#include <array>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "zelutils/client_paths.hpp"

namespace zelutils {

namespace detail {

template <typename T>
concept HasFromPos = std::default_initializable<T> && requires(const Value& value, T& object) {
  FromPos(value, object);
};
template <typename T>
concept MapFromTexts = requires(T& map, std::string key, typename T::mapped_type mapped) {
  map.insert_or_assign(std::move(key), std::move(mapped));
};
template <typename T>
concept Growing = requires(T& sequence, typename T::value_type element) {
  sequence.push_back(std::move(element));
};
template <typename T>
inline constexpr std::size_t fixedSize = 0;
template <typename T, std::size_t size>
inline constexpr std::size_t fixedSize<std::array<T, size>> = size;

inline std::string TextOf(double number) {
  std::array<char, 32> digits;
  std::snprintf(digits.data(), digits.size(), "%.17g", number);
  return digits.data();
}

template <Numeric T>
T NumberAs(double number) {
  if constexpr (std::is_integral_v<T>) {
    if (number != std::floor(number) || !std::isfinite(number)) {
      throw RangeError(TextOf(number) + " is no whole number");
    }
    // The lower limit is a power of two as well, or 0.
    if (number < static_cast<double>(std::numeric_limits<T>::min()) || number >= kBeyond<T>) {
      throw RangeError(TextOf(number) + " does not fit into " + std::to_string(8 * sizeof(T)) +
                       (std::is_signed_v<T> ? " bits" : " bits without a sign"));
    }
  } else if (std::isfinite(number) &&
             std::fabs(number) > static_cast<long double>(std::numeric_limits<T>::max())) {
    throw RangeError(TextOf(number) + " is beyond single precision");
  }
  return static_cast<T>(number);
}

inline bool ReadBool(const Client& client, ZELInstance handle) {
  if (client.Checked(Number::IsType(client, handle))) {
    const double number = Number::Get(client, handle);
    if (number == 0 || number == 1) return number == 1;
    throw RangeError(TextOf(number) + " is neither 0 nor 1");
  }
  if (!client.Checked(String::IsType(client, handle))) {
    throw TypeError("true or false", Describe(Value(client, handle)));
  }
  const std::string_view text = String::Get(client, handle);
  if (text == "true" || text == "false") return text == "true";
  throw RangeError("the string \"" + std::string(text) + "\" is neither true nor false");
}

template <typename T>
T ReadInstance(const Client& client, ZELInstance handle) {
  if constexpr (!std::is_same_v<T, Value>) {
    if (handle == nullptr) throw NotFoundError("nothing there");
    if (!client.Checked(T::IsType(client, handle))) {
      const auto type =
          static_cast<POSObjectType>(client.Procedures<ObjectInterface>().GetType(handle));
      if (type == 0) client.Check();
      throw TypeError(KindName(T::kType), KindName(type));
    }
  }
  return T(client, handle);
}

template <typename T>
T ReadSequence(const Array& array) {
  T sequence{};
  using Element = typename T::value_type;
  static_assert(!isView<Element>,
                "a view may outlive what it is borrowed from: ask for std::string");
  const std::uint32_t count = array.Count();
  if constexpr (fixedSize < T >> 0) {
    if (count != fixedSize<T>) {
      throw RangeError("an array of " + std::to_string(fixedSize<T>) +
                       " was wanted, this is one of " + std::to_string(count));
    }
  } else if constexpr (requires { sequence.reserve(count); }) {
    sequence.reserve(count);
  }
  std::uint32_t i = 0;
  try {
    for (; i < count; ++i) {
      Element element = Read<Element>(array.Owner(), array.BorrowAt(i));
      if constexpr (fixedSize < T >> 0) {
        sequence[i] = std::move(element);
      } else {
        sequence.push_back(std::move(element));
      }
    }
  } catch (Error& error) {
    error.PutUnder('[' + std::to_string(i) + ']');
    throw;
  }
  return sequence;
}

template <typename T>
T ReadMap(const Dict& dict) {
  T map{};
  static_assert(!isView<typename T::mapped_type>,
                "a view may outlive what it is borrowed from: ask for std::string");
  for (auto&& [key, value] : dict) {
    try {
      map.insert_or_assign(key, Read<typename T::mapped_type>(dict.Owner(), value.Handle()));
    } catch (Error& error) {
      error.PutUnder(key);
      throw;
    }
  }
  return map;
}

template <typename T>
T Read(const Client& client, ZELInstance handle) {
  if constexpr (std::is_base_of_v<Value, T>) {
    return ReadInstance<T>(client, handle);
  } else if constexpr (std::is_same_v<T, double>) {
    return Number::Get(client, handle);
  } else if constexpr (std::is_same_v<T, bool>) {
    if (handle == nullptr) throw NotFoundError("nothing there");
    return ReadBool(client, handle);
  } else if constexpr (Character<T>) {
    static_assert(never<T>, "a value holds no single character: ask for a text or an integer");
  } else if constexpr (Numeric<T>) {
    return NumberAs<T>(Number::Get(client, handle));
  } else if constexpr (std::is_same_v<T, std::string_view>) {
    return String::Get(client, handle);
  } else if constexpr (std::is_same_v<T, std::string>) {
    if (handle != nullptr && client.Checked(UnicodeString::IsType(client, handle))) {
      return Utf8Of(UnicodeString::Units(client, handle));
    }
    return String::Get(client, handle);
  } else if constexpr (std::is_same_v<T, std::u16string>) {
    return UnicodeString::Units(client, handle);
  } else if constexpr (std::is_same_v<T, std::u8string>) {
    const std::string text = Utf8Of(UnicodeString::Units(client, handle));
    return {text.begin(), text.end()};
  } else if constexpr (isOptional<T>) {
    static_assert(!isView<typename T::value_type>,
                  "a view may outlive what it is borrowed from: ask for std::string");
    if (handle == nullptr) return std::nullopt;
    return Read<typename T::value_type>(client, handle);
  } else if constexpr (HasFromPos<T>) {
    T object{};
    FromPos(Value(client, handle), object);
    return object;
  } else if constexpr (MapFromTexts<T>) {
    return ReadMap<T>(ReadInstance<Dict>(client, handle));
  } else if constexpr (Growing<T> || (fixedSize<T> > 0)) {
    return ReadSequence<T>(ReadInstance<Array>(client, handle));
  } else {
    static_assert(never<T>,
                  "no value can be read as this type: ask for a class of values, a number, bool, "
                  "std::string, std::u16string, a std::optional, std::vector or map from "
                  "std::string of such, or declare a FromPos beside the type (ZELUTILS_MEMBERS "
                  "makes one)");
  }
}

template <typename T>
void ReadMember(const Dict& dict, const char* name, T& member) {
  member = dict[name].template As<T>();
}

}  // namespace detail

template <typename T>
auto Value::ValueOr(const T& fallback) const {
  if constexpr (detail::ByteText<T>) {
    return *this ? As<std::string>() : std::string(fallback);
  } else {
    return *this ? As<T>() : fallback;
  }
}

}  // namespace zelutils

// Applies a macro to each of up to 256 arguments.
#define ZELUTILS_PARENTHESES ()
#define ZELUTILS_EXPAND(...) \
  ZELUTILS_EXPAND3(ZELUTILS_EXPAND3(ZELUTILS_EXPAND3(ZELUTILS_EXPAND3(__VA_ARGS__))))
#define ZELUTILS_EXPAND3(...) \
  ZELUTILS_EXPAND2(ZELUTILS_EXPAND2(ZELUTILS_EXPAND2(ZELUTILS_EXPAND2(__VA_ARGS__))))
#define ZELUTILS_EXPAND2(...) \
  ZELUTILS_EXPAND1(ZELUTILS_EXPAND1(ZELUTILS_EXPAND1(ZELUTILS_EXPAND1(__VA_ARGS__))))
#define ZELUTILS_EXPAND1(...) __VA_ARGS__
#define ZELUTILS_FOR_EACH(macro, ...) \
  __VA_OPT__(ZELUTILS_EXPAND(ZELUTILS_FOR_EACH_STEP(macro, __VA_ARGS__)))
#define ZELUTILS_FOR_EACH_STEP(macro, first, ...) \
  macro(first) __VA_OPT__(ZELUTILS_FOR_EACH_AGAIN ZELUTILS_PARENTHESES(macro, __VA_ARGS__))
#define ZELUTILS_FOR_EACH_AGAIN() ZELUTILS_FOR_EACH_STEP

#define ZELUTILS_PUT_MEMBER(member) dict.Put(#member, object.member);
#define ZELUTILS_READ_MEMBER(member) ::zelutils::detail::ReadMember(dict, #member, object.member);
// Stands beside a struct, in its namespace: a value of it is a dictionary of the members named.
#define ZELUTILS_MEMBERS(Struct, ...)                                                    \
  [[maybe_unused]] inline ::zelutils::Value ToPos(const ::zelutils::Client& client,      \
                                                  const Struct& object) {                \
    ::zelutils::Dict dict = client.NewDict();                                            \
    ZELUTILS_FOR_EACH(ZELUTILS_PUT_MEMBER, __VA_ARGS__)                                  \
    return dict;                                                                         \
  }                                                                                      \
  [[maybe_unused]] inline void FromPos(const ::zelutils::Value& value, Struct& object) { \
    const ::zelutils::Dict dict = value.As<::zelutils::Dict>();                          \
    ZELUTILS_FOR_EACH(ZELUTILS_READ_MEMBER, __VA_ARGS__)                                 \
  }
