#include "command_line.h"

#include <algorithm>
#include <map>
#include <utility>

#include "files.h"
#include "printable.h"
#include "session.h"
#include "suggestion.h"

namespace zelpos {
namespace {

const std::map<std::string, ColorMode> kColorModes = {
    {"auto", ColorMode::kAuto}, {"always", ColorMode::kAlways}, {"never", ColorMode::kNever}};
const std::map<std::string, Format> kFormats = {
    {"text", Format::kText}, {"stream", Format::kStream}, {"json", Format::kJson}};
const std::map<std::string, FindingsFormat> kFindingsFormats = {{"text", FindingsFormat::kText},
                                                                {"json", FindingsFormat::kJson},
                                                                {"sarif", FindingsFormat::kSarif}};

// One of some words, shown as WORD|WORD.
template <typename Value, typename Target>
CLI::Option* AddChoice(CLI::App& parser, const std::string& name, Target& target,
                       const std::map<std::string, Value>& choices, const std::string& purpose) {
  std::string shown;
  std::vector<std::string> words;
  for (const auto& [word, value] : choices) {
    shown += (shown.empty() ? "" : "|") + word;
    words.push_back(word);
  }
  return parser
      .add_option_function<std::string>(
          name,
          [&target, &choices, words, name](const std::string& word) {
            const auto found = choices.find(word);
            if (found == choices.end()) {
              throw UsageError(name + " knows no \"" + Printable(word) + '"' +
                               DidYouMean(word, words));
            }
            target = found->second;
          },
          purpose)
      ->type_name(shown);
}

void AddFrom(CLI::App& parser, Options& options) {
  AddChoice(parser, "--from", options.from, kFormats,
            "format of FILE; by default the one that it looks like");
}

void AddOutput(CLI::App& parser, Options& options, const std::string& purpose) {
  parser.add_option("-o,--output", options.output, purpose)->type_name("OUT");
}

// Operands that the parser would take for something else: a list in brackets, which is split at its
// commas, and numbers with a sign, which look like options. A byte in front, which no operand
// begins with, keeps them whole until they have been told apart.
constexpr char kKeepWhole = '\x01';
bool LooksOtherwise(std::string_view word) {
  const bool isNumber =
      word.size() > 1 && word[0] == '-' && (word[1] == '.' || (word[1] >= '0' && word[1] <= '9'));
  return isNumber || word.starts_with('[') || word == "++";
}
void Unmark(std::string& word) {
  if (word.starts_with(kKeepWhole)) word.erase(0, 1);
}

// Any number of operands.
CLI::Option* AddMany(CLI::App& parser, const std::string& name, std::vector<std::string>& target,
                     const std::string& purpose) {
  return parser.add_option(name, target, purpose)->required()->type_name("");
}

CLI::Option* AddOne(CLI::App& parser, const std::string& name, std::string& target,
                    const std::string& purpose) {
  return parser.add_option(name, target, purpose)->required()->type_name("");
}

std::string ContractText(std::uint32_t version) {
  return std::to_string(version >> 16) + '.' + std::to_string(version >> 8 & 0xFF) + '.' +
         std::to_string(version & 0xFF);
}

void PrintVersion() {
  Session session;
  WriteStandardOutput("zelpos " ZEL_VERSION ", contract of the library: " +
                      ContractText(session.client.Host().LibraryVersion()) + '\n');
}

// In lines of at most 80 characters.
std::string Wrapped(const std::string& text) {
  std::string wrapped;
  std::size_t column = 0;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find(' ', begin), text.size());
    if (column != 0 && column + 1 + end - begin > 80) {
      wrapped += '\n';
      column = 0;
    } else if (column != 0) {
      wrapped += ' ';
      ++column;
    }
    wrapped += text.substr(begin, end - begin);
    column += end - begin;
    begin = end + 1;
  }
  return wrapped;
}

void Arrange(CLI::App& parser) {
  CLI::FormatterBase& formatter = *parser.get_formatter();
  formatter.column_width(30);
  formatter.label("REQUIRED", "");
  formatter.label("Positionals", "Operands");
  formatter.label("SUBCOMMAND", "COMMAND");
}

