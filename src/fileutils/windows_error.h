// Error numbers of Windows as numbers of <cerrno>.
#pragma once

#include <cstdint>

namespace NFileSystem {

// The number that the platform's C runtime has for a system error, EINVAL where it has none; with
// those added that it does not know but that tell of memory, space or characters.
int NumberOfWindowsError(std::uint32_t error) noexcept;

}  // namespace NFileSystem
