#include "style.h"

#include <cstdlib>

#include "printable.h"

namespace zelpos {
namespace {

const char* Sequence(Ink ink) {
  switch (ink) {
    case Ink::kKey:
      return "\x1B[34;1m";
    case Ink::kString:
    case Ink::kAdded:
      return "\x1B[32m";
    case Ink::kNumber:
      return "\x1B[36m";
    case Ink::kOther:
      return "\x1B[35m";
    case Ink::kError:
    case Ink::kRemoved:
      return "\x1B[31m";
    case Ink::kPlace:
      return "\x1B[1m";
    case Ink::kFaint:
      return "\x1B[2m";
    case Ink::kPlain:
      break;
  }
  return "";
}

bool TerminalHasColor() {
  const char* const refused = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  return (refused == nullptr || *refused == '\0') && terminal != nullptr && *terminal != '\0' &&
         std::string_view(terminal) != "dumb";
}

}  // namespace

Style::Style(ColorMode mode, bool isTerminal)
    : hasColor_(mode == ColorMode::kAlways ||
                (mode == ColorMode::kAuto && isTerminal && TerminalHasColor())),
      isTerminal_(isTerminal) {}

void Style::Append(std::string& out, Ink ink, std::string_view text) const {
  const char* const sequence = hasColor_ ? Sequence(ink) : "";
  out += sequence;
  if (isTerminal_) {
    out += Printable(text);
  } else {
    out += text;
  }
  if (*sequence != '\0') out += "\x1B[0m";
}

std::string Style::Paint(Ink ink, std::string_view text) const {
  std::string painted;
  Append(painted, ink, text);
  return painted;
}

}  // namespace zelpos
