// The failures that end a command, or what it does with one file.
#pragma once

#include <stdexcept>

namespace zelpos {

// A command line that cannot be carried out; the message says why.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A fault of an input or an output; the message is one or more full lines that name the file.
class FileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Nobody reads what is written any more.
class ClosedPipe : public FileError {
 public:
  using FileError::FileError;
};

}  // namespace zelpos
