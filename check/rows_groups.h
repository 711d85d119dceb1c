// The groups of rows, as the files that make them hand them over.
#pragma once

#include "rows.h"

namespace zelcheck {

std::span<const RowGroup> CoreRowGroups();
std::span<const RowGroup> LibraryRowGroups();

}  // namespace zelcheck
