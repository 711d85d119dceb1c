// Values as text for people, and for CreateFromText where it can read them.
#pragma once

#include <string>
#include <zelutils/client.hpp>

namespace zelpos {

// "a number", "an array", ...
std::string KindOf(const zelutils::Value& value);

// Lines that show a value: a number in the fewest digits that give it back, a text as it is, a
// Unicode text as UTF-8, binary data as its type, size and bytes in hexadecimal. Arrays and
// dictionaries are in the POS text syntax; what it has no form for stands in braces.
std::string Print(const zelutils::Value& value);

}  // namespace zelpos
