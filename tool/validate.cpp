// zelpos validate and zelpos check-schema: what is wrong with a value or a schema.
#include <cstdio>

#include "commands.h"
#include "document.h"
#include "files.h"
#include "finding.h"
#include "path.h"
#include "printable.h"
#include "session.h"

namespace zelpos {
namespace {

// Lines "file:line:column: path: message" for what a check found in a document; without line and
// column where it is no text.
std::string Lines(const Document& document, const std::vector<std::string>& messages) {
  zelutils::TextPlaces places;
  std::vector<Finding> findings;
  for (const std::string& message : messages) {
    findings.push_back(Understand(document.value, message));
    places.Add(findings.back().path);
  }
  const std::string_view text = document.content.View();
  if (document.format == Format::kText) places.Find(text);
  const zelutils::TextLines lines(text);

  std::string shown;
  for (std::size_t i = 0; i < findings.size(); ++i) {
    shown += document.name + ':';
    if (const auto& place = places[i]) {
      const bool atKey = findings[i].isAboutKey && place->key;
      shown += lines.Locate(atKey ? *place->key : place->begin).ToString() + ':';
    }
    const std::string path = ShowPath(findings[i].path);
    shown += (path.empty() ? "" : ' ' + Printable(path) + ':') + ' ' +
             Printable(findings[i].message) + '\n';
  }
  return shown;
}

std::vector<std::string> CheckedSchema(const zelutils::Client& client, const Document& schema) {
  try {
    return zelutils::Validator::ValidateSchema(client, schema.value);
  } catch (const zelutils::Error& error) {
    throw FileError(schema.name + ": " + Printable(error.what()));
  }
}

bool IsBuiltIn(const std::string& type) {
  for (const char* name : {"any", "bool", "int", "real", "string", "unicodestring", "bindata",
                           "rawptr", "zelobjref", "qxbaseobjref", "zelerrorobjref"}) {
    if (type == name) return true;
  }
  return false;
}

// A schema with faults accepts what it should not: it is no schema to check anything with.
void Require(const zelutils::Client& client, const Document& schema, const std::string& type) {
  const std::vector<std::string> faults = CheckedSchema(client, schema);
  if (!faults.empty()) {
    std::string lines = Lines(schema, faults);
    lines.pop_back();
    throw FileError(lines);
  }
  if (!IsBuiltIn(type) && !schema.value.As<zelutils::Dict>().Contains(type)) {
    throw FileError(schema.name + ": no type \"" + Printable(type) + '"');
  }
}

int Report(const std::string& lines) {
  WriteStandardOutput(lines);
  return lines.empty() ? kDone : kNotValid;
}

}  // namespace

int CheckSchema(const Arguments& arguments) {
  if (arguments.size() != 1) throw UsageError("check-schema takes a schema");
  const Session session;
  const Document schema = ReadDocument(session.client, arguments[0]);
  return Report(Lines(schema, CheckedSchema(session.client, schema)));
}

int Validate(const Arguments& arguments) {
  if (arguments.size() != 3) throw UsageError("validate takes a schema, a type and a file");
  const std::string& type = arguments[1];
  if (arguments[0] == "-" && arguments[2] == "-") {
    throw UsageError("standard input cannot hold both the schema and the value");
  }
  const Session session;
  const Document schema = ReadDocument(session.client, arguments[0]);
  Require(session.client, schema, type);
  const Document document = ReadDocument(session.client, arguments[2]);
  try {
    const zelutils::Validator validator(session.client, schema.value);
    return Report(Lines(document, validator.Validate(document.value, type)));
  } catch (const zelutils::Error& error) {
    throw FileError(document.name + ": " + Printable(error.what()));
  }
}

}  // namespace zelpos
