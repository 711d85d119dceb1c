// zelpos: POS values at the command line.
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>

#include "commands.h"
#include "files.h"
#include "printable.h"
#include "session.h"

namespace zelpos {
namespace {

struct Command {
  const char* name;
  const char* arguments;
  const char* purpose;
  int (*run)(const Arguments& arguments);
};

constexpr Command kCommands[] = {
    {"check-schema", "SCHEMA", "print what is wrong with a schema", CheckSchema},
    {"convert", "FILE [-o OUT]", "write the value in FILE in the stream format", Convert},
    {"get", "FILE PATH", "print what PATH, such as pages[2].size, leads to", Get},
    {"validate", "SCHEMA TYPE FILE", "print why the value in FILE is not of the type", Validate},
};

std::string Help() {
  std::string help = "usage: zelpos COMMAND ARGUMENTS\n\n";
  const auto column = [](std::string text, std::size_t width) {
    text.resize(std::max(width, text.size()), ' ');
    return text;
  };
  for (const Command& command : kCommands) {
    help +=
        "  " + column(command.name, 13) + column(command.arguments, 18) + command.purpose + '\n';
  }
  return help +
         "\n"
         "  --help                         print this help\n"
         "  --version                      print the versions of the tool and of the library\n"
         "\n"
         "FILE and SCHEMA hold a POS text or a stored stream; - is standard input. OUT is "
         "replaced\n"
         "only when all went well. Messages about a value or schema come as lines\n"
         "\"file:line:column: path: message\".\n"
         "\n"
         "Exit status: 0 done or valid, 1 not valid or nothing at PATH, 2 trouble.\n";
}

std::string VersionText(std::uint32_t version) {
  return std::to_string(version >> 16) + '.' + std::to_string(version >> 8 & 0xFF) + '.' +
         std::to_string(version & 0xFF);
}

void PrintVersion() {
  const Session session;
  WriteStandardOutput("zelpos " + VersionText(ZELUTILS_VERSION) + ", ZELUtils library " +
                      VersionText(session.host.LibraryVersion()) + '\n');
}

int Run(const Arguments& words) {
  if (words.empty()) throw UsageError("a command is missing");
  if (words.front() == "--help") {
    WriteStandardOutput(Help());
    return kDone;
  }
  if (words.front() == "--version") {
    PrintVersion();
    return kDone;
  }
  for (const Command& command : kCommands) {
    if (words.front() == command.name) return command.run({words.begin() + 1, words.end()});
  }
  throw UsageError("there is no command \"" + Printable(words.front()) + '"');
}

}  // namespace
}  // namespace zelpos

int main(int argc, char** argv) {
#ifdef SIGXFSZ
  std::signal(SIGXFSZ, SIG_IGN);  // a file-size limit becomes an error of the write
#endif
  try {
    return zelpos::Run({argv + (argc > 0 ? 1 : 0), argv + argc});
  } catch (const zelpos::UsageError& error) {
    std::fprintf(stderr, "zelpos: %s; zelpos --help tells what there is\n", error.what());
  } catch (const zelpos::FileError& error) {
    std::fprintf(stderr, "%s\n", error.what());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "zelpos: %s\n", error.what());
  }
  return zelpos::kTrouble;
}
