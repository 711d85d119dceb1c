// The manual page and the completions of shells, from the description of the command line.
#include <algorithm>

#include "command_line.h"
#include "printable.h"

namespace zelpos {
namespace {

// As roff takes a text: nothing at the start of a line or behind a backslash is a command.
std::string Roff(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '\\') {
      escaped += "\\e";
    } else if (c == '-') {
      escaped += "\\-";
    } else if (c == '\'') {
      escaped += "\\(aq";
    } else if (c == '.' && (escaped.empty() || escaped.back() == '\n')) {
      escaped += "\\&.";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

// "-o, --output OUT"
std::string Names(const CLI::Option& option) {
  std::string names;
  for (const std::string& name : option.get_snames()) names += "-" + name + ", ";
  for (const std::string& name : option.get_lnames()) names += "--" + name + ", ";
  names.resize(names.size() - 2);
  const std::string type = option.get_items_expected_max() == 0 ? "" : option.get_type_name();
  return type.empty() ? names : names + ' ' + type;
}

std::vector<const CLI::Option*> OptionsOf(const CLI::App& parser, bool positional) {
  std::vector<const CLI::Option*> options;
  for (const CLI::Option* option : parser.get_options()) {
    if (option->get_positional() == positional) options.push_back(option);
  }
  return options;
}

std::string Usage(const CLI::App& parser) {
  std::string usage;
  for (const CLI::Option* option : OptionsOf(parser, true)) {
    usage += ' ' + option->get_name(true) + (option->get_items_expected_max() > 1 ? "..." : "");
  }
  return usage;
}

// A word of a shell, whatever is in it.
std::string ShellWord(std::string text) {
  for (std::size_t i = 0; (i = text.find('\'', i)) != text.npos; i += 4)
    text.replace(i, 1, "'\\''");
  return '\'' + text + '\'';
}

// The words that an option takes, where it takes some of a few: "auto|always|never".
std::string Choices(const CLI::Option& option) {
  std::string words = option.get_type_name();
  if (words.find('|') == words.npos) return {};
  std::replace(words.begin(), words.end(), '|', ' ');
  return words;
}

std::string BashCompletion(const CommandLine& line) {
  std::string names;
  std::string cases;
  for (const Command& command : line.Commands()) {
    names += command.parser->get_name() + ' ';
    std::string options;
    for (const CLI::Option* option : OptionsOf(*command.parser, false)) {
      for (const std::string& name : option->get_lnames()) options += "--" + name + ' ';
      if (const std::string choices = Choices(*option); !choices.empty()) {
        cases += "    " + command.parser->get_name() + ":--" + option->get_lnames().front() +
                 ") COMPREPLY=($(compgen -W '" + choices + "' -- \"$word\")); return ;;\n";
      }
    }
    cases += "    " + command.parser->get_name() + ":*) words='" + options + "' ;;\n";
  }
  return "# bash completion for zelpos, made by 'zelpos completion bash'\n"
         "_zelpos() {\n"
         "  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} words=\n"
         "  if [ \"$before\" = = ]; then before=${COMP_WORDS[COMP_CWORD-2]}; fi\n"
         "  if [ \"$word\" = = ]; then word=; fi\n"
         "  if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
         "    COMPREPLY=($(compgen -W '" +
         names +
         "help --help --version' -- \"$word\"))\n"
         "    return\n"
         "  fi\n"
         "  if [ \"${COMP_WORDS[1]}\" = help ]; then\n"
         "    COMPREPLY=($(compgen -W '" +
         names +
         "' -- \"$word\"))\n"
         "    return\n"
         "  fi\n"
         "  case ${COMP_WORDS[1]}:$before in\n" +
         cases +
         "  esac\n"
         "  if [[ $word == -* ]]; then\n"
         "    COMPREPLY=($(compgen -W \"$words\" -- \"$word\"))\n"
         "  else\n"
         "    COMPREPLY=($(compgen -f -- \"$word\"))\n"
         "  fi\n"
         "}\n"
         "complete -o filenames -F _zelpos zelpos\n";
}

std::string ZshCompletion(const CommandLine& line) {
  // Zsh has characters of its own for the end of an option and the start of its description.
  const auto plain = [](std::string text) {
    for (const char c : {':', '[', ']'}) {
      for (std::size_t i = 0; (i = text.find(c, i)) != text.npos; i += 2) text.insert(i, 1, '\\');
    }
    return text;
  };
  std::string commands;
  std::string cases;
  for (const Command& command : line.Commands()) {
    const std::string& name = command.parser->get_name();
    commands += "    " + ShellWord(name + ':' + plain(command.parser->get_description())) + '\n';
    cases += "    " + name + ")\n      _arguments";
    for (const CLI::Option* option : OptionsOf(*command.parser, false)) {
      for (const std::string& long_ : option->get_lnames()) {
        const bool takesWord = option->get_items_expected_max() != 0;
        const std::string choices = Choices(*option);
        cases +=
            " \\\n        " +
            ShellWord(
                "--" + long_ + (takesWord ? "=" : "") + '[' + plain(option->get_description()) +
                ']' +
                (takesWord ? ":word:" + (choices.empty() ? "_files" : '(' + choices + ')') : ""));
      }
    }
    cases += " \\\n        '*:file:_files'\n      ;;\n";
  }
  return "#compdef zelpos\n# made by 'zelpos completion zsh'\n"
         "_zelpos() {\n"
         "  local -a commands\n"
         "  commands=(\n" +
         commands +
         "    'help:print help'\n  )\n"
         "  if (( CURRENT == 2 )); then\n"
         "    _describe command commands\n"
         "    return\n"
         "  fi\n"
         "  local command=$words[2]\n"
         "  shift words\n"
         "  (( CURRENT-- ))\n"
         "  case $command in\n" +
         cases +
         "    help)\n      _describe command commands\n      ;;\n"
         "  esac\n"
         "}\n"
         "_zelpos \"$@\"\n";
}

std::string FishCompletion(const CommandLine& line) {
  std::string script = "# made by 'zelpos completion fish'\n";
  for (const Command& command : line.Commands()) {
    const std::string& name = command.parser->get_name();
    script += "complete -c zelpos -n __fish_use_subcommand -f -a " + name + " -d " +
              ShellWord(command.parser->get_description()) + '\n';
    for (const CLI::Option* option : OptionsOf(*command.parser, false)) {
      script += "complete -c zelpos -n '__fish_seen_subcommand_from " + name + "'";
      for (const std::string& short_ : option->get_snames()) script += " -s " + short_;
      for (const std::string& long_ : option->get_lnames()) script += " -l " + long_;
      const std::string choices = Choices(*option);
      if (!choices.empty()) script += " -x -a '" + choices + '\'';
      if (choices.empty() && option->get_items_expected_max() != 0) script += " -r";
      script += " -d " + ShellWord(option->get_description()) + '\n';
    }
  }
  std::string names;
  for (const std::string& name : line.CommandNames()) names += (names.empty() ? "" : " ") + name;
  return script + "complete -c zelpos -n __fish_use_subcommand -f -a help -d 'print help'\n" +
         "complete -c zelpos -n '__fish_seen_subcommand_from help' -f -a '" + names + "'\n";
}

}  // namespace

std::string ManualPage(const CommandLine& line) {
  std::string page =
      ".TH ZELPOS 1 \"\" ZELUtils \"User Commands\"\n.SH NAME\n"
      "zelpos \\- look into, check, change and convert POS values\n"
      ".SH SYNOPSIS\n.B zelpos\n.I COMMAND\n.RI [ OPTION ...]\n.IR OPERAND ...\n"
      ".SH DESCRIPTION\n" +
      Roff(
          "A POS value is a tree of numbers, strings, arrays and dictionaries. It is written by "
          "hand "
          "as a POS text, and stored by programs as a stream. Commands read either, and JSON; "
          "which "
          "one a file holds is seen in it.\n") +
      ".PP\n" +
      Roff(
          "- is standard input, and behind -o standard output. A file is replaced only when all "
          "went "
          "well. Options may stand before or after operands; -- ends them.\n") +
      ".SH PATHS\n" +
      Roff(
          "A path leads from the outermost value to one inside: pages[2].size, or [0].name from an "
          "array. A key that is empty, holds . or [ or begins with ( stands in parentheses, as in "
          "the "
          "text syntax: fonts.(a.b). The empty path is the whole value.\n") +
      ".SH COMMANDS\n";
  for (const Command& command : line.Commands()) {
    page += ".SS \"" + command.parser->get_name() + Roff(Usage(*command.parser)) + "\"\n" +
            Roff(command.parser->get_description()) + ".\n";
    if (!command.details.empty()) page += Roff(command.details) + '\n';
    for (const CLI::Option* option : OptionsOf(*command.parser, true)) {
      page +=
          ".TP\n.I " + Roff(option->get_name(true)) + '\n' + Roff(option->get_description()) + '\n';
    }
    for (const CLI::Option* option : OptionsOf(*command.parser, false)) {
      page += ".TP\n.B " + Roff(Names(*option)) + '\n' + Roff(option->get_description()) + '\n';
    }
    page += ".PP\nExamples:\n";
    for (const Command::Example& example : command.examples) {
      page += ".TP\n.B " + Roff(example.line) + '\n' + Roff(example.purpose) + '\n';
    }
  }
  return page +
         ".SH EXIT STATUS\n.TP\n.B 0\ndone, valid or equal\n.TP\n.B 1\n"
         "not valid, not equal, or nothing at a path\n.TP\n.B 2\n"
         "trouble: a file that cannot be read, a faulty schema, a wrong command line\n"
         ".SH ENVIRONMENT\n.TP\n.B NO_COLOR\nset to anything: no colours, unless asked for\n"
         ".TP\n.B ZELUTILS_LIBRARY\n" +
         Roff(
             "the library's file, where it is neither beside the tool nor where an installation "
             "puts it\n") +
         ".SH SEE ALSO\n.BR jq (1)\n";
}

std::string Completion(const CommandLine& line, const std::string& shell) {
  if (shell == "bash") return BashCompletion(line);
  if (shell == "zsh") return ZshCompletion(line);
  if (shell == "fish") return FishCompletion(line);
  throw UsageError("completion takes bash, zsh or fish");
}

}  // namespace zelpos
