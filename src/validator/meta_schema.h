// The schema of schemas, in the POS text syntax: what a client's schema is checked against, as a
// value of the type "StructSchema".
#pragma once

namespace NPOSValidatorImpl {

extern const char kMetaSchemaText[];

}  // namespace NPOSValidatorImpl
