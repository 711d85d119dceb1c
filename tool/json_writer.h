// Values as JSON, from which json_reader makes equal ones.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "text_writer.h"
#include "values.h"

namespace zelpos {

// A value that JSON lacks is written as an object of one member, whose name begins with "$":
//   a Unicode string            {"$unicode": "text"}, or the list of its units where it is not
//                               well-formed
//   a string of other bytes     {"$bytes": "hexadecimal digits"}, as a key "$bytes:digits"
//     than UTF-8
//   binary data                 {"$binary": ["type name", "hexadecimal digits"]}
//   a number that is not finite {"$number": "inf"}, "-inf" or "nan"
// A key that looks like one of these gets one more "$" in front.
class JsonWriter {
 public:
  JsonWriter(const Values& values, const TextOptions& options, TakeText take)
      : values_(values), options_(options), take_(std::move(take)) {}

  // Writes the whole value and a line end. Raw pointers and empty slots are Unsayable.
  void Write(Handle value);

 private:
  void Append(Handle value, std::size_t indentation);
  void AppendScalar(Handle value);
  void StartLine(std::size_t indentation);

  const Values& values_;
  TextOptions options_;
  TakeText take_;
  std::string out_;
};

// The bytes, which must be UTF-8, as a JSON string: everything that a terminal would obey escaped.
std::string JsonString(std::string_view text);

// The names of the members above, without the "$".
inline constexpr std::string_view kJsonUnicode = "unicode";
inline constexpr std::string_view kJsonBytes = "bytes";
inline constexpr std::string_view kJsonBinary = "binary";
inline constexpr std::string_view kJsonNumber = "number";
// "$unicode", "$$unicode", "$bytes:...": the keys that are escaped.
bool IsReservedJsonKey(std::string_view key);

}  // namespace zelpos
