// The pages about zelpos: examples print what the page says, and the manual page and completions
// that are installed are those of the tool.
#include "blocks.h"
#include "tool_fixture.h"

namespace {

namespace fs = std::filesystem;

class ToolDocsTest : public zeltest::ToolTest {};

TEST_F(ToolDocsTest, InstalledPagesAreTheToolsOwn) {
  const std::string folder = ZEL_EXAMPLES_DIR "/../tool/";
  const std::pair<std::vector<std::string>, std::string> rows[] = {
      {{"manual"}, "zelpos.1"},
      {{"completion", "bash"}, "completion/zelpos.bash"},
      {{"completion", "zsh"}, "completion/_zelpos"},
      {{"completion", "fish"}, "completion/zelpos.fish"}};
  for (const auto& [arguments, file] : rows) {
    EXPECT_TRUE(Run(arguments).out == Contents(folder + file))
        << "make it anew: zelpos " << arguments.back() << " > tool/" << file;
  }
  EXPECT_EQ(Run({"completion", "tcsh"}).status, 2);
}

TEST_F(ToolDocsTest, EachCommandHasHelpAndExamples) {
  const std::string help = Run({"--help"}).out;
  EXPECT_EQ(Run({"help"}).out, help);
  EXPECT_EQ(Run({"-h"}).out, help);
  std::size_t commands = 0;
  for (std::size_t i = help.find("Commands:\n"); (i = help.find("\n  ", i)) != help.npos;
       ++commands) {
    i += 3;
    const std::string name = help.substr(i, help.find(' ', i) - i);
    const std::string own = Run({"help", name}).out;
    EXPECT_NE(own.find("Examples:\n  zelpos " + name), own.npos) << own;
    EXPECT_EQ(Run({name, "--help"}).out, own);
    EXPECT_EQ(Run({name, "-h"}).out, own);
  }
  EXPECT_EQ(commands, 11u) << help;
}

#if !defined(_WIN32)
// Blocks of "console": behind "$ " stands a command, the lines up to the next are what it prints.
TEST_F(ToolDocsTest, ThePageShowsWhatIsPrinted) {
  for (const auto& entry : fs::directory_iterator(ZEL_EXAMPLES_DIR)) {
    if (entry.path().extension() == ".pos") fs::copy(entry.path(), Path(entry.path().filename()));
  }
  const std::string tool = fs::path(ZEL_TOOL_PATH).parent_path().string();
  const std::string together =
      "cd '" + Path("") + "' && PATH='" + tool + "':$PATH sh .command >.out 2>&1 </dev/null";
  std::size_t commands = 0;
  for (const zeltest::Block& block : zeltest::ReadBlocks("zelpos.md")) {
    if (block.kind != "console") continue;
    for (auto line = block.lines.begin(); line != block.lines.end(); ++commands) {
      const std::string command = line++->substr(2);
      std::string expected;
      for (; line != block.lines.end() && !line->starts_with("$ "); ++line) {
        expected += *line + '\n';
      }
      File(".command", command);
      EXPECT_LE(WEXITSTATUS(std::system(together.c_str())), 1) << command;
      std::string printed = Contents(Path(".out"));
      if (!printed.empty() && printed.back() != '\n') printed += '\n';
      EXPECT_EQ(printed, expected) << command;
    }
  }
  EXPECT_GT(commands, 20u);
}
#endif

}  // namespace