constexpr const char* kFooter =
    "FILE, SCHEMA, A and B hold a POS text, a stored stream or JSON; - is standard input, as OUT\n"
    "standard output. OUT is replaced only when all went well. PATH leads from the outermost "
    "value\n"
    "to one inside: pages[2].size, [0].name, fonts.(a.b) where a key holds a dot; '' is the "
    "whole.\n"
    "\n"
    "Exit status: 0 done, valid or equal; 1 not valid, not equal or nothing at PATH; 2 trouble.\n"
    "\n"
    "'zelpos help COMMAND' tells more about each, with examples.";

}  // namespace

Command& CommandLine::Add(const std::string& name, const std::string& purpose,
                          int (*run)(const Options& options)) {
  CLI::App* const parser = parser_.add_subcommand(name, purpose);
  parser->group("Commands");
  parser->set_help_flag("-h,--help", "print this help");
  parser->allow_windows_style_options(false);
  AddChoice(*parser, "--color", options_.color, kColorModes,
            "auto: on a terminal, unless NO_COLOR is set");
  commands_.push_back({parser, run, {}, {}});
  return commands_.back();
}

void CommandLine::AddReading() {
  Command& print = Add("print", "print values as text or JSON", Print);
  AddMany(*print.parser, "FILE", options_.files, "files to print");
  print.parser->add_flag("-c,--compact", options_.compact, "all on one line");
  print.parser->add_flag("-j,--json", options_.json,
                         "as JSON, from which convert makes equal values");
  print.parser->add_flag("-q,--quiet", options_.quiet,
                         "say nothing about values without a text form");
  AddFrom(*print.parser, options_);
  print.details =
      "A value that the text syntax has no form for (strings of more than 100 bytes, binary data) "
      "stands in braces; JSON has a form for all of it.";
  print.examples = {{"zelpos print document.pos", "a text in its layout"},
                    {"zelpos print --json book.zel | jq .title", "a stored stream, for jq"}};

  Command& get = Add("get", "print what paths lead to", Get);
  AddOne(*get.parser, "FILE", options_.file, "file to look into");
  AddMany(*get.parser, "PATH", options_.paths, "such as pages[2].size");
  get.parser->add_flag("-r,--raw", options_.raw,
                       "strings without quotes, Unicode strings as UTF-8, binary data as bytes");
  get.parser->add_flag("-c,--compact", options_.compact, "all on one line");
  get.parser->add_flag("-j,--json", options_.json, "as JSON");
  get.parser->add_flag("-q,--quiet", options_.quiet, "do not tell which path leads nowhere");
  AddFrom(*get.parser, options_);
  get.details = "The exit status is 1 when one of the paths leads nowhere.";
  get.examples = {{"zelpos get document.pos fonts.body.weight", "one number"},
                  {"zelpos get document.pos 'pages[0].size' 'pages[1].size'", "several values"},
                  {"zelpos get --raw document.pos metadata.title", "a text for a script"}};

  Command& tree = Add("tree", "draw the shape of a value", Tree);
  AddMany(*tree.parser, "FILE", options_.files, "files to draw");
  tree.parser->add_option("-d,--depth", options_.depth, "number of levels to draw")->type_name("N");
  AddFrom(*tree.parser, options_);
  tree.examples = {{"zelpos tree --depth 1 document.pos", "its outermost members"}};

  Command& stats = Add("stats", "count kinds, sizes and depth", Stats);
  AddMany(*stats.parser, "FILE", options_.files, "files to count");
  AddFrom(*stats.parser, options_);
  stats.examples = {{"zelpos stats document.pos", "a table"}};

  Command& diff = Add("diff", "tell in what two values differ", Diff);
  AddOne(*diff.parser, "A", options_.file, "one value");
  AddOne(*diff.parser, "B", options_.other, "the other");
  diff.parser->add_flag("--stat", options_.stat, "numbers alone");
  diff.parser->add_flag("-q,--quiet", options_.quiet, "the exit status alone");
  AddFrom(*diff.parser, options_);
  diff.details =
      "Lines begin with ~ for a value that is another one, - for one that only A has, + for one "
      "that only B has. Paths lead into A, those behind + into B. Formats may differ.";
  diff.examples = {{"zelpos diff old.pos new.pos", "line by line"},
                   {"zelpos diff -q document.pos stored.zel && echo same", "for a script"}};
}

