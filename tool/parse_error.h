// What is wrong with a POS text that could not be read. The library tells only where it stopped;
// the rest is found in the text before that place, all of which is well-formed.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zelpos {

struct Finding {
  std::size_t position;  // in bytes from the start of the text: where to look
  std::string message;
};

// `stop` is the position that the library gave: right behind a token that it could not take, or at
// a character or at the end, where it could not go on.
Finding ExplainParseError(std::string_view text, std::size_t stop);

// "name:line:column: message", the line, and a caret below the position. Lines and columns count
// from 1, columns in bytes; the caret stands right after tabs and UTF-8 too.
std::string ShowPosition(const std::string& name, std::string_view text, const Finding& finding);

}  // namespace zelpos
