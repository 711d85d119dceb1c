// Words that were probably meant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zelpos {

// "; did you mean \"print\"?" for the known word that is nearest to a mistyped one, or nothing
// where none is near.
std::string DidYouMean(std::string_view word, const std::vector<std::string>& known);

}  // namespace zelpos
