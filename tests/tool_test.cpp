// zelpos as its callers see it: exit status, standard output, standard error, and files.
#include <algorithm>

#include "support.h"

#if !defined(_WIN32)
#include <sys/wait.h>
#endif

namespace {

namespace fs = std::filesystem;

class ToolTest : public ::testing::Test {
 protected:
  struct Outcome {
    int status;
    std::string out;
    std::string err;
  };

  std::string Path(const std::string& name) const { return folder_ / name; }
  static std::string Contents(const std::string& path) { return zeltest::Folder::Contents(path); }
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
    Outcome outcome = {status, Contents(Path(".out")), Contents(Path(".err"))};
#if defined(_WIN32)
    std::erase(outcome.out, '\r');
    std::erase(outcome.err, '\r');
#else
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
    return outcome;
  }

  const zeltest::Folder folder_;
};

TEST_F(ToolTest, GetPrintsWhatIsThere) {
  const std::string text =
      "<n 100000 tiny .0000000015 big 1000000000000000000000000 s (a\\)b\\\\)"
      " u `00E94E2dD83DdE00d83d` list [1 -2.5 (x y) (a\\)) word () [] <>] (odd key) <k `0041`>"
      " long [aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa bbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbb <c"
      " ccccccccccccccccccccccccccccccccccccccc>]>";
  const struct {
    const char* path;
    const char* printed;
  } rows[] = {
      {"n", "100000\n"},
      {"tiny", "0.0000000015\n"},
      {"big", "999999999999999983222784\n"},
      {"list[1]", "-2.5\n"},
      {"s", "a)b\\\n"},
      {"u", "\u00e9\u4e2d\U0001F600\uFFFD\n"},
      {"list", "[1 -2.5 (x y) (a\\)) word () [] <>]\n"},
      {"list[2]", "x y\n"},
      {".odd key", "<k `0041`>\n"},
      {"long",
       "[\n  aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa\n  bbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbb\n"
       "  <c ccccccccccccccccccccccccccccccccccccccc>\n]\n"},
  };
  for (const auto& row : rows) {
    const Outcome outcome = Run({"get", "-", row.path}, text);
    EXPECT_EQ(outcome.out, row.printed) << row.path;
    EXPECT_EQ(outcome.status, 0) << outcome.err;
  }
  // What an array or dictionary is printed as can be read again, and gives the same.
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
  EXPECT_EQ(Run({"get", stored, "b"}).out, "type: raw\nsize: 2 bytes\n01FF\n");
  EXPECT_EQ(Run({"get", stored, "e"}).out, "type: \nsize: 0 bytes\n");
}

TEST_F(ToolTest, ConvertWritesTheStreamFormat) {
  const std::string text = "<list [1 `00E9`] n 2.5 name (a\"b)>";
  const std::string stored =
      "POSStreamerTypeA_Version1.0 <\n\t\"list\" [\n\t\t#1 \n\t\t`00e9`\n\t]\n\t\"n\" #2.5 \n"
      "\t\"name\" \"a\\\"b\"\n>";
  EXPECT_EQ(Run({"convert", "-"}, text).out, stored);
  EXPECT_EQ(Run({"convert", "-"}, stored).out, stored);
  EXPECT_EQ(Run({"convert", "-"}, "  " + stored + " \n").out, stored);
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

  const auto permissions = fs::perms::owner_all | fs::perms::others_read;
  fs::permissions(output, permissions);
  EXPECT_EQ(Run({"convert", "-o", output, "-"}, "1").status, 0);
  EXPECT_EQ(Run({"convert", "-o", Path("new"), "-"}, "1", "umask 027; ").status, 0);
  EXPECT_EQ(Contents(output), "POSStreamerTypeA_Version1.0 #1 ");
  EXPECT_EQ(Contents(Path("new")), Contents(output));
#if !defined(_WIN32)
  EXPECT_EQ(fs::status(output).permissions(), permissions);
  EXPECT_EQ(fs::status(Path("new")).permissions(), fs::perms{0640});
  fs::create_symlink("new", Path("link"));
  EXPECT_EQ(Run({"convert", "-o", Path("link"), "-"}, "2").status, 0);
  EXPECT_EQ(Contents(Path("new")), "POSStreamerTypeA_Version1.0 #2 ");
  EXPECT_TRUE(fs::is_symlink(Path("link")) && fs::remove(Path("link")));
#endif
  EXPECT_EQ(Run({"convert", "-", "-o", "-"}, "1").out, Contents(output)) << "standard output";
#if !defined(_WIN32)
  // No folder for temporary files is needed.
  const std::string command = "TMPDIR=/nowhere " ZEL_TOOL_PATH " convert -o " + output + " -";
  EXPECT_EQ(std::system(("echo 3 | " + command).c_str()), 0);
  EXPECT_EQ(Contents(output), "POSStreamerTypeA_Version1.0 #3 ");
#endif
  EXPECT_EQ(folder_.Names().size(), 6u) << "out, new, folder, and the three of Run";
}

