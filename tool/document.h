// Values from files.
#pragma once

#include <string>
#include <zelutils/client.hpp>

#include "content.h"

namespace zelpos {

enum class Format { kText, kStream };

struct Document {
  std::string name;  // of the file, for messages
  Content content;
  Format format;
  zelutils::Value value;
};

// Reads the one value that a file, or standard input for "-", holds. Which form it has is told by
// the header of the stream format. Throws FileError with what is wrong and where.
Document ReadDocument(const zelutils::Client& client, const std::string& file);

}  // namespace zelpos
