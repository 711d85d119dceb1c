// zelpos format: texts in one layout. Only the space between tokens changes; the order of keys and
// the way in which numbers and strings are written stay.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>
#include <zelutils/text_lexer.hpp>

#include "commands.h"
#include "files.h"
#include "printable.h"
#include "session.h"

namespace zelpos {
namespace {

using zelutils::TextLexer;
using zelutils::TextToken;

constexpr std::size_t kLineWidth = 96;

// A text of well-formed tokens in its layout: an array or dictionary stands on one line where it
// fits, else each member begins one.
class Formatter {
 public:
  explicit Formatter(std::string_view text) : text_(text) {
    TextLexer lexer(text);
    std::vector<std::size_t> open;
    for (TextToken token = lexer.Next(); token.kind != TextToken::Kind::kEnd;
         token = lexer.Next()) {
      tokens_.push_back({token, 0});
      if (token.IsOpening()) open.push_back(tokens_.size() - 1);
      if (!token.IsClosing()) continue;
      tokens_[open.back()].closing = tokens_.size() - 1;
      open.pop_back();
    }
  }

  std::string Format() {
    while (next_ < tokens_.size()) AppendValue(0, 0);
    return out_ + '\n';
  }

 private:
  struct Entry {
    TextToken token;
    std::size_t closing;  // of an opening bracket: the index of the one that closes it
  };

  std::string_view Spelling(std::size_t index) const {
    const TextToken& token = tokens_[index].token;
    return text_.substr(token.begin, token.end - token.begin);
  }

  // Takes the value at the front, which begins at a column of a line of some indentation.
  void AppendValue(std::size_t indentation, std::size_t column) {
    const std::size_t opening = next_;
    if (!tokens_[opening].token.IsOpening()) {
      out_ += Spelling(next_++);
      return;
    }
    const std::size_t closing = tokens_[opening].closing;
    if (Fits(opening, closing, column)) return AppendLine(closing);
    const bool isDict = tokens_[opening].token.kind == TextToken::Kind::kOpenDict;
    const std::size_t inner = indentation + 2;
    out_ += Spelling(next_++);
    while (next_ < closing) {
      out_ += '\n' + std::string(inner, ' ');
      std::size_t keyWidth = 0;
      if (isDict) {
        keyWidth = Spelling(next_).size() + 1;
        out_ += Spelling(next_++);
        out_ += ' ';
      }
      AppendValue(inner, inner + keyWidth);
    }
    out_ += '\n' + std::string(indentation, ' ');
    out_ += Spelling(next_++);
  }

  // True if a blank stands between a token and the one before.
  bool HasSpace(std::size_t index) const {
    return index > 0 && !tokens_[index - 1].token.IsOpening() && !tokens_[index].token.IsClosing();
  }

  bool Fits(std::size_t first, std::size_t last, std::size_t column) const {
    if (last == first + 1) return true;  // empty
    for (std::size_t i = first; i <= last; ++i) {
      column += Spelling(i).size() + (i > first && HasSpace(i) ? 1 : 0);
      if (column > kLineWidth) return false;
    }
    return true;
  }

  void AppendLine(std::size_t last) {
    for (const std::size_t first = next_; next_ <= last; ++next_) {
      if (next_ > first && HasSpace(next_)) out_ += ' ';
      out_ += Spelling(next_);
    }
  }

  std::string_view text_;
  std::vector<Entry> tokens_;
  std::size_t next_ = 0;
  std::string out_;
};

}  // namespace

int FormatFiles(const Options& options) {
  const Session session;
  std::size_t changed = 0;
  for (const std::string& file : options.files) {
    const Document document = ReadDocument(session.client, file, options.from);
    if (document.format != Format::kText) {
      throw FileError(document.name + ": no text; convert makes one of it");
    }
    const std::string_view text = document.content.View();
    const std::string formatted = Formatter(text).Format();
    const bool differs = formatted != text;
    changed += differs ? 1 : 0;
    if (options.check) {
      if (differs && !options.quiet) WriteStandardOutput(Printable(document.name) + '\n');
      continue;
    }
    const std::string output = options.output.empty() ? file : options.output;
    if (!differs && output == file && file != "-") continue;
    WriteOutput(output, [&](const TakeText& take) { take(formatted); });
  }
  return options.check && changed != 0 ? kDiffers : kDone;
}

}  // namespace zelpos
