// The commands of zelpos: what each prints, changes and answers.
#include <iomanip>

#include "tool_fixture.h"

#if !defined(_WIN32)
#include <unistd.h>

#include <csignal>
#endif

namespace {

using zeltest::ToolTest;
namespace fs = std::filesystem;

TEST_F(ToolTest, GetPrintsWhatIsThere) {
  const std::string text =
      "<n 100000 tiny .0000000015 big 1000000000000000000000000 s (a\\)b\\\\)"
      " u `00E94E2dD83DdE00d83d` list [1 -2.5 (x y) (a\\)) word () [] <>] (odd key) <k `0041`>"
      " long [aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa bbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbb <c"
      " ccccccccccccccccccccccccccccccccccccccc>]>";
  const std::pair<const char*, const char*> rows[] = {
      {"n", "100000\n"},
      {"tiny", "0.0000000015\n"},
      {"big", "999999999999999983222784\n"},
      {"list[1]", "-2.5\n"},
      {"s", "(a\\)b\\\\)\n"},
      {"u", "`00E94E2DD83DDE00D83D`\n"},
      {"list", "[1 -2.5 (x y) (a\\)) word () [] <>]\n"},
      {"list[2]", "(x y)\n"},
      {".odd key", "<k `0041`>\n"},
      {"long",
       "[\n  aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa\n  bbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbb\n"
       "  <c ccccccccccccccccccccccccccccccccccccccc>\n]\n"},
  };
  for (const auto& [path, printed] : rows) {
    const Outcome outcome = Run({"get", "-", path}, text);
    EXPECT_EQ(outcome.out, printed) << path;
    EXPECT_EQ(outcome.status, 0) << outcome.err;
  }
  EXPECT_EQ(Run({"get", "--raw", "-", "s", "u", "n"}, text).out,
            "a)b\\\n\u00e9\u4e2d\U0001F600\uFFFD\n100000\n");
  // A printed array or dictionary can be read again, and gives the same.
  const std::string printed = Run({"get", "-", "all"}, "<all " + text + ">").out;
  EXPECT_EQ(Run({"get", "-", "all"}, "<all " + printed + ">").out, printed);
  EXPECT_EQ(Run({"convert", "-"}, printed).out, Run({"convert", "-"}, text).out);
  // A number that stands alone can be read again wherever the syntax has a form for it.
  for (const char* number : {"1e23", "1e-23", "-1.7976931348623157e98", "4.9e-90"}) {
    const std::string stored = "POSStreamerTypeA_Version1.0 #" + std::string(number) + ' ';
    const std::string shown = Run({"get", "-", ""}, stored).out;
    EXPECT_EQ(Run({"convert", "-"}, shown).out, Run({"convert", "-"}, stored).out) << shown;
  }
}

TEST_F(ToolTest, GetPrintsBinaryData) {
  const std::string stored =
      File("stored", "POSStreamerTypeA_Version1.0 <\"b\" {\"raw\" #2  01fF}\"e\"{\"\" #0  }>\n");
  const Outcome outcome = Run({"get", stored, "b", "e"});
  EXPECT_EQ(outcome.out, "{binary data raw 2 bytes}\n{binary data () 0 bytes}\n");
  EXPECT_EQ(outcome.err.find("zelpos: 1 value has no form in the text syntax"), 0u);
  EXPECT_EQ(Run({"get", "--raw", stored, "b"}).out, "\x01\xFF");
  EXPECT_EQ(Run({"get", "--json", "-c", stored, "b"}).out, "{\"$binary\": [\"raw\", \"01FF\"]}\n");
  const Outcome refused = Run({"convert", stored, "--to", "text"});
  EXPECT_EQ(refused.status, 2);
  EXPECT_EQ(refused.err,
            "<stdout>: b: a text has no form for binary data; JSON and streams have\n");
}

TEST_F(ToolTest, AnOutputIsReplacedAsAWholeOrNotAtAll) {
  const std::string output = File("out", "old");
  fs::create_directory(Path("folder"));
  const struct {
    std::string output, input, before;
  } rows[] = {
    {output, "<a>", ""},
    {output, "POSStreamerTypeA_Version1.0 [ #1 ", ""},
    {Path("no/such/folder"), "1", ""},
    {Path("folder"), "1", ""},
#if !defined(_WIN32)
    {output, std::string(500, '[') + std::string(500, ']'), "ulimit -f 8; "},
#endif
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Run({"convert", "-", "-o", row.output}, row.input, row.before).status, 2);
    EXPECT_EQ(Contents(output), "old");
  }

