// Error lists, and the texts that go into them.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "frame/client/pos_wrappers.h"
#include "frame/core/error.h"
#include "zelutils/validator.h"

namespace NPOSValidatorImpl {

// The room for a message with its terminating NUL, and for what a callback has to say.
inline constexpr std::uint32_t kMessageBytes = 1024;

// Messages in the order in which they were found: a POS array of POS strings, which is made when
// the first message comes.
class ErrorList {
 public:
  // Makes the array already now.
  void Create();
  void Append(const ZEL_T_NMT::CPOSObject& message);
  // Calls `report` with each message; hands a null one's list to the debug dump.
  void Report(POSValidatorMessageProc report);

 private:
  friend void AppendPrefixedMessages(ErrorList& target, const ErrorList& source,
                                     const char* prefix);

  ZEL_T_NMT::CPOSArray messages_;
};

// What stands for a placeholder: %d a 32-bit integer, %f a double, %s a text.
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

// Returns a new POS string. The arguments must fit the placeholders; numbers read the same in every
// locale and on every platform. Raises "FormatIntoPOSString overwrote buffer" when the text does
// not fit into kMessageBytes.
ZEL_T_NMT::CPOSString FormatIntoPOSString(const char* format,
                                          std::initializer_list<FormatArgument> arguments = {});

// Appends each message of `source` to `target`, behind the prefix and a blank.
void AppendPrefixedMessages(ErrorList& target, const ErrorList& source, const char* prefix);

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
