// zelpos diff: in what two values differ.
#include <algorithm>
#include <cstdio>
#include <vector>

#include "commands.h"
#include "files.h"
#include "path.h"
#include "platform.h"
#include "printable.h"
#include "session.h"
#include "text_writer.h"

namespace zelpos {
namespace {

// Beyond this many pairs, elements are compared by their index alone.
constexpr std::size_t kMostPairs = 4'000'000;

class Differences {
 public:
  Differences(const Values& values, const Options& options)
      : values_(values),
        options_(options),
        style_(options.color, IsTerminal(stdout)),
        oneLine_(style_.HasColor() ? ColorMode::kAlways : ColorMode::kNever, true) {}

  void Compare(Handle left, Handle right) {
    if (values_.Equal(left, right)) return;
    const int type = values_.Type(left);
    if (type == POSTypeDict && values_.Type(right) == type) {
      CompareDicts(left, right);
    } else if (type == POSTypeArray && values_.Type(right) == type) {
      CompareArrays(left, right);
    } else {
      ++changed_;
      Tell('~', Ink::kPlace,
           OneLine(values_, left, oneLine_) + " -> " + OneLine(values_, right, oneLine_));
    }
  }

  bool Any() const { return added_ + removed_ + changed_ != 0; }
  void Finish() {
    if (options_.stat) {
      out_ = std::to_string(changed_) + " changed, " + std::to_string(removed_) + " removed, " +
             std::to_string(added_) + " added\n";
    }
    WriteStandardOutput(out_);
  }

 private:
  void CompareDicts(Handle left, Handle right) {
    values_.ForEachMember(left, [&](const char* key, Handle member) {
      const Handle other = values_.Member(right, key);
      path_.emplace_back(std::string(key));
      if (other == nullptr) {
        Remove(member);
      } else {
        Compare(member, other);
      }
      path_.pop_back();
      return true;
    });
    values_.ForEachMember(right, [&](const char* key, Handle member) {
      if (values_.Member(left, key) != nullptr) return true;
      path_.emplace_back(std::string(key));
      Add(member);
      path_.pop_back();
      return true;
    });
  }

  // Leaves out what is equal at both ends; what is left is aligned, so that an element more or less
  // does not make all behind it different.
  void CompareArrays(Handle left, Handle right) {
    std::uint32_t leftEnd = values_.ElementCount(left);
    std::uint32_t rightEnd = values_.ElementCount(right);
    std::uint32_t begin = 0;
    while (begin < std::min(leftEnd, rightEnd) && EqualAt(left, begin, right, begin)) ++begin;
    while (std::min(leftEnd, rightEnd) > begin && EqualAt(left, leftEnd - 1, right, rightEnd - 1)) {
      --leftEnd;
      --rightEnd;
    }
    const std::size_t rows = leftEnd - begin;
    const std::size_t columns = rightEnd - begin;
    if (rows == columns || rows == 0 || columns == 0 || rows * columns > kMostPairs) {
      return CompareRuns(left, begin, leftEnd, right, begin, rightEnd);
    }

    // The length of the longest common sequence of what is left from each pair on.
    std::vector<char> equal(rows * columns);
    std::vector<std::uint32_t> lengths((rows + 1) * (columns + 1));
    const auto length = [&](std::size_t row, std::size_t column) -> std::uint32_t& {
      return lengths[row * (columns + 1) + column];
    };
    for (std::size_t row = rows; row-- > 0;) {
      for (std::size_t column = columns; column-- > 0;) {
        const bool same = EqualAt(left, begin + static_cast<std::uint32_t>(row), right,
                                  begin + static_cast<std::uint32_t>(column));
        equal[row * columns + column] = static_cast<char>(same);
        length(row, column) = same ? length(row + 1, column + 1) + 1
                                   : std::max(length(row + 1, column), length(row, column + 1));
      }
    }
    std::uint32_t row = 0;
    std::uint32_t column = 0;
    std::uint32_t rowBegin = 0;
    std::uint32_t columnBegin = 0;
    while (row < rows && column < columns) {
      if (equal[row * columns + column] != 0) {
        CompareRuns(left, begin + rowBegin, begin + row, right, begin + columnBegin,
                    begin + column);
        rowBegin = ++row;
        columnBegin = ++column;
      } else if (length(row + 1, column) >= length(row, column + 1)) {
        ++row;
      } else {
        ++column;
      }
    }
    CompareRuns(left, begin + rowBegin, leftEnd, right, begin + columnBegin, rightEnd);
  }

  // Elements between equal ones: pairs are changes, the rest is more or less.
  void CompareRuns(Handle left, std::uint32_t leftBegin, std::uint32_t leftEnd, Handle right,
                   std::uint32_t rightBegin, std::uint32_t rightEnd) {
    for (; leftBegin < leftEnd && rightBegin < rightEnd; ++leftBegin, ++rightBegin) {
      path_.emplace_back(leftBegin);
      Compare(values_.Element(left, leftBegin), values_.Element(right, rightBegin));
      path_.pop_back();
    }
    for (; leftBegin < leftEnd; ++leftBegin) {
      path_.emplace_back(leftBegin);
      Remove(values_.Element(left, leftBegin));
      path_.pop_back();
    }
    for (; rightBegin < rightEnd; ++rightBegin) {
      path_.emplace_back(rightBegin);
      Add(values_.Element(right, rightBegin));
      path_.pop_back();
    }
  }

  bool EqualAt(Handle left, std::uint32_t leftIndex, Handle right, std::uint32_t rightIndex) const {
    return values_.Equal(values_.Element(left, leftIndex), values_.Element(right, rightIndex));
  }

  void Remove(Handle value) {
    ++removed_;
    Tell('-', Ink::kRemoved, OneLine(values_, value, Style(ColorMode::kNever, true)));
  }
  void Add(Handle value) {
    ++added_;
    Tell('+', Ink::kAdded, OneLine(values_, value, Style(ColorMode::kNever, true)));
  }

  void Tell(char sign, Ink ink, const std::string& rest) {
    if (options_.stat || options_.quiet) return;
    const std::string path = Printable(ShowPath(path_));
    const std::string head = std::string(1, sign) + ' ' + (path.empty() ? "" : path + ':');
    style_.Append(out_, ink, head);
    out_ += (path.empty() ? "" : " ") + rest + '\n';
    if (out_.size() < (std::size_t{1} << 16)) return;
    WriteStandardOutput(out_);
    out_.clear();
  }

  const Values& values_;
  const Options& options_;
  Style style_;
  Style oneLine_;  // line ends written out, whatever reads them
  zelutils::PathSteps path_;
  std::string out_;
  std::size_t added_ = 0;
  std::size_t removed_ = 0;
  std::size_t changed_ = 0;
};

}  // namespace

int Diff(const Options& options) {
  if (options.file == "-" && options.other == "-") {
    throw UsageError("standard input cannot hold both values");
  }
  const Session session;
  const Values values(session.client);
  const Document left = ReadDocument(session.client, options.file, options.from);
  const Document right = ReadDocument(session.client, options.other, options.from);
  Differences differences(values, options);
  differences.Compare(left.Root(), right.Root());
  differences.Finish();
  return differences.Any() ? kDiffers : kDone;
}

}  // namespace zelpos
