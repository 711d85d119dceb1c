// Values in the text syntax.
#pragma once

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "path.h"
#include "style.h"
#include "values.h"

namespace zelpos {

// A value that the wanted notation has no form for.
class Unsayable : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
  // The steps from the outermost value to the one meant, last step first.
  zelutils::PathSteps reversedPath;
  std::string Path() const { return ShowPath({reversedPath.rbegin(), reversedPath.rend()}); }
};

// A scalar's text, and what stands in its way where it is none.
struct TextForm {
  Ink ink;
  std::string text;
  std::string obstacle{};  // "a string of 300 bytes"
};

struct TextOptions {
  bool compact = false;  // all on one line
  // A value that the syntax has no form for (long strings, numbers of more than 100 digits, binary
  // data) is an Unsayable; otherwise it stands in braces, for people to read.
  bool strict = true;
  Style style{};
};

// Takes text in parts of some size.
using TakeText = std::function<void(std::string_view)>;

class TextWriter {
 public:
  TextWriter(const Values& values, const TextOptions& options, TakeText take)
      : values_(values), options_(options), take_(std::move(take)) {}

  // Writes the whole value and a line end. May be called again for further values.
  void Write(Handle value);
  // Number of values that stood in braces.
  std::size_t Unsaid() const noexcept { return unsaid_; }

 private:
  void Append(Handle value, std::size_t indentation, std::size_t column);
  bool FitsLine(Handle value, std::size_t limit);
  bool AppendOnLine(Handle value, std::size_t limit);
  template <typename Visit>
  bool ForEach(Handle value, Visit visit);
  std::size_t AppendKey(std::string_view key);
  void AppendScalar(Handle value);
  void AppendForm(const TextForm& form);
  void StartLine(std::size_t indentation);
  void HandOver();

  const Values& values_;
  TextOptions options_;
  TakeText take_;
  std::string out_;
  std::size_t unsaid_ = 0;
};

// One value on one line, whatever it holds.
std::string OneLine(const Values& values, Handle value, const Style& style = {});

// A string as the syntax has it: a word, or in parentheses.
std::string QuotedText(std::string_view bytes);

}  // namespace zelpos