TEST_F(ToolTest, StatusOutputAndMessages) {
  const std::string nul("[1 \0 2]", 7);
  const std::string one = File("one", "1");
  const std::string folder = ZEL_EXAMPLES_DIR "/";
  const std::string schema = folder + "document.schema.pos";
  const std::string document = folder + "document.pos";
  const std::string twoMessages =
      "<stdin>:1:2: a\\nb: String is not one of the enumerated values\n"
      "<stdin>:2:11: copy: BOOL was a number unequal to zero or one\n";
  const std::string noMessage = one + ":1:1: rejected without a message\n";
  const struct {
    std::vector<std::string> arguments;
    std::string input;
    int status;
    std::string message;   // on standard error, once, or a part of it
    std::string out = "";  // all of standard output
  } rows[] = {
      {{}, "", 2, "zelpos: a command is missing"},
      {{"frobnicate"}, "", 2, "there is no command \"frobnicate\""},
      {{"convert"}, "", 2, "convert needs a file"},
      {{"convert", "-x", "-"}, "", 2, "convert has no option -x"},
      {{"convert", "-", "-"}, "", 2, "convert takes one file"},
      {{"convert", "-", "-o"}, "", 2, "-o needs a file"},
      {{"convert", "-"}, "POSStreamerTypeA_Version1.0 [#x ]", 2, "<stdin>: before byte 32: malf"},
      {{"convert", "-"}, "POSStreamerTypeA_Version1.0 #1 #2 ", 2, "byte 31: something follows"},
      {{"get", "-"}, "", 2, "get takes a file and a path"},
      {{"get", Path("none"), "a"}, "", 2, "none: No such file or directory"},
      {{"get", "-", "a.b[3]"}, "<a <b [1]>>", 1, "<stdin>: nothing at \"a.b[3]\""},
      {{"get", "-", "a"}, "[1]", 1, "<stdin>: nothing at \"a\""},
      {{"get", "-", "[1].x"}, "[0 <x 7>]", 0, "", "7\n"},
      {{"get", "-", "(a.b)[0].()"}, "<(a.b) [<() 7>]>", 0, "", "7\n"},
      {{"get", "-", "a]b"}, "<(a]b) 7>", 0, "", "7\n"},
      {{"get", "-", "a[x]"}, "<a [1]>", 2, "\"a[x]\" is no path"},
      {{"get", "-", "a"}, nul, 2, "<stdin>:1:4: the text holds a NUL"},
      {{"check-schema"}, "", 2, "check-schema takes a schema"},
      {{"check-schema", schema}, "", 0, ""},
      {{"check-schema", "-"}, "[]", 1, "", "<stdin>:1:1: Dict object expected\n"},
      {{"validate", "-", "T"}, "", 2, "validate takes a schema, a type and a file"},
      {{"validate", "-", "T", "-"}, "", 2, "cannot hold both the schema and the value"},
      {{"validate", "-", "T", one}, "<T <category objref>>", 2, "one: Unknown category in schema"},
      {{"validate", "-", "U", one}, "<T <category int>>", 2, "<stdin>: no type \"U\""},
      {{"validate", "-", "int", one}, "<T <category int>>", 0, ""},
      {{"validate", "-", "T", one}, "[]", 2, "<stdin>:1:1: Dict object expected"},
      {{"validate", "-", "T", one},
       "<T <category int\n min (2)>>",
       2,
       "<stdin>:2:6: T.min: Not a valid union type: Trying IntDefn"},
      {{"validate", schema, "Document", document}, "", 0, ""},
      {{"validate", schema, "Document", "-"}, Run({"convert", document}).out, 0, ""},
      {{"validate", schema, "Permissions", "-"}, "<(a\nb) 1 copy 2>", 1, "", twoMessages},
      {{"validate", "-", "T", one}, "<T <category union set []>>", 1, "", noMessage},
  };
  for (const auto& row : rows) {
    const Outcome outcome = Run(row.arguments, row.input);
    EXPECT_EQ(outcome.status, row.status) << row.message;
    EXPECT_NE(outcome.err.find(row.message), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.err.find(row.message), outcome.err.rfind(row.message)) << outcome.err;
    EXPECT_EQ(outcome.out, row.out);
  }
  const std::string broken = Run({"validate", schema, "Document", folder + "broken.pos"}).out;
  EXPECT_EQ(std::count(broken.begin(), broken.end(), '\n'), 22) << broken;
#if defined(__linux__)
  for (const char* argument : {"--help", "--version"}) {
    const std::string command = std::string(ZEL_TOOL_PATH) + ' ' + argument + " >/dev/full 2>&1";
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 2) << argument;
  }