  // Links and permissions stay: the test of the client has them, which writes by the same rule.
  EXPECT_EQ(Run({"convert", "-o", Path("new"), "-"}, "1", "umask 027; ").status, 0);
  EXPECT_EQ(Run({"convert", "-", "-o", "-"}, "1").out, Contents(Path("new"))) << "standard output";
#if !defined(_WIN32)
  EXPECT_EQ(fs::status(Path("new")).permissions(), fs::perms{0640});
  // No folder for temporary files is needed.
  const std::string command = "TMPDIR=/nowhere " ZEL_TOOL_PATH " convert -o " + output + " -";
  EXPECT_EQ(std::system(("echo 3 | " + command).c_str()), 0);
  EXPECT_EQ(Contents(output), "POSStreamerTypeA_Version1.0 #3 ");
#endif
  EXPECT_EQ(folder_.Names().size(), 6u) << "out, new, folder, and the three of Run";
}

#if !defined(_WIN32)
// A signal in the middle of writing. If one comes too late, a larger value is written.
TEST_F(ToolTest, AnInterruptionLeavesTheOldFile) {
  const std::string input = Path("in"), output = Path("out");
  const auto isWriting = [this] { return folder_.Names().size() > 2; };
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    bool isInterrupted = false;
    for (std::size_t size = 1u << 16; !isInterrupted && size < 1u << 26; size *= 4) {
      std::string values = "[";
      for (std::size_t i = 0; i < size; ++i) values += "1.5 ";
      File("in", values + ']');
      File("out", "old");
      const pid_t tool = fork();
      if (tool == 0) {
        std::signal(signal, SIG_DFL);  // a shell may have had it ignored
        execl(ZEL_TOOL_PATH, "zelpos", "convert", input.c_str(), "-o", output.c_str(), nullptr);
        _exit(127);
      }
      int status = 0;
      pid_t ended = 0;
      while ((ended = waitpid(tool, &status, WNOHANG)) == 0 && !isWriting()) {
      }
      if (ended == 0) {
        kill(tool, signal);
        waitpid(tool, &status, 0);
      }
      EXPECT_FALSE(isWriting()) << "something is left";
      // One that comes when the file has been replaced finds it whole, and is tried again.
      const std::string left = Contents(output);
      isInterrupted = WIFSIGNALED(status) && WTERMSIG(status) == signal && left == "old";
      EXPECT_TRUE(isInterrupted || left.ends_with("#1.5 \n]")) << signal;
    }
    EXPECT_TRUE(isInterrupted) << signal;
  }
}
#endif

// The arguments of a command line, in which some words stand for others.
std::vector<std::string> Words(const std::string& line,
                               const std::map<std::string, std::string>& meanings) {
  std::vector<std::string> words;
  std::istringstream stream(line);
  for (std::string word; stream >> std::quoted(word, '\'', '\0');) {
    const auto meaning = meanings.find(word);
    words.push_back(meaning == meanings.end() ? word : meaning->second);
  }
  return words;
}

