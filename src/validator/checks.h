// The check of each category. A value that is of another kind ends it; otherwise all its attributes
// are looked at, and their findings add up.
#pragma once

#include "validator/run.h"

namespace NPOSValidatorImpl {

std::int32_t ValidateNumber(Run& run, Definition& definition, ZEL_T_NMT::POSView value);
std::int32_t ValidateString(Run& run, Definition& definition, ZEL_T_NMT::POSView value);
std::int32_t ValidateUnicodeString(Run& run, Definition& definition, ZEL_T_NMT::POSView value);
std::int32_t ValidateBinData(Run& run, Definition& definition, ZEL_T_NMT::POSView value);
std::int32_t ValidateReference(Run& run, Definition& definition, ZEL_T_NMT::POSView value);
std::int32_t ValidateArray(Run& run, Definition& definition, ZEL_T_NMT::POSView value);
std::int32_t ValidateDict(Run& run, Definition& definition, ZEL_T_NMT::POSView value);
std::int32_t ValidateUnion(Run& run, Definition& definition, ZEL_T_NMT::POSView value);
std::int32_t ValidateIntersection(Run& run, Definition& definition, ZEL_T_NMT::POSView value);

// The checks of "minlen" and "maxlen", each with its message.
std::int32_t CheckLength(Definition& definition, double length, const char* below,
                         const char* above, MessageList& messages);

}  // namespace NPOSValidatorImpl
