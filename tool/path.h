// Paths from a value to one inside of it, as people write them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <zelutils/client.hpp>
#include <zelutils/text_places.hpp>

namespace zelpos {

// "pages[2].size" or ".pages[2].size"; "[0].name" from an array; "" is the value itself. A key that
// holds ".", "[" or begins with "(", or is empty, stands in parentheses as in the text syntax:
// "fonts.(a.b)". Empty where the text is no path.
std::optional<zelutils::PathSteps> ParsePath(std::string_view text);
std::string ShowPath(const zelutils::PathSteps& path);

// The value that a path, or its first `count` steps, leads to; empty where there is nothing.
zelutils::Value Follow(zelutils::Value from, const zelutils::PathSteps& path,
                       std::size_t count = static_cast<std::size_t>(-1));

}  // namespace zelpos
