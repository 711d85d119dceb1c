#include "validator/struct_validator.h"

#include "frame/core/nesting.h"
#include "frame/core/shared_buffer.h"

namespace NPOSValidatorImpl {

using ZEL_T_NMT::BinderBlock;
using ZEL_T_NMT::CPOSDict;
using ZEL_T_NMT::CPOSObject;
using ZEL_T_NMT::CPOSString;
using ZEL_T_NMT::DUXException;
using ZEL_T_NMT::NestingLevel;
using ZEL_T_NMT::SharedBuffer;

namespace {

// What a callback has left in its buffer, up to the first NUL if there is one.
CPOSObject NewStringFromBuffer(const char* text) {
  if (std::memchr(text, '\0', kMessageBytes) != nullptr) return CPOSString::New(text);
  const BinderBlock<char> ended(kMessageBytes + 1);
  std::memcpy(ended.Get(), text, kMessageBytes);
  ended.Get()[kMessageBytes] = '\0';
  return CPOSString::New(ended.Get());
}

}  // namespace

StructValidator::StructValidator(CPOSObject schema) : schema_(std::move(schema)) {}

void StructValidator::RegisterCallback(const CZELStringAtom& typeName,
                                       POSStructValidatorCallbackProc procedure, void* clientData,
                                       CallbackKind kind) {
  callbacks_.Put(typeName, {procedure, clientData});
  if (kind == CallbackKind::kForeign) hasForeignCallbacks_ = true;
}

bool StructValidator::Validate(const CPOSObject& value, const CZELStringAtom& typeName,
                               POSValidatorMessageProc report) {
  ErrorList errors;
  errors.Create();
  const TypeName type(keywords_, typeName);
  {  // what the run holds is given back before the messages go out
    Validation validation{schema_, hasForeignCallbacks_};
    if (ValidateValue(validation, type, value.Handle(), errors) == 0) return true;
  }
  errors.Report(report);
  return false;
}

std::int32_t StructValidator::ValidateValue(Validation& validation, const TypeName& typeName,
                                            ZELInstance value, ErrorList& errors) const {
  if (typeName.Builtin() != Keyword::kNone) {
    return CheckBuiltinType(typeName.Builtin(), value, errors) == BuiltinCheckResult::kBuiltinValid
               ? 0
               : 1;
  }
  const std::int32_t findings = ValidateDefinedType(validation, typeName, value, errors);
  if (findings > 0 || callbacks_.IsEmpty()) return findings;
  return ValidateWithCallback(validation, typeName, value, errors);
}

std::int32_t StructValidator::ValidateWithCallback(Validation& validation, const TypeName& typeName,
                                                   ZELInstance value, ErrorList& errors) const {
  const Callback* entry = callbacks_.Find(typeName.Text());
  if (entry == nullptr || entry->procedure == nullptr) return 0;
  const SharedBuffer buffer(kMessageBytes);
  char* text = static_cast<char*>(buffer.Data());
  text[0] = '\0';
  const std::int32_t accepted =
      entry->procedure(value, typeName.Atom().Atom(), buffer.Handle(), entry->clientData);
  if (validation.mayChange) ++validation.changes;
  if (accepted != 0) return 0;
  errors.Append(NewStringFromBuffer(text));
  return 1;
}

std::int32_t StructValidator::ValidateDefinedType(Validation& validation, const TypeName& typeName,
                                                  ZELInstance value, ErrorList& errors) const {
  const NestingLevel level(validation.depth);
  Definition* definition = typeName.Found(validation.changes);
  if (definition == nullptr) definition = FindDefinition(validation, typeName);
  if (definition == nullptr) {
    errors.Append(
        FormatIntoPOSString("Schema not applicable, no definition for %s", {typeName.Text()}));
    return 1;
  }
  switch (definition->Category()) {
    case Keyword::kInt:
    case Keyword::kReal:
      return ValidateNumber(*definition, value, errors);
    case Keyword::kString:
      return ValidateString(*definition, value, errors);
    case Keyword::kUnicodeString:
    case Keyword::kBinData:
    case Keyword::kRawPtr:
    case Keyword::kZELObjRef:
    case Keyword::kQXBaseObjRef:
    case Keyword::kZELErrorObjRef:
      return ValidateScalar(*definition, value, errors);
    case Keyword::kArray:
      return ValidateArray(validation, *definition, value, errors);
    case Keyword::kDict:
      return ValidateDict(validation, *definition, value, errors);
    case Keyword::kUnion:
      return ValidateUnion(validation, *definition, value, errors);
    case Keyword::kIntersection:
      return ValidateIntersection(validation, *definition, value, errors);
    default:
      throw DUXException("Unknown category in schema");
  }
}

Definition* StructValidator::FindDefinition(Validation& validation,
                                            const TypeName& typeName) const {
  const ZELInstance dict = GetMember(validation.schema.Handle(), typeName.Atom());
  if (dict == nullptr || !CPOSDict::Is(dict)) return nullptr;
  const auto [entry, isNew] = validation.definitions.try_emplace(dict, keywords_, typeName, dict);
  typeName.SetFound(entry->second, validation.changes);
  return &entry->second;
}

std::int32_t StructValidator::ValidatePart(Validation& validation, const TypeName& typeName,
                                           ZELInstance part, ErrorList& errors,
                                           const char* prefixFormat, FormatArgument first) const {
  ErrorList found;
  const std::int32_t findings = ValidateValue(validation, typeName, part, found);
  if (findings > 0) {
    const CPOSString prefix = FormatIntoPOSString(prefixFormat, {first, typeName.Text()});
    AppendPrefixedMessages(errors, found, prefix.Get());
  }
  return findings;
}

}  // namespace NPOSValidatorImpl
