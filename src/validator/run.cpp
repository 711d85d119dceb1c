#include "validator/run.h"

#include <algorithm>
#include <cstring>

#include "frame/base/compiler.h"
#include "frame/core/nesting.h"
#include "frame/core/shared_buffer.h"

namespace NPOSValidatorImpl {

using ZEL_T_NMT::DictView;
using ZEL_T_NMT::kNestingLimit;
using ZEL_T_NMT::POSView;
using ZEL_T_NMT::SharedBuffer;

ZEL_ALWAYS_INLINE BuiltinCheckResult Run::CheckBuiltinType(const TypeName& typeName,
                                                           POSView value) {
  if (typeName.Builtin() == nullptr) return BuiltinCheckResult::kNotBuiltin;
  const char* mismatch = FindMismatch(*typeName.Builtin(), value);
  if (mismatch == nullptr) return BuiltinCheckResult::kBuiltinValid;
  messages_.AppendText(mismatch);
  return BuiltinCheckResult::kBuiltinInvalid;
}

ZEL_ALWAYS_INLINE std::int32_t Run::ValidateDefinedType(const TypeName& typeName, POSView value) {
  const ZEL_T_NMT::NestingLevel level(depth_);
  Definition* definition = typeName.Found(foreignCalls_);
  if (definition == nullptr) definition = FindDefinition(typeName);
  if (definition == nullptr) {
    messages_.Append("Schema not applicable, no definition for %s", typeName.Text());
    return 1;
  }
  deepest_ = std::max(deepest_, depth_);
  const Category& category = definition->GetCategory();
  return category.leadsOn ? ValidateOnce(*definition, value)
                          : category.check(*this, *definition, value);
}

std::int32_t Run::ValidateValue(const TypeName& typeName, POSView value) {
  switch (CheckBuiltinType(typeName, value)) {
    case BuiltinCheckResult::kBuiltinValid:
      return 0;
    case BuiltinCheckResult::kBuiltinInvalid:
      return 1;
    case BuiltinCheckResult::kNotBuiltin:
      break;
  }
  const std::int32_t findings = ValidateDefinedType(typeName, value);
  if (findings > 0 || setup_.callbacks.IsEmpty()) return findings;
  return AskCallback(typeName, value);
}

std::int32_t Run::ValidateOnce(Definition& definition, POSView value) {
  ++checksThatLeadOn_;
  const Category& category = definition.GetCategory();
  if (!verdicts_.AreEmpty()) {
    const Verdict* verdict = verdicts_.Find(value.Handle(), definition);
    if (verdict != nullptr && verdict->height <= kNestingLimit - depth_) {
      deepest_ = std::max(deepest_, depth_ + verdict->height);
      return verdict->findings;
    }
  }
  if (repetitions_ == 0) return category.check(*this, definition, value);
  const std::uint32_t deepestBefore = std::exchange(deepest_, depth_);
  const std::uint32_t foreignCallsBefore = foreignCalls_;
  const MessageList::Mark mark = messages_.End();
  const std::int32_t findings = category.check(*this, definition, value);
  // A client's callback is called as often as there are ways to what it is for.
  if (foreignCalls_ == foreignCallsBefore && messages_.IsEmptyBehind(mark)) {
    verdicts_.Note(value.Handle(), definition, {findings, deepest_ - depth_});
  }
  deepest_ = std::max(deepest_, deepestBefore);
  return findings;
}

std::int32_t Run::ValidateKey(const TypeName& type, const char* key) {
  // A key is a String in any case, which only somebody else's procedures are to see.
  if (type.Builtin() != nullptr &&
      (type.Builtin()->word == Keyword::kAny || type.Builtin()->word == Keyword::kString) &&
      ZEL_T_NMT::g_pos.strings.IsLinkedAndOwn()) {
    return 0;
  }
  const ZEL_T_NMT::CPOSObject value = ZEL_T_NMT::CPOSString::New(key);
  return ValidatePart(type, value.View(), "%s (key, type != %s):", key);
}

std::int32_t Run::RejectMember(const char* key) {
  messages_.Append("Unknown member %s", key);
  return 1;
}

void Run::PutPrefix(MessageList::Mark mark, const char* format, FormatArgument first,
                    const TypeName& typeName) {
  messages_.AppendPrefix(mark, format, {first, typeName.Text()});
}

std::int32_t Run::AskCallback(const TypeName& typeName, POSView value) {
  const Callback* entry = setup_.callbacks.Find(typeName.Text());
  if (entry == nullptr || entry->procedure == nullptr) return 0;
  const SharedBuffer buffer(kMessageBytes);
  char* text = static_cast<char*>(buffer.Data());
  text[0] = '\0';
  const std::int32_t accepted =
      entry->procedure(value.Handle(), typeName.Atom().Atom(), buffer.Handle(), entry->clientData);
  if (setup_.hasForeignCallbacks) ++foreignCalls_;
  if (accepted != 0) return 0;
  const auto* end = static_cast<const char*>(std::memchr(text, '\0', kMessageBytes));
  const std::size_t length = end == nullptr ? kMessageBytes : static_cast<std::size_t>(end - text);
  messages_.AppendText({text, length});
  return 1;
}

Definition* Run::FindDefinition(const TypeName& typeName) {
  // A schema that is no dictionary has no definitions.
  const POSView found = DictView(setup_.schema.View()).FindOrReport(typeName.Atom());
  if (!DictView::Is(found)) return nullptr;
  const auto [entry, isNew] =
      definitions_.try_emplace(found.Handle(), setup_.keywords, typeName, DictView(found));
  typeName.SetFound(entry->second, foreignCalls_);
  return &entry->second;
}

std::int32_t RequiredMembers::Fetch(const DictRules& rules, DictView dict) {
  std::int32_t findings = 0;
  for (const MemberRule& rule : rules.Required()) {
    const POSView value = dict.Find(rule.key);
    run_.required_.push_back(value);
    if (!value.IsEmpty()) continue;
    run_.messages_.Append("Missing required member %s", rule.key.Text());
    AddFindings(findings, 1);
  }
  return findings;
}

}  // namespace NPOSValidatorImpl
