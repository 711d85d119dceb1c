// Calls, things and places in words.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "call.h"
#include "ledger.h"

namespace zelcheck {

inline std::string Text(const char* text) { return text == nullptr ? "" : text; }
std::string Hex(std::uint64_t number);
// The fewest digits that tell the number from others, whatever the locale of the host.
std::string RealInWords(double number);
// In double quotes, with what cannot be printed escaped; at most `room` bytes are read.
std::string Quoted(const char* text, std::size_t room = 40);
// "1 reference", "3 references".
std::string Plural(std::int64_t count, std::string_view noun);
// "POSArrayInterface.Append".
std::string NameOf(const Row& row);
// With the arguments as they are: "POSArrayInterface.Append(instance 0x55d0c8, instance null)".
std::string InWords(const Call& call);
std::string InWords(const Argument& value, char role);
// "POSArrayInterface.NewPOSArray (call 12, from build_pages+0x2f in app+0x11af)".
std::string InWords(const Origin& origin);
// "a client 2 references, the latest taken by …; the library 1 reference, …", or "nobody".
std::string InWords(const Holders& holders);
std::string AtomInWords(ZELStringAtom atom);

// ---- In the file of each platform ----

// "symbol+0x2f in file+0x11af", as far as the system tells.
std::string PlaceOf(const void* address);
// The calls on the stack outside of the layer, one a line; empty where the platform has none.
std::string CallStack();

}  // namespace zelcheck
