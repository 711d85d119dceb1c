#include "finding.h"

#include <algorithm>
#include <charconv>
#include <span>

#include "path.h"
#include "suggestion.h"

namespace zelpos {
namespace {

using zelutils::Array;
using zelutils::Dict;
using zelutils::Value;

class Reader {
 public:
  Reader(const Value& root, std::string_view message) : value_(root), rest_(message) {}

  Finding Read() {
    while (!finding_.isAboutKey && (TakeWords() || TakeElement() || TakeMember())) {
    }
    constexpr std::string_view kUnknown = "Unknown member ";
    if (rest_.starts_with(kUnknown) && Member(rest_.substr(kUnknown.size()))) {
      finding_.path.emplace_back(std::string(rest_.substr(kUnknown.size())));
      finding_.isAboutKey = true;
    }
    finding_.message += rest_;
    finding_.fault = rest_;
    return std::move(finding_);
  }

 private:
  Value Member(std::string_view key) const {
    return value_.Is<Dict>() ? value_.As<Dict>().Get(key) : Value();
  }

  // "Not a valid union type: Trying Name:" and "Failed intersection type Name:".
  bool TakeWords() {
    for (const std::string_view words :
         {"Not a valid union type: Trying ", "Failed intersection type "}) {
      if (!rest_.starts_with(words)) continue;
      const std::size_t colon = rest_.find(": ", words.size());
      if (colon == rest_.npos) return false;
      finding_.message += rest_.substr(0, colon + 2);
      if (words.front() == 'N') {
        const std::string_view type = rest_.substr(words.size(), colon - words.size());
        finding_.tried.push_back({finding_.path.size(), std::string(type)});
      }
      rest_.remove_prefix(colon + 2);
      return true;
    }
    return false;
  }

  // "[2]:".
  bool TakeElement() {
    if (!rest_.starts_with('[') || !value_.Is<Array>()) return false;
    std::uint32_t index = 0;
    const char* const end = rest_.data() + rest_.size();
    const auto [after, error] = std::from_chars(rest_.data() + 1, end, index);
    const std::string_view behind(after, static_cast<std::size_t>(end - after));
    if (error != std::errc() || !behind.starts_with("]: ")) return false;
    Enter(value_.As<Array>().GetAt(index), index, behind.substr(3));
    return true;
  }

  // "name (required, type != Name):". A key may hold such words itself: the shortest one that the
  // value has is taken.
  bool TakeMember() {
    constexpr std::string_view kType = ", type != ";
    for (std::size_t i = rest_.find(" ("); i != rest_.npos; i = rest_.find(" (", i + 1)) {
      const std::string_view behind = rest_.substr(i + 2);
      for (const std::string_view role : {"required", "optional", "value", "key"}) {
        if (!behind.starts_with(role) || !behind.substr(role.size()).starts_with(kType)) continue;
        const std::size_t end = behind.find("): ");
        const Value member = end == behind.npos ? Value() : Member(rest_.substr(0, i));
        if (!member) continue;
        finding_.isAboutKey = role == "key";
        Enter(member, std::string(rest_.substr(0, i)), behind.substr(end + 3));
        return true;
      }
    }
    return false;
  }

  void Enter(Value member, zelutils::PathStep step, std::string_view rest) {
    finding_.path.push_back(std::move(step));
    value_ = std::move(member);
    rest_ = rest;
  }

