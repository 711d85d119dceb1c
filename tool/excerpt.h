// Places in texts as compilers show them.
#pragma once

#include <string>
#include <string_view>
#include <zelutils/text_lexer.hpp>

namespace zelpos {

// "  the line\n  ^": the line of a place, or a part of a long one, with a caret below the place. It
// stands right after tabs and UTF-8 too.
std::string Excerpt(const zelutils::TextLines& lines, const zelutils::LineColumn& place);

// "name:line:column: message" and the excerpt.
std::string ShowPosition(const std::string& name, std::string_view text, std::size_t position,
                         const std::string& message);

}  // namespace zelpos
