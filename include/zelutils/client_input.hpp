// Values from C++ objects. Programs include zelutils/client.hpp, which says how they are used.
//
// A value is made from: a number; true and false, which are the strings of that name; a text
// (const char*, std::string, std::string_view), which is a string; UTF-16 and char8_t texts, which
// are Unicode strings; a Value; a std::optional that holds something; a range of such, which is an
// array; a map from texts to such, which is a dictionary; an object with a ToPos; and a list in
// braces, which is a dictionary when all of it is pairs that begin with a text, else an array.
#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <limits>
#include <ranges>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "zelutils/client_element.hpp"

namespace zelutils {

namespace detail {

template <typename T>
concept Utf8Text = std::is_convertible_v<const T&, std::u8string_view>;
template <typename T>
concept Utf16Text = std::is_convertible_v<const T&, std::u16string_view>;
template <typename T>
concept ByteText = std::is_convertible_v<const T&, std::string_view>;
// Found by argument-dependent lookup.
template <typename T>
concept HasToPos = requires(const Client& client, const T& object) {
  { ToPos(client, object) } -> std::convertible_to<Value>;
};
template <typename T>
concept MapOfTexts = std::ranges::input_range<const T> && requires {
  requires ByteText<typename std::ranges::range_value_t<T>::first_type>;
  typename std::ranges::range_value_t<T>::second_type;
};
// Ranges such as std::filesystem::path hold themselves.
template <typename T>
concept ArrayLike =
    std::ranges::input_range<const T> && !std::same_as<std::ranges::range_value_t<const T>, T>;

// The power of two behind the largest T, which is no T itself; the largest ones are rounded to it.
template <std::integral T>
constexpr double kBeyond = [] {
  constexpr auto kHalf = std::numeric_limits<T>::max() / 2 + 1;
  return 2.0 * static_cast<double>(kHalf);
}();

// A whole number that a double cannot hold is refused.
template <Numeric T>
double ToDouble(T number) {
  const auto value = static_cast<double>(number);
  if constexpr (std::is_integral_v<T> && std::numeric_limits<T>::digits > 53) {
    if (value >= kBeyond<T> || static_cast<T>(value) != number) {
      throw RangeError(std::to_string(number) + " is no double-precision number");
    }
  }
  return value;
}

template <typename T>
Value ArrayOf(const Client& client, const T& elements);
template <typename T>
Value DictOf(const Client& client, const T& members);

}  // namespace detail

template <typename T>
Value Client::New(const T& object) const {
  using detail::never;
  if constexpr (std::is_base_of_v<Value, T> || std::is_same_v<T, Element>) {
    return object;
  } else if constexpr (std::is_same_v<T, Input>) {
    return object.Make(*this);
  } else if constexpr (std::is_same_v<T, bool>) {
    return NewString(object ? "true" : "false");
  } else if constexpr (std::is_null_pointer_v<T>) {
    static_assert(never<T>, "nullptr is no value: leave the member out, or remove it");
  } else if constexpr (Character<T>) {
    static_assert(never<T>,
                  "a single character is neither a number nor a text: give a text or an integer");
  } else if constexpr (Numeric<T>) {
    return NewNumber(detail::ToDouble(object));
  } else if constexpr (detail::HasToPos<T>) {
    return ToPos(*this, object);
  } else if constexpr (detail::Utf8Text<T>) {
    if constexpr (std::is_pointer_v<T>) {
      if (object == nullptr) throw Error("a text must not be null");
    }
    const std::u8string_view text = object;
    return NewUnicodeString(std::string(reinterpret_cast<const char*>(text.data()), text.size()));
  } else if constexpr (std::is_convertible_v<const T&, const char16_t*>) {
    return NewUnicodeString(static_cast<const char16_t*>(object));
  } else if constexpr (detail::Utf16Text<T>) {
    return NewUnicodeString(std::u16string_view(object));
  } else if constexpr (std::is_convertible_v<const T&, const char*>) {
    return NewString(static_cast<const char*>(object));
  } else if constexpr (std::is_same_v<T, std::string>) {
    return NewString(object);
  } else if constexpr (detail::ByteText<T>) {
    return NewString(std::string_view(object));
  } else if constexpr (detail::isOptional<T>) {
    if (!object) throw Error("an empty std::optional is no value here");
    return New(*object);
  } else if constexpr (detail::MapOfTexts<T>) {
    return detail::DictOf(*this, object);
  } else if constexpr (detail::ArrayLike<T>) {
    return detail::ArrayOf(*this, object);
  } else {
    static_assert(never<T>,
                  "no value can be made from this type: give a number, bool, a text, a Value, a "
                  "std::optional, a range or a map from texts of such, or declare a ToPos beside "
                  "the type (ZELUTILS_MEMBERS makes one)");
  }
}

// An object that a value is to be made from later, owned: a member of a list in braces.
class Input {
 public:
  // NOLINTBEGIN(google-explicit-constructor): arguments convert without being asked
  template <typename T>
  Input(const T& object) {
    using detail::never;
    if constexpr (std::is_null_pointer_v<T>) {
      static_assert(never<T>, "nullptr is no value: leave the member out, or remove it");
    } else if constexpr (Numeric<T>) {
      content_ = detail::ToDouble(object);
    } else if constexpr (std::is_convertible_v<const T&, const char*>) {
      const char* const text = object;
      if (text == nullptr) throw Error("a text must not be null");
      content_ = std::string(text);
    } else if constexpr (std::is_convertible_v<const T&, const char16_t*>) {
      content_ = std::u16string(Units(static_cast<const char16_t*>(object)).View());
    } else if constexpr (detail::Utf16Text<T>) {
      content_ = std::u16string(Units(std::u16string_view(object)).View());
    } else if constexpr (detail::ByteText<T>) {
      content_ = std::string(std::string_view(object));
    } else if constexpr (detail::Utf8Text<T>) {
      if constexpr (std::is_pointer_v<T>) {
        if (object == nullptr) throw Error("a text must not be null");
      }
      content_ =
          Later([text = std::u8string(object)](const Client& client) { return client.New(text); });
    } else if constexpr (std::is_array_v<T>) {
      content_ = Later([object](const Client& client) { return client.New(object); });
    } else {  // a member that is moved, not copied, with the function
      content_ = Later([held = T(object)](const Client& client) { return client.New(held); });
    }
  }
  Input(std::initializer_list<Input> list) : content_(std::vector<Input>(list)) {}
  // NOLINTEND(google-explicit-constructor)

  Value Make(const Client& client) const;

 private:
  using Later = std::function<Value(const Client&)>;

  static bool IsPair(const Input& input) {
    const auto* list = std::get_if<std::vector<Input>>(&input.content_);
    return list != nullptr && list->size() == 2 &&
           std::holds_alternative<std::string>(list->front().content_);
  }

  std::variant<double, std::string, std::u16string, Later, std::vector<Input>> content_;
};

// A key and what is under it, in a list in braces.
struct Member {
  Text key;
  Input value;
};

inline Value Client::New(std::initializer_list<Input> list) const {
  return Input(list).Make(*this);
}

inline Element& Element::operator=(std::initializer_list<Input> list) {
  Store(Owner().New(list));
  return *this;
}

}  // namespace zelutils