void CommandLine::AddEditing() {
  Command& set = Add("set", "change or add a value", Set);
  AddOne(*set.parser, "FILE", options_.file, "file to change, in place");
  AddOne(*set.parser, "PATH", options_.path, "place in it; the last step may be new");
  AddOne(*set.parser, "VALUE", options_.value, "a POS text");
  set.parser->add_flag("-s,--string", options_.literal, "VALUE is a string as it stands");
  AddOutput(*set.parser, options_, "write there instead of to FILE");
  AddChoice(*set.parser, "--to", options_.to, kFormats, "write in this format");
  AddFrom(*set.parser, options_);
  set.details =
      "In a text only the value changes; order, spaces and the spelling of everything else stay. "
      "The path '' replaces the whole value; an index that is the number of elements adds one.";
  set.examples = {{"zelpos set document.pos metadata.revision 13", "in place"},
                  {"zelpos set -s document.pos metadata.title 'A (new) title' -o -", "to look at"}};

  Command& remove = Add("delete", "take values out", Delete);
  AddOne(*remove.parser, "FILE", options_.file, "file to change, in place");
  AddMany(*remove.parser, "PATH", options_.paths, "values to take out");
  AddOutput(*remove.parser, options_, "write there instead of to FILE");
  AddChoice(*remove.parser, "--to", options_.to, kFormats, "write in this format");
  AddFrom(*remove.parser, options_);
  remove.details = "When one of the paths leads nowhere, nothing changes and the exit status is 1.";
  remove.examples = {{"zelpos delete document.pos form 'pages[3]'", "in place"}};
}

void CommandLine::AddChecking() {
  const auto addFindings = [this](CLI::App& parser) {
    AddChoice(parser, "--format", options_.findings, kFindingsFormats, "format of the findings");
    parser.add_flag("-a,--all", options_.all,
                    "also why each alternative of a union fails that a member rules out");
    parser.add_flag("-q,--quiet", options_.quiet, "the exit status alone");
    AddFrom(parser, options_);
  };
  Command& validate = Add("validate", "check values against a type of a schema", Validate);
  AddOne(*validate.parser, "SCHEMA", options_.schema, "the schema, which is checked first");
  AddOne(*validate.parser, "TYPE", options_.type, "the name of the type");
  AddMany(*validate.parser, "FILE", options_.files, "files to check");
  addFindings(*validate.parser);
  validate.details =
      "Each finding is a line FILE:LINE:COLUMN: PATH: MESSAGE; PATH can be given to get. The exit "
      "status is 0 when all conform, 1 when some do not, 2 when one could not be checked.";
  validate.examples = {
      {"zelpos validate document.schema.pos Document *.pos", "many files"},
      {"zelpos validate --format sarif s.pos T a.pos > findings.sarif", "for another tool"}};

  Command& check = Add("check-schema", "check schemas themselves", CheckSchema);
  AddMany(*check.parser, "SCHEMA", options_.files, "schemas to check");
  addFindings(*check.parser);
  check.examples = {{"zelpos check-schema document.schema.pos", "lines as validate prints them"}};
}

void CommandLine::AddConverting() {
  Command& convert = Add("convert", "write a value in another format", Convert);
  AddOne(*convert.parser, "FILE", options_.file, "file to convert");
  AddOutput(*convert.parser, options_, "file to write; - or none: standard output");
  AddChoice(*convert.parser, "--to", options_.to, kFormats,
            "the format; without it that of OUT's extension, .pos or .json, else stream");
  convert.parser->add_flag("-c,--compact", options_.compact, "text and JSON all on one line");
  AddFrom(*convert.parser, options_);
  convert.details =
      "Streams keep everything. JSON that convert wrote comes back equal: what JSON lacks is "
      "written as an object of one member ($unicode, $bytes, $binary, $number). A value that a "
      "text has no form for is an error that names its path.";
  convert.examples = {
      {"zelpos convert document.pos -o document.zel", "a stream, as programs store it"},
      {"zelpos convert document.zel --to text", "and back, to look at"},
      {"zelpos convert data.json -o data.pos", "JSON to text"}};

  Command& format = Add("format", "bring texts into one layout", FormatFiles);
  AddMany(*format.parser, "FILE", options_.files, "the texts, which are changed in place");
  format.parser->add_flag("--check", options_.check,
                          "change nothing; name the files that would change, exit status 1");
  AddOutput(*format.parser, options_, "write there instead of to FILE");
  format.parser->add_flag("-q,--quiet", options_.quiet, "with --check: the exit status alone");
  format.details = "Only the space between tokens changes; the order of keys stays.";
  format.examples = {{"zelpos format --check *.pos", "in a commit hook"},
                     {"zelpos format - < rough.pos", "from one pipe to another"}};
}

