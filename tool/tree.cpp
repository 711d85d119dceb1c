// zelpos tree and zelpos stats: the shape of a value.
#include <algorithm>
#include <array>
#include <cstdio>

#include "commands.h"
#include "files.h"
#include "platform.h"
#include "printable.h"
#include "session.h"
#include "text_writer.h"

namespace zelpos {
namespace {

constexpr std::size_t kPart = std::size_t{1} << 16;
constexpr std::size_t kLongestShown = 60;  // characters of a scalar

// At most so many characters, without cutting one in two.
std::string Shortened(const std::string& text) {
  std::size_t characters = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool begins = (static_cast<unsigned char>(text[i]) & 0xC0) != 0x80;
    if (begins && ++characters > kLongestShown) return text.substr(0, i) + "...";
  }
  return text;
}

class TreePrinter {
 public:
  TreePrinter(const Values& values, const Options& options)
      : values_(values),
        style_(options.color, IsTerminal(stdout)),
        depth_(options.depth.value_or(POS_NESTING_LIMIT)) {}

  void Print(const std::string& name, Handle value) {
    style_.Append(out_, Ink::kPlace, name);
    AppendContent(value);
    PrintMembers(value, "", 1);
    WriteStandardOutput(out_);
    out_.clear();
  }

 private:
  void PrintMembers(Handle value, const std::string& lead, unsigned depth) {
    if (depth > depth_) return;
    const auto print = [&](Ink ink, std::string_view label, Handle member, bool isLast) {
      if (out_.size() > kPart) {
        WriteStandardOutput(out_);
        out_.clear();
      }
      style_.Append(out_, Ink::kFaint, lead + (isLast ? "\u2514\u2500 " : "\u251C\u2500 "));
      style_.Append(out_, ink, label);
      AppendContent(member);
      PrintMembers(member, lead + (isLast ? "   " : "\u2502  "), depth + 1);
    };
    if (values_.Type(value) == POSTypeArray) {
      const std::uint32_t count = values_.ElementCount(value);
      for (std::uint32_t i = 0; i < count; ++i) {
        print(Ink::kFaint, '[' + std::to_string(i) + ']', values_.Element(value, i),
              i + 1 == count);
      }
    } else if (values_.Type(value) == POSTypeDict) {
      std::size_t left = values_.MemberCount(value);
      values_.ForEachMember(value, [&](const char* key, Handle member) {
        print(Ink::kKey, QuotedText(key), member, --left == 0);
        return true;
      });
    }
  }

  // The text after a label, and the end of the line.
  void AppendContent(Handle value) {
    out_ += ": ";
    const int type = values_.Type(value);
    const char* const kind = KindName(type);
    if (type == POSTypeArray) {
      out_ += kind + (", " + Counted(values_.ElementCount(value), "element"));
    } else if (type == POSTypeDict) {
      out_ += kind + (", " + Counted(values_.MemberCount(value), "member"));
    } else if (type == POSTypeBinData) {
      style_.Append(out_, Ink::kOther,
                    std::string(kind) + ' ' + QuotedText(values_.BinaryType(value)) + ", " +
                        Counted(values_.Bytes(value).size(), "byte"));
    } else if (type == POSTypeUnicodeString) {
      zelutils::UnicodeString text(values_.Client(), value);
      style_.Append(out_, Ink::kString, '`' + Shortened(Printable(text.ToUtf8())) + '`');
    } else {
      style_.Append(out_, type == POSTypeNumber ? Ink::kNumber : Ink::kString,
                    Shortened(Printable(OneLine(values_, value))));
    }
    out_ += '\n';
  }

  const Values& values_;
  Style style_;
  unsigned depth_;
  std::string out_;
};

// Counts and sizes of the parts of a value.
class Survey {
 public:
  explicit Survey(const Values& values) : values_(values) {}

  void Count(Handle value, std::size_t depth = 0) {
    const int type = values_.Type(value);
    Kind& kind = kinds_[static_cast<std::size_t>(type)];
    std::size_t size = 0;
    if (type == POSTypeArray) {
      size = values_.ElementCount(value);
      for (std::uint32_t i = 0; i < size; ++i) Count(values_.Element(value, i), depth + 1);
    } else if (type == POSTypeDict) {
      values_.ForEachMember(value, [&](const char* key, Handle member) {
        ++size;
        keyBytes_ += std::string_view(key).size();
        Count(member, depth + 1);
        return true;
      });
    } else if (type == POSTypeString) {
      size = values_.String(value).size();
    } else if (type == POSTypeUnicodeString) {
      size = values_.Units(value).size();
    } else if (type == POSTypeBinData) {
      size = values_.Bytes(value).size();
    }
    ++kind.count;
    kind.size += size;
    kind.largest = std::max(kind.largest, size);
    deepest_ = std::max(deepest_, depth);
  }

  std::string Table() const {
    std::string table = Row({"kind", "values", "size", "largest", ""});
    std::size_t values = 0;
    for (std::size_t type = 0; type < kinds_.size(); ++type) {
      const Kind& kind = kinds_[type];
      if (kind.count == 0) continue;
      values += kind.count;
      std::string unit = Unit(static_cast<int>(type));
      const bool hasSize = !unit.empty();
      if (hasSize && kind.largest == 1) unit.pop_back();
      table += Row({KindName(static_cast<int>(type)), std::to_string(kind.count),
                    hasSize ? std::to_string(kind.size) : "",
                    hasSize ? std::to_string(kind.largest) : "", unit});
    }
    table += Row({"all", std::to_string(values), "", "", ""});
    return table + "depth " + std::to_string(deepest_) + ", " + Counted(keyBytes_, "byte") +
           " of keys\n";
  }

 private:
  struct Kind {
    std::size_t count = 0;
    std::size_t size = 0;
    std::size_t largest = 0;
  };

  static std::string Unit(int type) {
    switch (type) {
      case POSTypeString:
      case POSTypeBinData:
        return "bytes";
      case POSTypeUnicodeString:
        return "units";
      case POSTypeArray:
        return "elements";
      case POSTypeDict:
        return "members";
      default:
        return "";
    }
  }

  static std::string Row(const std::array<std::string, 5>& cells) {
    std::string row = cells[0];
    row.resize(16, ' ');
    for (std::size_t i = 1; i < 4; ++i) {
      row += std::string(12 - std::min<std::size_t>(11, cells[i].size()), ' ') + cells[i];
    }
    row += ' ' + cells[4];
    row.resize(row.find_last_not_of(' ') + 1);
    return row + '\n';
  }

  const Values& values_;
  std::array<Kind, POS_KIND_COUNT + 1> kinds_;  // by type tag; 0 for empty slots
  std::size_t deepest_ = 0;
  std::size_t keyBytes_ = 0;
};

}  // namespace

int Tree(const Options& options) {
  const Session session;
  const Values values(session.client);
  for (const std::string& file : options.files) {
    const Document document = ReadDocument(session.client, file, options.from);
    TreePrinter(values, options).Print(document.name, document.Root());
  }
  return kDone;
}

int Stats(const Options& options) {
  const Session session;
  const Values values(session.client);
  for (const std::string& file : options.files) {
    const Document document = ReadDocument(session.client, file, options.from);
    Survey survey(values);
    survey.Count(document.Root());
    if (options.files.size() > 1) WriteStandardOutput(Printable(document.name) + ":\n");
    WriteStandardOutput(survey.Table());
  }
  return kDone;
}

}  // namespace zelpos
