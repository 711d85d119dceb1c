// zelpos validate and zelpos check-schema: what is wrong with a value or a schema.
#include <algorithm>

#include "commands.h"
#include "files.h"
#include "path.h"
#include "printable.h"
#include "progress.h"
#include "report.h"
#include "session.h"
#include "suggestion.h"

namespace zelpos {
namespace {

const std::vector<std::string> kBuiltInTypes = {
    "any",     "bool",   "int",       "real",         "string",        "unicodestring",
    "bindata", "rawptr", "zelobjref", "qxbaseobjref", "zelerrorobjref"};

std::vector<std::string> FaultsOf(const zelutils::Client& client, const Document& schema) {
  try {
    return zelutils::Validator::ValidateSchema(client, schema.value);
  } catch (const zelutils::Error& error) {
    throw FileError(schema.name + ": " + Printable(error.what()));
  }
}

// A schema with faults accepts what it should not: it is no schema to check anything with.
void Require(const zelutils::Client& client, const Document& schema, const std::string& type) {
  const std::vector<std::string> faults = FaultsOf(client, schema);
  if (!faults.empty()) throw FileError(SchemaFaultLines(schema, faults));
  std::vector<std::string> types = kBuiltInTypes;
  for (const auto& [key, definition] : schema.value.As<zelutils::Dict>()) types.emplace_back(key);
  if (std::find(types.begin(), types.end(), type) != types.end()) return;
  throw FileError(schema.name + ": no type \"" + Printable(type) + '"' + DidYouMean(type, types));
}

}  // namespace

int CheckSchema(const Options& options) {
  const Session session;
  Report report(options, Detail::kSchema);
  for (const std::string& file : options.files) {
    try {
      const Document schema = ReadDocument(session.client, file, options.from);
      report.Add(schema, FaultsOf(session.client, schema));
    } catch (const FileError& error) {
      report.AddTrouble(error.what());
    }
  }
  return report.Finish();
}

int Validate(const Options& options) {
  const auto inputs = std::count(options.files.begin(), options.files.end(), "-");
  if (inputs + (options.schema == "-" ? 1 : 0) > 1) {
    throw UsageError("standard input cannot hold both the schema and the value");
  }
  const Session session;
  const Document schema = ReadDocument(session.client, options.schema);
  Require(session.client, schema, options.type);
  const zelutils::Validator validator(session.client, schema.value);
  Report report(options, Detail::kEssential);
  for (const std::string& file : options.files) {
    try {
      const Document document = ReadDocument(session.client, file, options.from);
      const Progress progress("validating " + Printable(document.name));
      try {
        report.Add(document, validator.Validate(document.value, options.type));
      } catch (const zelutils::Error& error) {
        throw FileError(document.name + ": " + Printable(error.what()));
      }
    } catch (const FileError& error) {
      report.AddTrouble(error.what());
    }
  }
  return report.Finish();
}

}  // namespace zelpos