#endif
  EXPECT_EQ(Run({"--help"}).status, 0);
  EXPECT_EQ(Run({"--version"}).out, "zelpos 1.1.1, ZELUtils library 1.1.1\n");
}

TEST_F(ToolTest, ParseErrorsAreShownWhereTheyAre) {
  const std::string longWord(101, 'w');
  const struct {
    std::string text;
    std::string shown;  // after "<stdin>:"
  } rows[] = {
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
      {"[1,2]", "1:3: unexpected \",\"; values are separated by blanks\n  [1,2]\n    ^\n"},
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
  for (const auto& row : rows) {
    const Outcome outcome = Run({"convert", "-"}, row.text);
    EXPECT_EQ(outcome.status, 2);
    const std::string shown = "<stdin>:" + row.shown;
    EXPECT_EQ(outcome.err.substr(0, shown.size()), shown) << outcome.err;
    EXPECT_EQ(outcome.out, "");
  }
}

TEST_F(ToolTest, AnUnknownVersionIsNoText) {
  for (const char* version : {"POSStreamerTypeA_Version2.0", "POSStreamerTypeB_Version1.0"}) {
    const Outcome outcome = Run({"convert", "-"}, std::string("  ") + version + " <>");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "<stdin>: unknown stream version \"" + std::string(version) +
                               "\"; this is POSStreamerTypeA_Version1.0\n");
  }
  EXPECT_EQ(Run({"get", "-", ""}, "POSStreamer\n").out, "POSStreamer\n");
}

#if defined(__linux__)
TEST_F(ToolTest, FindsTheLibraryWhereItIsInstalled) {
  for (const char* const library : {"bin", "lib", "lib64", ZEL_MULTIARCH}) {
    const fs::path root = Path("root");
    fs::create_directories(root / "usr/bin");
    fs::create_directories(root / "usr" / library);
    fs::copy(ZEL_TOOL_PATH, root / "usr/bin/zelpos");
    fs::copy(ZEL_LIBRARY_PATH, root / "usr" / library / fs::path(ZEL_LIBRARY_PATH).filename());
    const std::string command = (root / "usr/bin/zelpos").string() + " --version >/dev/null";
    EXPECT_EQ(std::system(command.c_str()), 0) << library;
    fs::remove_all(root);
  }
}

// What a program writes when its output is a terminal.
TEST_F(ToolTest, ATerminalGetsNoControlBytes) {
  const std::string file =
      File("hostile", "<key (\x1B]0;title\x07\x9B\xE2\x80\xAE) (\x1B[2J) 1 n 2>");
  const auto shown = [this](const std::string& arguments) {
    const std::string command = "script -qec '" ZEL_TOOL_PATH " " + arguments + "' /dev/null >" +
                                Path(".out") + " 2>&1 </dev/null";
    EXPECT_NE(std::system(command.c_str()), -1);
    return Contents(Path(".out"));
  };
  for (const std::string arguments :
       {"get hostile key", "get hostile \"\"", "get hostile n[0]", "validate hostile int hostile",
        "validate hostile (a hostile"}) {
    std::string command = arguments;
    for (std::size_t i = 0; (i = command.find("hostile", i)) != command.npos; i += file.size()) {
      command.replace(i, 7, file);
    }
    for (const char c : shown(command)) {
      EXPECT_TRUE(c == '\r' || c == '\n' || static_cast<unsigned char>(c) >= ' ') << arguments;
    }
  }
  EXPECT_EQ(shown("get " + file + " key"), "\\x1B]0;title\\x07\\x9B\\u{202E}\r\n");
}
#endif

}  // namespace
