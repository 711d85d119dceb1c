#include "validator/schema_check.h"

#include <cstring>

#include "frame/core/error.h"
#include "validator/meta_schema.h"
#include "validator/struct_validator.h"

namespace NPOSValidatorImpl {

using ZEL_T_NMT::CPOSDict;
using ZEL_T_NMT::CPOSNumber;
using ZEL_T_NMT::CPOSObject;
using ZEL_T_NMT::CPOSString;
using ZEL_T_NMT::CZELStringAtom;
using ZEL_T_NMT::DUXException;
using ZEL_T_NMT::Require;
using ZEL_T_NMT::SharedBuffers;

namespace {

CPOSDict ParseMetaSchema() {
  const ZELInstance parsed =
      Require(ZEL_T_NMT::g_pos.statics.Get())->CreateFromText(kMetaSchemaText, nullptr);
  if (parsed == nullptr) ZEL_T_NMT::RaisePOSException("CreateFromText failed");
  return {CPOSObject::Adopt(parsed), false};
}

// The types that a schema may refer to: what counts is that the key is there.
CPOSDict KnownTypes(const CPOSObject& schema) {
  CPOSDict known = CPOSDict::New();
  const CPOSObject present = CPOSNumber::New(1.0);
  for (const BuiltinType& type : BuiltinTypes()) known.Put(TextOf(type.word), present);
  if (CPOSDict::Is(schema.Handle())) {
    const ZEL_T_NMT::DictView types(schema.View());
    for (ZEL_T_NMT::MemberWalk walk(types); walk.Key() != nullptr; walk.Next()) {
      known.Put(walk.Key(), present);
    }
  }
  return known;
}

// A reference to the buffer that a callback is given for its message.
class MessageTarget {
 public:
  explicit MessageTarget(ZELSharedBuff buffer) : buffer_(buffer) {
    SharedBuffers().AddRef(buffer_);
  }
  MessageTarget(const MessageTarget&) = delete;
  MessageTarget& operator=(const MessageTarget&) = delete;
  ~MessageTarget() { ZEL_T_NMT::ReleaseSharedBuffer(buffer_); }

  // Writes the two texts one after the other; false, with nothing written, when they do not fit.
  bool Write(const char* first, const char* second) const {
    char* target = Text();
    const std::size_t firstLength = std::strlen(first);
    const std::size_t secondLength = std::strlen(second);
    const std::uint32_t size = Size();
    if (firstLength >= size || secondLength >= size - firstLength) return false;
    std::memcpy(target, first, firstLength);
    std::memcpy(target + firstLength, second, secondLength + 1);
    return true;
  }
  void WriteNothing() const {
    if (Size() > 0) Text()[0] = '\0';
  }

 private:
  char* Text() const { return static_cast<char*>(SharedBuffers().GetBuffer(buffer_)); }
  std::uint32_t Size() const { return SharedBuffers().GetSize(buffer_); }

  ZELSharedBuff buffer_;
};

bool IsKnownType(ZELInstance value, ZELSharedBuff errorBuffer, const CPOSDict& knownTypes) {
  const CPOSString name(CPOSObject(value), false);
  if (!knownTypes.Get(name.Get(), true).IsEmpty()) return true;
  if (errorBuffer != nullptr &&
      !MessageTarget(errorBuffer).Write("Cannot locate definition of type ", name.Get())) {
    throw DUXException("Error buffer too small");
  }
  return false;
}

void WriteException(ZELSharedBuff errorBuffer, const char* introduction, const char* text) {
  if (errorBuffer == nullptr) return;
  const MessageTarget target(errorBuffer);
  if (!target.Write(introduction, text)) target.WriteNothing();
}

void WriteCurrentException(ZELSharedBuff errorBuffer) {
  try {
    throw;
  } catch (const std::exception& error) {
    WriteException(errorBuffer, "Caught exception: ", ZEL_T_NMT::ExceptionText(error));
  } catch (...) {
    WriteException(errorBuffer, "Caught unknown exception: ", "");
  }
}

// Accepts a String that names a type which is built in or which the checked schema defines. It is
// called as any client's callback is, and lets no exception out.
std::int32_t TypeNameCallback(ZELInstance value, ZELStringAtom, ZELSharedBuff errorBuffer,
                              void* clientData) {
  try {
    try {
      return IsKnownType(value, errorBuffer, *static_cast<const CPOSDict*>(clientData)) ? 1 : 0;
    } catch (...) {
      WriteCurrentException(errorBuffer);
    }
  } catch (...) {  // not even the message could be written
  }
  return 0;
}

}  // namespace

bool IsValidSchema(ZELInstance schemaHandle, POSValidatorMessageProc report) {
  const CPOSObject schema(schemaHandle);
  const CPOSDict metaSchema = ParseMetaSchema();
  CPOSDict knownTypes = KnownTypes(schema);
  StructValidator validator(metaSchema);
  validator.RegisterCallback(CZELStringAtom("TypeName"), &TypeNameCallback, &knownTypes,
                             StructValidator::CallbackKind::kOwn);
  return validator.Validate(schema, CZELStringAtom("StructSchema"), report);
}

}  // namespace NPOSValidatorImpl
