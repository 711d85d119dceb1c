// The messages of a run of validation, and the texts that go into them.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "frame/client/pos_wrappers.h"
#include "frame/core/client_base.h"
#include "frame/core/error.h"
#include "frame/core/string_atom.h"
#include "zelutils/validator.h"

namespace NPOSValidatorImpl {

// The room for a message with its terminating NUL, and for what a callback has to say.
inline constexpr std::uint32_t kMessageBytes = 1024;

// The value of a placeholder: %d a 32-bit integer, %f a double, %s a text.
class FormatArgument {
 public:
  // NOLINTBEGIN(google-explicit-constructor): passed as printf's arguments are
  FormatArgument(std::int32_t integer) noexcept : integer_(integer) {}
  FormatArgument(double real) noexcept : real_(real) {}
  FormatArgument(const char* text) noexcept : text_(text) {}
  // NOLINTEND(google-explicit-constructor)

  std::int32_t Integer() const noexcept { return integer_; }
  double Real() const noexcept { return real_; }
  const char* Text() const noexcept { return text_; }

 private:
  union {
    std::int32_t integer_;
    double real_;
    const char* text_;
  };
};

using FormatArguments = std::initializer_list<FormatArgument>;

// Messages in the order in which they were found, one after the other in a buffer that is used
// again for each. The messages about a part of a value are those behind a mark: they get their
// prefix there, and are dropped there when the part has conformed in another way.
//
// A message that does not fit into kMessageBytes, prefixes included, raises "FormatIntoPOSString
// overwrote buffer", whether it would be dropped or not. The arguments must fit the placeholders;
// numbers read the same in every locale and on every platform.
class MessageList {
 public:
  // A place between two messages.
  struct Mark {
    std::size_t bytes;
    std::size_t count;
  };

  // Raises what making an array raises: one of somebody else's is made before anything is found.
  MessageList();

  // Behind the last message.
  Mark End() const noexcept { return {bytes_.size(), lengths_.size()}; }
  bool IsEmptyBehind(Mark mark) const noexcept { return lengths_.size() == mark.count; }
  void Append(const char* format, FormatArgument argument);
  // A text as it is, of whatever length.
  void AppendText(std::string_view text);
  // Puts the prefix and a blank before each message behind the mark.
  void AppendPrefix(Mark mark, const char* format, FormatArguments arguments = {});
  void Drop(Mark mark) noexcept;

  // Calls `report` with each message, once all of them are at hand; null: hands the list to the
  // debug dump.
  void Report(POSValidatorMessageProc report) const;

 private:
  void ReportAsArray(POSValidatorMessageProc report) const;

  ZEL_T_NMT::CPOSArray list_;                                  // empty unless it is somebody else's
  std::vector<char, ZEL_T_NMT::BinderAllocator<char>> bytes_;  // each message ends with a NUL
  std::vector<std::uint32_t, ZEL_T_NMT::BinderAllocator<std::uint32_t>> lengths_;  // NUL included
};

// Truncates toward zero; -2147483648 for what is out of range and for NaN.
std::int32_t TruncateToInteger(double value) noexcept;

// The nearest single-precision value; an infinity beyond the range.
double RoundToSingle(double value) noexcept;

// A definition without a "category". Holds its text, of whatever length, in an atom.
class MalformedSchemaException : public ZEL_T_NMT::DUXException {
 public:
  explicit MalformedSchemaException(const ZEL_T_NMT::CZELStringAtom& typeName);
  const char* what() const noexcept override { return text_.Text(); }

 private:
  ZEL_T_NMT::CZELStringAtom text_;
};

}  // namespace NPOSValidatorImpl