// Beside what the page about the tool shows, which is tested as well.
TEST_F(ToolTest, StatusOutputAndMessages) {
  const std::string nul("[1 \0 2]", 7);
  const std::string one = File("one", "1");
  const std::string folder = ZEL_EXAMPLES_DIR "/";
  const std::string schema = folder + "document.schema.pos";
  const std::string document = folder + "document.pos";
  const std::string twoMessages =
      "<stdin>:1:2: a\\nb: String is not one of the enumerated values\n"
      "<stdin>:2:11: copy: BOOL was a number unequal to zero or one\n";
  const std::string stored =
      "POSStreamerTypeA_Version1.0 <\n\t\"list\" [\n\t\t#1 \n\t\t`00e9`\n\t]\n\t\"n\" #2.5 \n"
      "\t\"name\" \"a\\\"b\"\n>";
  const std::string noMessage = one + ":1:1: rejected without a message\n";
  // Words that stand for a file; a word of an argument's own blanks is in quotes.
  const std::map<std::string, std::string> files = {
      {"ONE", one}, {"NONE", Path("none")}, {"SCHEMA", schema}, {"DOCUMENT", document}};
  const struct {
    const char* command;
    std::string input;
    int status;
    std::string message;   // on standard error, once, or a part of it
    std::string out = "";  // all of standard output
  } rows[] = {
      {"", "", 2, "zelpos: a command is missing"},
      {"frobnicate", "", 2, "there is no command \"frobnicate\"; see"},
      {"pirnt", "", 2, "there is no command \"pirnt\"; did you mean \"print\"?"},
      {"get --rwa - a", "", 2, "there is no option --rwa; did you mean \"--raw\"?"},
      {"convert", "", 2, "FILE is required; see 'zelpos convert --help'"},
      {"convert - --to txt", "", 2, "--to knows no \"txt\"; did you mean \"text\"?"},
      {"convert - -", "", 2, "not expected"},
      {"convert - -o", "", 2, "required"},
      {"convert -", "POSStreamerTypeA_Version1.0 [#x ]", 2, "<stdin>: before byte 32: malf"},
      {"convert -", "POSStreamerTypeA_Version1.0 #1 #2 ", 2, "byte 31: something follows"},
      {"convert -", "  " + stored + " \n", 0, "", stored},
      {"convert -", "<list [1 `00E9`] n 2.5 name (a\"b)>", 0, "", stored},
      {"convert -", "  POSStreamerTypeA_Version2.0 <>", 2,
       "<stdin>: unknown stream version \"POSStreamerTypeA_Version2.0\";"
       " this is POSStreamerTypeA_Version1.0\n"},
      {"convert -", "POSStreamerTypeB_Version1.0 <>", 2, "unknown stream version"},
      {"get - ''", "POSStreamer\n", 0, "", "POSStreamer\n"},
      {"get -", "", 2, "PATH is required"},
      {"get - a [1] b", "<a 1>", 1, "<stdin>: nothing at \"[1]\"\n", "1\n"},
      {"get NONE a", "", 2, "none: No such file or directory"},
      {"get - a", "[1]", 1, "<stdin>: nothing at \"a\""},
      {"get - [1].x", "[0 <x 7>]", 0, "", "7\n"},
      {"get - a]b", "<(a]b) 7>", 0, "", "7\n"},
      {"get - a[x]", "<a [1]>", 2, "\"a[x]\" is no path"},
      {"get - a", nul, 2, "<stdin>:1:4: the text holds a NUL"},
      {"check-schema", "", 2, "SCHEMA is required"},
      {"check-schema SCHEMA", "", 0, ""},
      {"check-schema -", "[]", 1, "1 finding in 1", "<stdin>:1:1: Dict object expected\n"},
      {"check-schema -", "<T <category itn>>", 1, "1 finding in 1",
       "<stdin>:1:14: T.category: no category \"itn\"; did you mean \"int\"?\n"},
      {"check-schema -", "<T <category int mni 2>>", 1, "1 finding in 1",
       "<stdin>:1:18: T.mni: Not a valid union type: Trying IntDefn: Unknown member mni\n"},
      {"check-schema -", "<T 1>", 1, "1 finding in 1",
       "<stdin>:1:4: T: Not a valid union type: Dict object expected\n"},
      {"validate - T", "", 2, "FILE is required"},
      {"validate - T -", "", 2, "cannot hold both the schema and the value"},
      {"validate - T ONE", "<T <category objref>>", 2, "one: Unknown category in schema"},
      {"validate - U ONE", "<T <category int>>", 2,
       "<stdin>: no type \"U\"; did you mean \"T\"?\n"},
      {"validate - int ONE", "<T <category int>>", 0, ""},
      {"validate - T ONE", "[]", 2, "<stdin>:1:1: Dict object expected"},
      {"validate - T ONE", "<T <category int\n min (2)>>", 2,
       "<stdin>:2:6: T.min: Not a valid union type: Trying IntDefn"},
      {"validate SCHEMA Document -", Run({"convert", document}).out, 0, ""},
      {"validate SCHEMA Permissions -", "<(a\nb) 1 copy 2>", 1, "2 find", twoMessages},
      {"validate - T ONE", "<T <category union set []>>", 1, "1 find", noMessage},
      {"validate -q SCHEMA Permissions -", "<(a\nb) 1 copy 2>", 1, ""},
      {"validate SCHEMA Documnt DOCUMENT", "", 2, "did you mean \"Document\"?"},
      {"validate - T ONE NONE ONE", "<T real>", 2, "Dict object expected"},
      {"validate - T ONE NONE ONE", "<T <category real>>", 2, "no findings in 3"},
      {"print --compact -", "[1\n\n2]", 0, "", "[1 2]\n"},
      {"print -", "[1,\"a\"]", 2, "(for JSON, say --from json)"},
      {"print -", "{\"a\": [1, nul]}", 2, "<stdin>:1:14: no JSON: "},
      {"print -", "{\"a\": {\"$bytes\": \"x\"}}", 2, "<stdin>: a.$bytes: "},
      {"print -", "{\"a\": \"\\u0000\"}", 2, "<stdin>: a: a string cannot hold a NUL"},
      {"set - a -5", "<a 1 b 2>", 0, "", "<a -5 b 2>"},
      {"set - a -.5", "<a 1 b 2>", 0, "", "<a -.5 b 2>"},
      {"set - c '[1 2]'", "<a 1\n  b 2>", 0, "", "<a 1\n  b 2\n  c [1 2]>"},
      {"set - 'c d' 1", "<a 1 b 2>", 0, "", "<a 1 b 2 (c d) 1>"},
      {"set - [1] x", "[1 2 3]", 0, "", "[1 x 3]"},
      {"set - [3] x", "[1 2 3]", 0, "", "[1 2 3 x]"},
      {"set - [0] x", "[]", 0, "", "[x]"},
      {"set - [4] x", "[1 2 3]", 2, "\"[4]\" leads nowhere"},
      {"set - a (", "<a 1>", 2, "VALUE:1:2: unexpected end of text"},
      {"set -s - a (", "<a 1>", 0, "", "<a (()>"},
      {"set - '' [7]", "<a 1>", 0, "", "[7]\n"},
      {"delete - [0] [2]", "[1 2 3]", 0, "", "[2]"},
      {"delete - a", "<a 1 b 2 a 3>", 0, "", "<b 2>"},
      {"delete - b[0].x", "<b [<x 1\r\n y 2>]>", 0, "", "<b [<y 2>]>"},
      {"delete - b c", "<b 1>", 1, "<stdin>: nothing at \"c\""},
      {"delete - ''", "<b 1>", 2, "the whole value cannot be deleted"},
      {"delete --to json - b", "<b 1 c 2>", 0, "", "{\n  \"c\": 2\n}\n"},
      {"format -", "<b   [1\n+2.50]a(x)>", 0, "", "<b [1 +2.50] a (x)>\n"},
      {"format --check -", "<b 1 a 2>\n", 0, ""},
      {"format --check -", "<b  1 a 2>\n", 1, "", "<stdin>\n"},
      {"diff - ONE", "1", 0, ""},
      {"diff - ONE", "2", 1, "", "~ 2 -> 1\n"},
      {"stats -", "<a [1 (xyz)]>", 0, "",
       "kind                  values        size     largest\n"
       "number                     1\n"
       "string                     1           3           3 bytes\n"
       "array                      1           2           2 elements\n"
       "dictionary                 1           1           1 member\n"
       "all                        4\n"
       "depth 2, 1 byte of keys\n"},
      {"tree -", "<a [1 <>] b `0041`>", 0, "",
       "<stdin>: dictionary, 2 members\n"
       "├─ a: array, 2 elements\n"
       "│  ├─ [0]: 1\n"
       "│  └─ [1]: dictionary, 0 members\n"
       "└─ b: `A`\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.command);
    const Outcome outcome = Run(Words(row.command, files), row.input);
    EXPECT_EQ(outcome.status, row.status);
    EXPECT_NE(outcome.err.find(row.message), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.err.find(row.message), outcome.err.rfind(row.message)) << outcome.err;
    EXPECT_EQ(outcome.out, row.out);
  }
#if defined(__linux__)
  for (const char* argument : {"--help", "--version"}) {
    const std::string command = std::string(ZEL_TOOL_PATH) + ' ' + argument + " >/dev/full 2>&1";
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 2) << argument;
  }
#endif
  EXPECT_EQ(Run({"--help"}).status, 0);
  EXPECT_EQ(Run({"--version"}).out, "zelpos " ZEL_VERSION ", contract of the library: 1.1.1\n");
}

