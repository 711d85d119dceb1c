// zelpos get: the value that a path leads to.
#include <cstdio>

#include "commands.h"
#include "files.h"
#include "input.h"
#include "print.h"
#include "session.h"

namespace zelpos {

int Get(const Arguments& arguments) {
  if (arguments.size() != 2) throw UsageError("get takes a file and a path");
  const std::string& file = arguments[0];
  const std::string& path = arguments[1];

  const Session session;
  const zelutils::Value root = ReadValue(session.client, file);
  if (!root.Is<zelutils::Dict>()) {
    throw FileError(DisplayName(file) + ": a path starts at a dictionary, and this is " +
                    KindOf(root));
  }
  const zelutils::Value found = root.As<zelutils::Dict>().DeepGet(path);
  if (!found) {
    std::fprintf(stderr, "%s: nothing at \"%s\"\n", DisplayName(file).c_str(), path.c_str());
    return kNotThere;
  }
  WriteStandardOutput(Print(found));
  return kDone;
}

}  // namespace zelpos
