// The command line: what there is, what each thing does, with examples. Help, the manual page and
// the completions of shells come from this one description.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"

namespace zelpos {

struct Command {
  CLI::App* parser;
  int (*run)(const Options& options);
  // A command line and what it does.
  struct Example {
    std::string line;
    std::string purpose;
  };
  std::vector<Example> examples;
  std::string details;
};

class CommandLine {
 public:
  CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  // Carries out a command line, without the program's name. Throws as the commands do.
  int Run(std::vector<std::string> words);

  const std::vector<Command>& Commands() const { return commands_; }
  CLI::App& Parser() { return parser_; }
  // Those for people: without "help" and "completion".
  std::vector<std::string> CommandNames() const;

 private:
  Command& Add(const std::string& name, const std::string& purpose,
               int (*run)(const Options& options));
  void AddReading();
  void AddEditing();
  void AddChecking();
  void AddConverting();
  int Help(const std::string& command);
  [[noreturn]] void Refuse(const CLI::ParseError& error, const std::vector<std::string>& words);

  CLI::App parser_;
  bool version_ = false;
  Options options_;
  std::vector<Command> commands_;
};

// The page zelpos(1), for man.
std::string ManualPage(const CommandLine& line);
// For "bash", "zsh" or "fish".
std::string Completion(const CommandLine& line, const std::string& shell);

}  // namespace zelpos
