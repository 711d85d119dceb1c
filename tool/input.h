// Values from files: a POS text or a stored stream.
#pragma once

#include <string>
#include <zelutils/client.hpp>

namespace zelpos {

// Reads the one value that a file, or standard input for "-", holds. Which of the two forms it has
// is told by the header of the stream format. Throws FileError with what is wrong and where.
zelutils::Value ReadValue(const zelutils::Client& client, const std::string& file);

}  // namespace zelpos
