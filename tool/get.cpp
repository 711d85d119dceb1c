// zelpos get: the value that a path leads to.
#include <cstdio>

#include "commands.h"
#include "document.h"
#include "files.h"
#include "path.h"
#include "platform.h"
#include "print.h"
#include "printable.h"
#include "session.h"

namespace zelpos {

int Get(const Arguments& arguments) {
  if (arguments.size() != 2) throw UsageError("get takes a file and a path");
  const std::string& file = arguments[0];
  const std::string& path = arguments[1];

  const std::optional<zelutils::PathSteps> steps = ParsePath(path);
  if (!steps) throw UsageError("\"" + path + "\" is no path");
  const Session session;
  const Document document = ReadDocument(session.client, file);
  const zelutils::Value found = Follow(document.value, *steps);
  if (!found) {
    std::fprintf(stderr, "%s: nothing at \"%s\"\n", document.name.c_str(), Printable(path).c_str());
    return kNotThere;
  }
  const std::string printed = Print(found);
  WriteStandardOutput(IsTerminal(stdout) ? PrintableLines(printed) : printed);
  return kDone;
}

}  // namespace zelpos
