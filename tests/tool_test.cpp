// zelpos as its callers see it: exit status, standard output, standard error, and files.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

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

  void SetUp() override { fs::create_directory(folder_); }
  void TearDown() override { fs::remove_all(folder_); }

  std::string Path(const std::string& name) const { return (folder_ / name).string(); }
  static std::string Contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::string File(const std::string& name, const std::string& bytes) const {
    std::ofstream(Path(name), std::ios::binary) << bytes;
    return Path(name);
  }

  // Runs the tool with what is given on standard input.
  Outcome Run(const std::vector<std::string>& arguments, const std::string& input = "") const {
#if defined(_WIN32)
    const auto quoted = [](const std::string& text) { return '"' + text + '"'; };
#else
    const auto quoted = [](const std::string& text) { return '\'' + text + '\''; };
#endif
    std::string command = quoted(ZEL_TOOL_PATH);
    for (const std::string& argument : arguments) command += ' ' + quoted(argument);
    command += " <" + quoted(File(".in", input)) + " >" + quoted(Path(".out")) + " 2>" +
               quoted(Path(".err"));
    int status = std::system(command.c_str());
#if !defined(_WIN32)
    status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
    return {status, Contents(Path(".out")), Contents(Path(".err"))};
  }

 private:
  const fs::path folder_ =
      fs::temp_directory_path() / ("zel_tool_test." + std::to_string(std::random_device()()));
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
      {"tiny", "1.5e-09\n"},
      {"big", "1e+24\n"},
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
  EXPECT_EQ(Run({"convert", File("in.pos", text), "-o", Path("out")}).status, 0);
  EXPECT_EQ(Contents(Path("out")), stored);
}

TEST_F(ToolTest, AFailedRunLeavesTheOutputAsItWas) {
  const std::string output = File("out", "old");
  EXPECT_EQ(Run({"convert", "-", "-o", output}, "<a>").status, 2);
  EXPECT_EQ(Contents(output), "old");
  EXPECT_EQ(Run({"convert", "-o", Path("no/such/folder"), "-"}, "1").status, 2);
  fs::create_directory(Path("folder"));
  EXPECT_EQ(Run({"convert", "-o", Path("folder"), "-"}, "1").status, 2);

  EXPECT_EQ(Run({"convert", "-o", output, "-"}, "1").status, 0);
  EXPECT_EQ(Contents(output), "POSStreamerTypeA_Version1.0 #1 ");
  const auto left = std::distance(fs::directory_iterator(fs::path(output).parent_path()), {});
  EXPECT_EQ(left, 5) << "out, folder, and the three of Run";
}

TEST_F(ToolTest, FailuresTellWhatIsWrong) {
  const std::string nul("[1 \0 2]", 7);
  const struct {
    std::vector<std::string> arguments;
    std::string input;
    int status;
    std::string message;  // a part of standard error
  } rows[] = {
      {{}, "", 2, "zelpos: a command is missing"},
      {{"frobnicate"}, "", 2, "there is no command \"frobnicate\""},
      {{"convert"}, "", 2, "convert needs a file"},
      {{"convert", "-x", "-"}, "", 2, "convert has no option -x"},
      {{"convert", "-", "-"}, "", 2, "convert takes one file"},
      {{"convert", "-", "-o"}, "", 2, "-o needs a file"},
      {{"get", "-"}, "", 2, "get takes a file and a path"},
      {{"get", Path("none"), "a"}, "", 2, "none: No such file or directory"},
      {{"get", Path("."), "a"}, "", 2, "Is a directory"},
      {{"get", "-", "a.b[3]"}, "<a <b [1]>>", 1, "<stdin>: nothing at \"a.b[3]\""},
      {{"get", "-", "a"}, "[1]", 2, "<stdin>: a path starts at a dictionary, and this is an array"},
      {{"get", "-", "a"}, nul, 2, "<stdin>:1:4: the text holds a NUL"},
      {{"convert", "-"}, "POSStreamerTypeA_Version1.0 [#x ]", 2, "<stdin>: before byte 32: malf"},
      {{"convert", "-"}, "POSStreamerTypeA_Version1.0 #1 #2 ", 2, "byte 31: something follows"},
  };
  for (const auto& row : rows) {
    const Outcome outcome = Run(row.arguments, row.input);
    EXPECT_EQ(outcome.status, row.status) << row.message;
    EXPECT_NE(outcome.err.find(row.message), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.out, "");
  }
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
      {"<a ]", "1:4: unexpected \"]\": the key \"a\" has no value\n  <a ]\n     ^\n"},
      {"<a 1]", "1:5: unexpected \"]\": the \"<\" at 1:1 is not closed\n  <a 1]\n      ^\n"},
      {"", "1:1: unexpected end of text: there is no value\n  \n  ^\n"},
      {"<a 1\n b", "2:3: unexpected end of text: the key \"b\" has no value\n   b\n    ^\n"},
      {"<a 1\n[\n\n", "2:2: unexpected end of text: the \"[\" at 2:1 is not closed\n  [\n   ^\n"},
      {"[1 (2]\n\n", "3:1: unexpected end of text: the \"(\" at 1:4 is not closed\n  \n  ^\n"},
      {"[1 `00", "1:7: unexpected end of text: the \"`\" at 1:4 is not closed"},
      {"[`00e` 1]", "1:6: unexpected end of the Unicode string; a Unicode string holds groups of"},
      {"[`00ex`]", "1:6: unexpected \"x\"; a Unicode string holds groups of four hexadecimal"},
      {"<1 2>", "1:2: expected a key, which is a string, found a number\n  <1 2>\n   ^\n"},
      {"<k [<[1] 2>]>", "1:6: expected a key, which is a string, found an array"},
      {"\t<k (\u00e9\u4e2d) `0041` 1>",
       "1:13: expected a key, which is a string, found a Unicode string\n"
       "  \t<k (\u00e9\u4e2d) `0041` 1>\n  \t        ^\n"},
      {"[1,2]", "1:3: unexpected \",\"; values are separated by blanks\n  [1,2]\n    ^\n"},
      {"[(a(b)c)]", "1:8: unexpected \")\"; inside a string"},
      {"[1\n\u00e9]", "2:1: unexpected \"\u00e9\"\n  \u00e9]\n  ^\n"},
      {"[\x80\x07]", "1:2: unexpected byte 0x80"},
      {"1e5", "1:2: unexpected \"e\" after the value\n  1e5\n   ^\n"},
      {"[1]\n\n]", "3:1: unexpected \"]\" after the value"},
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

}  // namespace