  Value value_;
  std::string_view rest_;
  Finding finding_;
};

using Findings = std::vector<Finding>;

// "IntDefn" is the definition of category "int".
std::string CategoryOf(std::string_view definition) {
  std::string category(definition.substr(0, definition.find("Defn")));
  for (char& c : category) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return category;
}

// True if an alternative fails because a member of the value has not one of the values it lists.
bool IsRuledOut(const Finding& finding, std::size_t level) {
  return finding.tried.size() == level + 1 &&
         finding.path.size() == finding.tried[level].depth + 1 && !finding.isAboutKey &&
         finding.fault == "String is not one of the enumerated values";
}

bool IsSameFault(const Finding& left, const Finding& right) {
  return left.path == right.path && left.isAboutKey == right.isAboutKey &&
         left.fault == right.fault;
}

bool IsSameUnion(const Finding& left, const Finding& right, std::size_t level) {
  if (left.tried.size() <= level || right.tried.size() <= level) return false;
  const std::size_t depth = left.tried[level].depth;
  return depth == right.tried[level].depth && left.path.size() >= depth &&
         right.path.size() >= depth &&
         std::equal(left.path.begin(), left.path.begin() + static_cast<std::ptrdiff_t>(depth),
                    right.path.begin());
}

void AppendEssential(std::span<const Finding> findings, std::size_t level, Findings& essential);

// The findings of one union, all alternatives of it.
void AppendUnion(std::span<const Finding> findings, std::size_t level, Findings& essential) {
  std::vector<std::span<const Finding>> open;  // the alternatives that are not ruled out
  std::vector<std::span<const Finding>> alternatives;
  const Finding* excluding = nullptr;
  std::string types;
  while (!findings.empty()) {
    const std::string& type = findings.front().tried[level].type;
    const auto end = std::find_if(findings.begin(), findings.end(), [&](const Finding& finding) {
      return finding.tried[level].type != type;
    });
    const auto count = static_cast<std::size_t>(end - findings.begin());
    const auto alternative = findings.first(count);
    findings = findings.subspan(count);
    alternatives.push_back(alternative);
    types += (types.empty() ? "" : ", ") + type;
    const auto excluded =
        std::find_if(alternative.begin(), alternative.end(),
                     [&](const Finding& finding) { return IsRuledOut(finding, level); });
    if (excluded == alternative.end()) {
      open.push_back(alternative);
    } else if (excluding == nullptr || excluding->path == excluded->path) {
      excluding = &*excluded;
    }
  }
  if (alternatives.size() > 1) {
    const std::size_t before = essential.size();
    for (const Finding& finding : alternatives[0]) {
      const bool isCommon =
          std::all_of(alternatives.begin(), alternatives.end(), [&](const auto& alternative) {
            return std::any_of(alternative.begin(), alternative.end(),
                               [&](const Finding& other) { return IsSameFault(finding, other); });
          });
      if (!isCommon) continue;
      essential.push_back(finding);
      essential.back().message = "Not a valid union type: " + finding.fault;
    }
    if (essential.size() != before) return;
  }
  for (const auto& alternative : open) AppendEssential(alternative, level + 1, essential);
  if (!open.empty() || excluding == nullptr) return;
  essential.push_back(*excluding);
  essential.back().message = "Not a valid union type: this value fits none of " + types;
}

void AppendEssential(std::span<const Finding> findings, std::size_t level, Findings& essential) {
  while (!findings.empty()) {
    std::size_t count = 1;
    while (count < findings.size() && IsSameUnion(findings[0], findings[count], level)) ++count;
    if (findings[0].tried.size() > level) {
      AppendUnion(findings.first(count), level, essential);
    } else {
      essential.push_back(findings[0]);
      count = 1;
    }
    findings = findings.subspan(count);
  }
}

}  // namespace

Finding Understand(const Value& root, std::string_view message) {
  return Reader(root, message).Read();
}

Findings Essential(const Findings& findings) {
  Findings essential;
  AppendEssential(findings, 0, essential);
  return essential;
}

Findings EssentialOfSchema(const Value& schema, const Findings& findings) {
  Findings meant;
  for (std::size_t i = 0; i < findings.size();) {
    std::size_t end = i + 1;
    while (end < findings.size() && IsSameUnion(findings[i], findings[end], 0)) ++end;
    const auto definition = std::span(findings).subspan(i, end - i);
    i = end;
    const Value value = Follow(schema, definition.front().path, 1);
    const Value category = value.Is<Dict>() ? value.As<Dict>().Get("category") : Value();
    if (definition.front().tried.empty() || !category || !category.Is<zelutils::String>()) {
      meant.insert(meant.end(), definition.begin(), definition.end());
      continue;
    }
    const std::string name = category.As<std::string>();
    std::vector<std::string> known;
    for (const Finding& finding : definition) {
      known.push_back(CategoryOf(finding.tried.front().type));
      if (known.back() == name) meant.push_back(finding);
    }
    if (std::find(known.begin(), known.end(), name) != known.end()) continue;
    Finding unknown;
    unknown.path = {definition.front().path.front(), "category"};
    unknown.message = unknown.fault = "no category \"" + name + '"' + DidYouMean(name, known);
    meant.push_back(unknown);
  }
  return Essential(meant);
}

}  // namespace zelpos