CommandLine::CommandLine() : parser_("POS values at the command line", "zelpos") {
  commands_.reserve(16);
  parser_.set_help_flag("-h,--help", "print this help");
  parser_.add_flag("-V,--version", version_, "print the versions of the tool and of the library");
  parser_.allow_windows_style_options(false);
  parser_.require_subcommand(1);
  parser_.footer(kFooter);
  AddReading();
  AddEditing();
  AddChecking();
  AddConverting();
  for (const Command& command : commands_) {
    std::string footer = command.details.empty() ? "" : Wrapped(command.details) + "\n\n";
    footer += "Examples:\n";
    for (const Command::Example& example : command.examples) {
      footer += "  " + example.line + "\n      " + example.purpose + '\n';
    }
    command.parser->footer(footer.substr(0, footer.size() - 1));
    Arrange(*command.parser);
  }
  Arrange(parser_);
}

std::vector<std::string> CommandLine::CommandNames() const {
  std::vector<std::string> names;
  for (const Command& command : commands_) names.push_back(command.parser->get_name());
  return names;
}

int CommandLine::Help(const std::string& command) {
  for (const Command& candidate : commands_) {
    if (candidate.parser->get_name() != command) continue;
    WriteStandardOutput(candidate.parser->help("zelpos"));
    return kDone;
  }
  if (!command.empty()) {
    throw UsageError("there is no command \"" + Printable(command) + '"' +
                     DidYouMean(command, CommandNames()));
  }
  WriteStandardOutput(parser_.help());
  return kDone;
}

void CommandLine::Refuse(const CLI::ParseError& error, const std::vector<std::string>& words) {
  std::string message = error.what();
  std::string help = "zelpos --help";
  std::string suggestion;
  for (const Command& command : commands_) {
    if (!command.parser->parsed()) continue;
    help = "zelpos " + command.parser->get_name() + " --help";
    std::vector<std::string> known;
    for (const CLI::Option* option : command.parser->get_options()) {
      for (const std::string& name : option->get_lnames()) known.push_back("--" + name);
    }
    for (const std::string& word : words) {
      if (word == "--") break;
      const std::string name = word.substr(0, word.find('='));
      if (!name.starts_with("--") || std::find(known.begin(), known.end(), name) != known.end()) {
        continue;
      }
      message = "there is no option " + Printable(name);
      suggestion = DidYouMean(name, known);
      break;
    }
  }
  if (message.ends_with('.')) message.pop_back();
  throw UsageError(Printable(message) + suggestion + "; see '" + help + "'");
}

int CommandLine::Run(std::vector<std::string> words) {
  const std::string first = words.empty() ? "" : words.front();
  const std::string second = words.size() < 2 ? "" : words[1];
  if (first == "help") return Help(second);
  if (first == "manual") {
    WriteStandardOutput(ManualPage(*this));
    return kDone;
  }
  if (first == "completion") {
    WriteStandardOutput(Completion(*this, second));
    return kDone;
  }
  if (words.empty()) throw UsageError("a command is missing; see 'zelpos --help'");
  const std::vector<std::string> names = CommandNames();
  if (!first.starts_with('-') && std::find(names.begin(), names.end(), first) == names.end()) {
    throw UsageError("there is no command \"" + Printable(first) + '"' + DidYouMean(first, names) +
                     "; see 'zelpos --help'");
  }
  try {
    std::vector<std::string> reversed(words.rbegin(), words.rend());
    for (std::string& word : reversed) {
      if (LooksOtherwise(word)) word.insert(0, 1, kKeepWhole);
    }
    parser_.parse(std::move(reversed));
  } catch (const CLI::CallForHelp&) {
    const auto parsed = parser_.get_subcommands();
    return Help(parsed.empty() ? "" : parsed.front()->get_name());
  } catch (const CLI::ParseError& error) {
    if (version_) {
      PrintVersion();
      return kDone;
    }
    Refuse(error, words);
  }
  for (std::vector<std::string>* operands : {&options_.files, &options_.paths}) {
    std::for_each(operands->begin(), operands->end(), Unmark);
  }
  for (std::string* operand : {&options_.schema, &options_.type, &options_.file, &options_.other,
                               &options_.path, &options_.value, &options_.output}) {
    Unmark(*operand);
  }
  for (const Command& command : commands_) {
    if (command.parser->parsed()) return command.run(options_);
  }
  PrintVersion();
  return kDone;
}

}  // namespace zelpos
