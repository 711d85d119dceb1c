// Runs zelpos as its callers do: exit status, standard output, standard error, and files.
#pragma once

#include "support.h"

#if !defined(_WIN32)
#include <sys/wait.h>
#endif

namespace zeltest {

namespace fs = std::filesystem;

class ToolTest : public ::testing::Test {
 protected:
  struct Outcome {
    int status;
    std::string out;  // as text: without the carriage returns of Windows
    std::string err;
    std::string bytes;  // standard output as it is
  };

  std::string Path(const std::string& name) const { return folder_ / name; }
  static std::string Contents(const std::string& path) { return Folder::Contents(path); }
  std::string File(const std::string& name, const std::string& bytes) const {
    std::ofstream(Path(name), std::ios::binary) << bytes;
    return Path(name);
  }

  // Runs the tool with what is given on standard input and, where there is a POSIX shell, what is
  // to be done before. Temporary files go to the folder as well.
  Outcome Run(const std::vector<std::string>& arguments, const std::string& input = "",
              [[maybe_unused]] const std::string& before = "") const {
#if defined(_WIN32)
    const auto quoted = [](const std::string& text) { return '"' + text + '"'; };
    std::string command;
#else
    const auto quoted = [](const std::string& text) { return '\'' + text + '\''; };
    std::string command = before + "TMPDIR=" + quoted(folder_.path.string()) + ' ';
#endif
    command += quoted(ZEL_TOOL_PATH);
    for (const std::string& argument : arguments) command += ' ' + quoted(argument);
    command += " <" + quoted(File(".in", input)) + " >" + quoted(Path(".out")) + " 2>" +
               quoted(Path(".err"));
#if defined(_WIN32)
    command = '"' + command + '"';  // the shell there takes a pair of quotes off
#endif
    const int status = std::system(command.c_str());
    const std::string bytes = Contents(Path(".out"));
    Outcome outcome = {status, bytes, Contents(Path(".err")), bytes};
#if defined(_WIN32)
    std::erase(outcome.out, '\r');
    std::erase(outcome.err, '\r');
#else
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
    return outcome;
  }

  const Folder folder_;
};

}  // namespace zeltest
