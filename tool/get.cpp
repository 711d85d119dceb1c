// zelpos print and zelpos get: values as text, JSON, or as they are.
#include <cstdio>

#include "commands.h"
#include "files.h"
#include "path.h"
#include "platform.h"
#include "printable.h"
#include "session.h"

namespace zelpos {
namespace {

TextOptions ForPeople(const Options& options) {
  return {options.compact, false, Style(options.color, IsTerminal(stdout))};
}

void Show(const Session& session, const zelutils::Value& value, const Options& options) {
  const std::size_t unsaid =
      WriteValue(session.client, value, options.json ? Format::kJson : Format::kText, "<stdout>",
                 ForPeople(options), WriteStandardOutput);
  if (unsaid != 0 && !options.quiet) {
    std::fprintf(stderr, "zelpos: %s no form in the text syntax and %s in braces; --json has one\n",
                 (unsaid == 1 ? "1 value has" : std::to_string(unsaid) + " values have").c_str(),
                 unsaid == 1 ? "stands" : "stand");
  }
}

// A string without quotes, a Unicode string as UTF-8, binary data as its bytes.
std::string Raw(const zelutils::Value& value) {
  switch (value.Type()) {
    case POSTypeString:
      return value.As<std::string>() + '\n';
    case POSTypeUnicodeString:
      return value.As<zelutils::UnicodeString>().ToUtf8() + '\n';
    case POSTypeBinData: {
      const auto bytes = value.As<zelutils::BinData>().Bytes();
      return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    }
    default:
      return {};
  }
}

}  // namespace

zelutils::PathSteps PathArgument(const std::string& path) {
  std::optional<zelutils::PathSteps> steps = ParsePath(path);
  if (!steps) throw UsageError('"' + Printable(path) + "\" is no path");
  return *std::move(steps);
}

int Print(const Options& options) {
  const Session session;
  for (const std::string& file : options.files) {
    Show(session, ReadDocument(session.client, file, options.from).value, options);
  }
  return kDone;
}

int Get(const Options& options) {
  std::vector<zelutils::PathSteps> paths;
  for (const std::string& path : options.paths) paths.push_back(PathArgument(path));
  const Session session;
  const Document document = ReadDocument(session.client, options.file, options.from);
  int status = kDone;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    const zelutils::Value found = Follow(document.value, paths[i]);
    if (!found) {
      status = kNotThere;
      if (options.quiet) continue;
      std::fprintf(stderr, "%s: nothing at \"%s\"\n", document.name.c_str(),
                   Printable(options.paths[i]).c_str());
    } else if (const std::string raw = options.raw ? Raw(found) : ""; !raw.empty()) {
      WriteStandardOutput(IsTerminal(stdout) ? PrintableLines(raw) : raw);
    } else {
      Show(session, found, options);
    }
  }
  return status;
}

}  // namespace zelpos
