// The commands of zelpos and what they tell their caller.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace zelpos {

// Exit statuses.
inline constexpr int kDone = 0;
inline constexpr int kNotThere = 1;
inline constexpr int kNotValid = 1;
inline constexpr int kTrouble = 2;

// A command line that cannot be carried out; the message says why.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What is wrong with an input or an output, in full lines that name the file.
class FileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

using Arguments = std::vector<std::string>;

// Each takes the arguments after its name, writes its result to standard output and returns an exit
// status. Throws UsageError, FileError, and other standard exceptions.
int CheckSchema(const Arguments& arguments);
int Convert(const Arguments& arguments);
int Get(const Arguments& arguments);
int Validate(const Arguments& arguments);

}  // namespace zelpos
