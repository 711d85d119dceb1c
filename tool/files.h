// Whole files in and out, byte for byte. The name "-" stands for standard input.
#ifndef ZELPOS_FILES_H
#define ZELPOS_FILES_H

#include <string>
#include <string_view>

namespace zelpos {

// How a file is named in messages.
std::string DisplayName(const std::string& file);

// All functions throw FileError.
std::string ReadFile(const std::string& file);
void WriteStandardOutput(std::string_view bytes);
// Writes beside the file and moves the result into its place, so that a failure leaves the file as
// it was. What is no regular file, a device or a pipe, is written to directly.
void ReplaceFile(const std::string& file, std::string_view bytes);

}  // namespace zelpos

#endif  // ZELPOS_FILES_H