TEST_F(ToolTest, ParseErrorsAreShownWhereTheyAre) {
  const std::string longWord(101, 'w');
  // The message stands behind "<stdin>:".
  const std::pair<std::string, std::string> rows[] = {
      {"<a [1 2>",
       "1:8: unexpected \">\": the \"[\" at 1:4 is not closed\n  <a [1 2>\n         ^\n"},
      {"]", "1:1: unexpected \"]\": nothing is open\n  ]\n  ^\n"},
      {"<a>", "1:3: unexpected \">\": the key \"a\" has no value\n  <a>\n    ^\n"},
      {"<a 1]", "1:5: unexpected \"]\": the \"<\" at 1:1 is not closed\n  <a 1]\n      ^\n"},
      {"", "1:1: unexpected end of text: there is no value\n  \n  ^\n"},
      {"<a 1\n b", "2:3: unexpected end of text: the key \"b\" has no value\n   b\n    ^\n"},
      {"<a 1\n[\n\n", "2:2: unexpected end of text: the \"[\" at 2:1 is not closed\n  [\n   ^\n"},
      {"[1 (2]\n\n", "3:1: unexpected end of text: the \"(\" at 1:4 is not closed\n  \n  ^\n"},
      {"[1 `00", "1:7: unexpected end of text: the \"`\" at 1:4 is not closed"},
      {"[`00e` 1]", "1:6: unexpected end of the Unicode string; a Unicode string holds groups of"},
      {"<1 2>", "1:2: expected a key, which is a string, found a number\n  <1 2>\n   ^\n"},
      {"<k [<[1] 2>]>", "1:6: expected a key, which is a string, found an array"},
      {"\t<k (\u00e9\u4e2d) `0041` 1>",
       "1:13: expected a key, which is a string, found a Unicode string\n"
       "  \t<k (\u00e9\u4e2d) `0041` 1>\n  \t        ^\n"},
      {"[1,2]",
       "1:3: unexpected \",\"; values are separated by blanks (for JSON, say --from json)\n  "
       "[1,2]\n    ^\n"},
      {"[(a(b)c)]", "1:8: unexpected \")\"; inside a string"},
      {"[1\n\u00e9]", "2:1: unexpected \"\u00e9\"\n  \u00e9]\n  ^\n"},
      {"[\x80\x07]", "1:2: unexpected byte 0x80"},
      {"\xEF\xBB\xBF<a 1>",
       "1:1: unexpected byte order mark; save the text as UTF-8 without one\n"},
      {"[\xEF\xBB\xBF]", "1:2: unexpected byte order mark"},
      {"<(\x1B[31m\xC2\x9B) 1 a>",
       "1:15: unexpected \">\": the key \"a\" has no value\n  <(\\x1B[31m\\u{9B}) 1 a>\n"},
      {"1e5", "1:2: unexpected \"e\" after the value\n  1e5\n   ^\n"},
      {"[a\r\n" + longWord + "\r\n]",
       "2:1: string too long: 101 characters, where 100 are allowed"},
      {"(" + longWord + "\n)",
       "1:1: string too long: 102 characters, where 100 are allowed; it ends at 2:1\n"},
      {"[1 " + std::string(101, '1'), "1:4: number too long: 101 characters"},
      {"`" + std::string(404, '0') + "`", "1:1: Unicode string too long: 404 characters"},
      {std::string(513, '['), "1:513: nested too deeply: 512 levels are allowed\n  ..."},
  };
  for (const auto& [text, message] : rows) {
    const Outcome outcome = Run({"convert", "-"}, text);
    EXPECT_EQ(outcome.status, 2);
    const std::string shown = "<stdin>:" + message;
    EXPECT_EQ(outcome.err.substr(0, shown.size()), shown) << outcome.err;
    EXPECT_EQ(outcome.out, "");
  }
}

