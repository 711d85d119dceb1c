// The checks of categories whose values hold others.
#include <cstddef>
#include <iterator>

#include "validator/checks.h"

namespace NPOSValidatorImpl {

using ZEL_T_NMT::ArrayView;
using ZEL_T_NMT::DictView;
using ZEL_T_NMT::MemberWalk;
using ZEL_T_NMT::POSView;

namespace {

// A member is checked against the type of all values, then against its own.
constexpr const char* kMemberPrefixes[] = {
    "%s (value, type != %s):", "%s (required, type != %s):", "%s (optional, type != %s):"};

// One member of a dictionary, by what its definition says of keys and values; `rule` is null for a
// member that it does not list.
std::int32_t ValidateMember(Run& run, const DictRules& rules, const char* name,
                            const MemberRule* rule, POSView value) {
  const auto held = run.Hold(value.Handle());
  // Mostly one type says all there is to say.
  if (rule != nullptr && rule->required && !rule->optional && !rules.KeyType() &&
      !rules.ValueType()) [[likely]] {
    return run.ValidatePart(*rule->required, value, kMemberPrefixes[1], name);
  }
  std::int32_t findings = 0;
  bool isKnown = false;
  if (const auto& type = rules.KeyType()) {
    isKnown = true;
    AddFindings(findings, run.ValidateKey(*type, name));
  }
  Attempts attempts(run);
  const std::optional<TypeName>* const types[] = {&rules.ValueType(),
                                                  rule == nullptr ? nullptr : &rule->required,
                                                  rule == nullptr ? nullptr : &rule->optional};
  for (std::size_t i = 0; i < std::size(types); ++i) {
    if (types[i] == nullptr || !*types[i]) continue;
    attempts.Next();
    AddFindings(findings, run.ValidatePart(**types[i], value, kMemberPrefixes[i], name));
    isKnown |= i > 0;
  }
  if (!isKnown) {
    AddFindings(findings, run.RejectMember(name));
  }
  return findings;
}

}  // namespace

std::int32_t ValidateArray(Run& run, Definition& definition, POSView value) {
  if (!ArrayView::Is(value)) {
    run.Messages().AppendText("Array object expected");
    return 1;
  }
  const ArrayView array(value);
  const std::uint32_t count = array.Count();
  TypeNames& types = definition.Types(Keyword::kMemberType);
  std::int32_t findings =
      CheckLength(definition, static_cast<double>(count), "Array length below mininum value %d",
                  "Array length above maximum value", run.Messages());
  if (types.AreArray() && types.ArrayCount() != count) {
    run.Messages().AppendText("Heterogenous array object size did not match type array size");
    return findings + 1;
  }
  if (!types.AreOne() && !types.AreArray()) return findings;
  for (std::uint32_t i = 0; i < count; ++i) {
    const TypeName& type = types.At(i);
    const POSView element = array.GetAt(i);
    const auto held = run.Hold(element.Handle());
    AddFindings(findings, run.ValidatePart(type, element, "[%d]:", static_cast<std::int32_t>(i)));
  }
  return findings;
}

std::int32_t ValidateDict(Run& run, Definition& definition, POSView value) {
  if (!DictView::Is(value)) {
    run.Messages().AppendText("Dict object expected");
    return 1;
  }
  const DictView dict(value);
  DictRules& rules = definition.Members();
  RequiredMembers required(run);
  std::int32_t findings = required.Fetch(rules, dict);
  if (findings > 0) return findings;
  // Both the required members and those of the dictionary come in the order of their keys.
  std::size_t place = 0;
  const std::size_t count = rules.Required().size();
  for (MemberWalk members(dict); const char* key = members.Key(); members.Next()) {
    int order = 1;
    while (place < count && (order = CompareTexts(rules.Required()[place].key.Text(), key)) < 0) {
      ++place;
    }
    if (order != 0) {
      const MemberRule* rule = rules.FindOptional(key);
      AddFindings(findings, ValidateMember(run, rules, key, rule, members.Value()));
      continue;
    }
    const MemberRule* rule = &rules.Required()[place];
    AddFindings(findings,
                ValidateMember(run, rules, key, rule,
                               required.AreOutdated() ? members.Value() : required.At(place)));
    ++place;
  }
  return findings;
}

std::int32_t ValidateUnion(Run& run, Definition& definition, POSView value) {
  TypeNames& set = definition.Types(Keyword::kSet);
  const MessageList::Mark mark = run.Messages().End();
  Attempts attempts(run);
  // The objection of a built-in type to the value is put into words only when something follows it
  // in the list, which mostly nothing does: a later alternative takes the value. The value is asked
  // once, since foreign procedures may be called for it.
  const char* objections[4];  // of the alternatives right before the one that is tried
  std::uint32_t count = 0;
  const auto putIntoWords = [&](std::uint32_t end) {
    for (std::uint32_t i = 0; i < count; ++i) {
      const MessageList::Mark objection = run.Messages().End();
      run.Messages().AppendText(objections[i]);
      run.Messages().AppendPrefix(objection, "Trying %s:", {set.At(end - count + i).Text()});
    }
    count = 0;
  };
  for (std::uint32_t i = 0; i < set.ArrayCount(); ++i) {
    const TypeName& type = set.At(i);
    if (type.Builtin() != nullptr) {
      if (const char* objection = FindMismatch(*type.Builtin(), value)) {
        if (count == std::size(objections)) putIntoWords(i);
        objections[count++] = objection;
        continue;
      }
    } else {
      putIntoWords(i);
      attempts.Next();
      if (run.ValidatePart(type, value, "Trying %s:", type.Text()) != 0) continue;
    }
    run.Messages().Drop(mark);
    return 0;
  }
  putIntoWords(set.ArrayCount());
  run.Messages().AppendPrefix(mark, "Not a valid union type:");
  return 1;
}

std::int32_t ValidateIntersection(Run& run, Definition& definition, POSView value) {
  TypeNames& set = definition.Types(Keyword::kSet);
  std::int32_t findings = 0;
  Attempts attempts(run);
  for (std::uint32_t i = 0; i < set.ArrayCount(); ++i) {
    const TypeName& type = set.At(i);
    attempts.Next();
    AddFindings(findings,
                run.ValidatePart(type, value, "Failed intersection type %s:", type.Text()));
  }
  return findings;
}

}  // namespace NPOSValidatorImpl
