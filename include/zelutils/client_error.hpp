// Errors that the typed client throws, with the place in a value that they are about, what was
// wanted there and what was found. Programs include zelutils/client.hpp.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zelutils/pos.h"

namespace zelutils {

// "a number", "an array", ...; "nothing" for 0.
inline const char* KindName(POSObjectType type) {
#define ZEL_KIND_NAME(name, plural, noun, one, composite) \
  case POSType##name:                                     \
    return one;
  switch (type) { POS_KINDS(ZEL_KIND_NAME) }
#undef ZEL_KIND_NAME
  return "nothing";
}

// Whether values of the kind hold others; false for 0 and other numbers that are no kind.
inline bool IsComposite(POSObjectType type) {
#define ZEL_IS_COMPOSITE(name, plural, noun, one, composite) , composite != 0
  static constexpr bool kComposite[] = {false POS_KINDS(ZEL_IS_COMPOSITE)};
#undef ZEL_IS_COMPOSITE
  return type > 0 && type <= POS_KIND_COUNT && kComposite[type];
}

// Joins reports to one sentence; equal ones are told once, with how often they came.
inline std::string JoinReports(const std::vector<std::string>& reports) {
  std::vector<std::pair<std::string_view, std::size_t>> counted;
  for (const std::string& report : reports) {
    auto known = counted.begin();
    while (known != counted.end() && known->first != report) ++known;
    if (known == counted.end()) {
      counted.emplace_back(report, 1);
    } else {
      ++known->second;
    }
  }
  std::string joined;
  for (const auto& [report, count] : counted) {
    if (!joined.empty()) joined += "; ";
    joined += report;
    if (count > 1) joined += " (" + std::to_string(count) + " times)";
  }
  return joined;
}

// Appends a step (a key, or "[3]") or a further path to a path.
inline void AppendStep(std::string& path, std::string_view step) {
  if (!path.empty() && !step.starts_with('[') && !step.starts_with('.') && !step.empty()) {
    path += '.';
  }
  path += step;
}

class Error : public std::runtime_error {
 public:
  explicit Error(const std::string& message, std::vector<std::string> reports = {},
                 std::string component = {}, std::int32_t id = 0)
      : std::runtime_error(message),
        reports_(std::move(reports)),
        component_(std::move(component)),
        id_(id) {}

  // The path, when there is one, and the message.
  const char* what() const noexcept override {
    return whole_.empty() ? std::runtime_error::what() : whole_.c_str();
  }
  // The message alone.
  const char* Message() const noexcept { return std::runtime_error::what(); }
  // The place in the value that the expression began with; empty when it is about that value
  // itself.
  const std::string& Path() const noexcept { return path_; }
  // Reports through the binder, oldest first; empty for an error object or a finding of
  // the client's own.
  const std::vector<std::string>& Reports() const noexcept { return reports_; }
  // The component and number of an error object; empty and 0 otherwise.
  const std::string& Component() const noexcept { return component_; }
  std::int32_t Id() const noexcept { return id_; }

  // Tells the error as one about a value further out, of which `path` leads here.
  void PutUnder(std::string path) {
    AppendStep(path, path_);
    path_ = std::move(path);
    if (!path_.empty()) whole_ = path_ + ": " + Message();
  }

 private:
  std::vector<std::string> reports_;
  std::string component_;
  std::int32_t id_;
  std::string path_;
  std::string whole_;
};

// A value of another type than the one that was wanted.
class TypeError : public Error {
 public:
  TypeError(std::string wanted, std::string found, std::vector<std::string> reports = {})
      : Error(wanted + " was wanted, this is " + found, std::move(reports)),
        wanted_(std::move(wanted)),
        found_(std::move(found)) {}
  // "a number", "an array", ...
  const std::string& Wanted() const noexcept { return wanted_; }
  const std::string& Found() const noexcept { return found_; }

 private:
  std::string wanted_;
  std::string found_;
};

// A number that the wanted C++ type cannot hold, or a C++ number that no value can.
class RangeError : public Error {
 public:
  using Error::Error;
};

// A key, an index or a path under which there is nothing. The message says how far it led.
class NotFoundError : public Error {
 public:
  using Error::Error;
};

// A text that is no value.
class ParseError : public Error {
 public:
  // `name` is that of a file, or empty; line and column count from 1, columns in bytes.
  ParseError(const std::string& name, std::size_t line, std::size_t column,
             const std::string& explanation, std::size_t position)
      : Error((name.empty() ? "line " : name + ':') + std::to_string(line) +
              (name.empty() ? ", column " : ":") + std::to_string(column) + ": " + explanation),
        explanation_(explanation),
        line_(line),
        column_(column),
        position_(position) {}
  // The fault, and the expectation.
  const std::string& Explanation() const noexcept { return explanation_; }
  std::size_t Line() const noexcept { return line_; }
  std::size_t Column() const noexcept { return column_; }
  // The place at which the library stopped, in bytes from the start; the text's length at its end.
  std::size_t Position() const noexcept { return position_; }

 private:
  std::string explanation_;
  std::size_t line_;
  std::size_t column_;
  std::size_t position_;
};

// A validation that could not be carried through, or during which something else failed.
class ValidationError : public Error {
 public:
  ValidationError(std::vector<std::string> messages, const std::vector<std::string>& reports)
      : Error(JoinReports(reports), reports), messages_(std::move(messages)) {}
  // Messages that came until then: not all there are.
  const std::vector<std::string>& Messages() const noexcept { return messages_; }

 private:
  std::vector<std::string> messages_;
};

}  // namespace zelutils
