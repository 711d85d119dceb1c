// zelpos validate and zelpos check-schema: what is wrong with a value or a schema.
#include <algorithm>

#include "commands.h"
#include "files.h"
#include "input.h"
#include "session.h"

namespace zelpos {
namespace {

// A message shows parts of the value and the schema as they are, line ends included.
std::string OnOneLine(std::string message) {
  std::replace_if(
      message.begin(), message.end(), [](char c) { return c == '\n' || c == '\r'; }, '?');
  return message;
}

// Prints the messages that a check of a file gives.
template <typename Check>
int Report(const std::string& file, Check check) {
  const std::string name = DisplayName(file);
  std::string lines;
  try {
    for (const std::string& message : check()) lines += name + ": " + OnOneLine(message) + '\n';
  } catch (const zelutils::Error& error) {
    throw FileError(name + ": " + error.what());
  }
  WriteStandardOutput(lines);
  return lines.empty() ? kDone : kNotValid;
}

}  // namespace

int CheckSchema(const Arguments& arguments) {
  if (arguments.size() != 1) throw UsageError("check-schema takes a schema");
  const Session session;
  const zelutils::Value schema = ReadValue(session.client, arguments[0]);
  return Report(arguments[0],
                [&] { return zelutils::Validator::ValidateSchema(session.client, schema); });
}

int Validate(const Arguments& arguments) {
  if (arguments.size() != 3) throw UsageError("validate takes a schema, a type and a file");
  const std::string& schemaFile = arguments[0];
  const std::string& type = arguments[1];
  const std::string& file = arguments[2];
  if (schemaFile == "-" && file == "-") {
    throw UsageError("standard input cannot hold both the schema and the value");
  }
  const Session session;
  const zelutils::Value schema = ReadValue(session.client, schemaFile);
  const zelutils::Value value = ReadValue(session.client, file);
  return Report(file,
                [&] { return zelutils::Validator(session.client, schema).Validate(value, type); });
}

}  // namespace zelpos
