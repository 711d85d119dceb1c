// Values from files and to files.
#pragma once

#include <optional>
#include <string>
#include <zelutils/client.hpp>

#include "content.h"
#include "text_writer.h"

namespace zelpos {

enum class Format { kText, kStream, kJson };

struct Document {
  std::string name;  // of the file, for messages
  Content content;
  Format format;
  zelutils::Value value;

  Handle Root() const { return value.Handle(); }
};

// Reads the one value that a file, or standard input for "-", holds. Without a format, the header
// of the stream format tells a stream; ".json", or a "{" or a quotation mark in front, tell JSON;
// the rest is text. Throws FileError with what is wrong and where.
Document ReadDocument(const zelutils::Client& client, const std::string& file,
                      std::optional<Format> format = {});
// A value from a text that was given as an argument. Throws UsageError.
zelutils::Value ParseArgument(const zelutils::Client& client, const std::string& text);

// ".pos" is text, ".json" JSON.
std::optional<Format> FormatByExtension(const std::string& file);

// Hands the value over in a format. `name` is for messages; the options serve text and JSON.
// Returns how many values had to stand in braces. Throws FileError.
std::size_t WriteValue(const zelutils::Client& client, const zelutils::Value& value, Format format,
                       const std::string& name, const TextOptions& options, const TakeText& take);

// Opens standard output for "-", else what takes the file's place in the end, and has `write` write
// to it. An interruption leaves the file as it was, or replaced as a whole if that has been done.
void WriteOutput(const std::string& file, const std::function<void(const TakeText&)>& write);

}  // namespace zelpos