#if defined(__linux__)
// The output of a program to a terminal.
TEST_F(ToolTest, ATerminalGetsNoControlBytes) {
  File("hostile", "<key (\x1B]0;title\x07\x9B\xE2\x80\xAE) (\x1B[2J) 1 n 2>");
  const auto shown = [this](const std::string& arguments) {
    const std::string command = "cd '" + Path("") +
                                "' && NO_COLOR=1 script -qec '" ZEL_TOOL_PATH " " + arguments +
                                "' /dev/null >.out 2>&1 </dev/null";
    EXPECT_NE(std::system(command.c_str()), -1);
    return Contents(Path(".out"));
  };
  for (const std::string arguments :
       {"get hostile key", "get hostile \"\"", "get hostile n[0]", "validate hostile int hostile",
        "validate hostile (a hostile", "convert hostile", "convert --to text hostile",
        "format hostile -o -", "set hostile n[0] 3 -o -"}) {
    for (const char c : shown(arguments)) {
      EXPECT_TRUE(c == '\r' || c == '\n' || c == '\t' || static_cast<unsigned char>(c) >= ' ')
          << arguments;
    }
  }
  EXPECT_EQ(shown("get hostile key"), "(\\x1B]0;title\\x07\\x9B\\u{202E})\r\n");
}
#endif

}  // namespace
