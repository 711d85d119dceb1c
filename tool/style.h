// Colours, and whether there are any.
#pragma once

#include <string>
#include <string_view>

namespace zelpos {

enum class ColorMode { kAuto, kAlways, kNever };

enum class Ink { kPlain, kKey, kString, kNumber, kOther, kError, kPlace, kAdded, kRemoved, kFaint };

// Output of text to one of the standard files.
class Style {
 public:
  Style() = default;
  // Colours in mode "auto" only on a terminal that can show them, and where NO_COLOR is not set.
  Style(ColorMode mode, bool isTerminal);

  bool HasColor() const noexcept { return hasColor_; }
  bool IsTerminal() const noexcept { return isTerminal_; }

  // The text in a colour, with nothing in it that a terminal would obey where there is a terminal.
  std::string Paint(Ink ink, std::string_view text) const;
  void Append(std::string& out, Ink ink, std::string_view text) const;

 private:
  bool hasColor_ = false;
  bool isTerminal_ = false;
};

}  // namespace zelpos
