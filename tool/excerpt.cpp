#include "excerpt.h"

#include "printable.h"

namespace zelpos {
namespace {

// The part of a line that is shown around a place in a long one.
constexpr std::size_t kShownBefore = 70;
constexpr std::size_t kShownAfter = 50;

bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

}  // namespace

std::string Excerpt(const zelutils::TextLines& lines, const zelutils::LineColumn& place) {
  const std::string_view line = lines.LineAt(place.lineStart);
  const std::size_t caret = std::min(place.column - 1, line.size());
  std::size_t begin = caret > kShownBefore ? caret - kShownBefore : 0;
  while (begin > 0 && begin < caret && IsContinuation(line[begin])) ++begin;
  std::size_t end = std::min(line.size(), caret + kShownAfter);
  while (end < line.size() && IsContinuation(line[end])) ++end;

  // The tabs before the caret are repeated below, so that it stands right whatever their width.
  std::string shown = begin > 0 ? "..." : "";
  std::string below(shown.size(), ' ');
  for (std::size_t i = begin; i < caret;) {
    const std::size_t tab = std::min(line.find('\t', i), caret);
    const std::string part = Printable(line.substr(i, tab - i));
    shown += part;
    below.append(CharacterCount(part), ' ');
    if (tab < caret) {
      shown += '\t';
      below += '\t';
    }
    i = tab + 1;
  }
  std::string_view rest = line.substr(caret, end - caret);
  while (!rest.empty()) {
    const std::string_view part = rest.substr(0, rest.find('\t'));
    shown += Printable(part);
    if (part.size() == rest.size()) break;
    shown += '\t';
    rest.remove_prefix(part.size() + 1);
  }
  if (end < line.size()) shown += "...";
  return "  " + shown + "\n  " + below + '^';
}

std::string ShowPosition(const std::string& name, std::string_view text, std::size_t position,
                         const std::string& message) {
  const zelutils::TextLines lines(text);
  const zelutils::LineColumn place = lines.Locate(position);
  return name + ':' + place.ToString() + ": " + message + '\n' + Excerpt(lines, place);
}

}  // namespace zelpos
