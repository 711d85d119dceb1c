// A row: one procedure of an interface as the layer knows it, with its names, the roles of its
// arguments, and the way to a thunk that stands in its place.
#pragma once

#include <cstdint>

#include "zelutils/zelutils.h"

namespace zelcheck {

class Call;

// Direction of a call. A thunk stands for one procedure on one side.
enum class Side : std::uint8_t {
  kClientToLibrary,  // a client, or the host, calls what the library has registered
  kLibraryToHost,    // the library calls a procedure that it has looked up
  kClientToHost,     // a client calls a core procedure, seen with the word "core" alone
  kCallback,         // the host or the library calls back what it was given
};
inline constexpr int kSideCount = 4;

// The roles of arguments, one letter each; those of a result are the same letters, and '-' for
// none.
//   h  an instance, live           n  an instance, live or null
//   s  an instance of a stream, which a client may have made unseen
//   a  an atom, live               e  an error, live            E  an error, live or null
//   b  a shared buffer, live       m  a block of memory, live
//   t  a text                      T  a text or null            u  units
//   o  a place for a result        O  a place or null
//   d  bytes, whose size follows   D  a place for bytes, whose size follows
//   z  a size, an index or a count
//   f  a procedure                 F  a procedure or null
//   -  anything
// Of a result:
//   N  a new instance, without reference: the result itself, or what the first place holds
//   B  a borrowed instance
//   A  an atom with a reference for the caller, in the first place
struct Row {
  const char* interfaceName;  // as a finding names it
  const char* method;
  const char* procType;
  const char* roles;
  char result;
  bool isOfLibrary;  // offered by the library, or by a client in its place
  // Knowledge that the layer takes from a call, and its demands on it; null: none.
  void (*before)(Call& call);
  void (*after)(Call& call);
  // A thunk for the procedure, or the procedure itself when it is never called or no thunk is left.
  ZELProc (*wrap)(const Row& row, Side side, ZELProc procedure);
  // The procedure behind a thunk of this row and side; null for every other address.
  ZELProc (*unwrap)(Side side, ZELProc thunk);
};

}  // namespace zelcheck
