// The examples in the pages for those who write texts and schemas do what the pages say.
#include "blocks.h"
#include "support.h"

namespace {

using zeltest::Block, zeltest::Collect, zeltest::g_messages;
using Lines = std::vector<std::string>;

class DocsTest : public zeltest::LibraryTest {
 protected:
  // Runs the block at `index` with those behind it that belong to it.
  void Run(const std::vector<Block>& blocks, std::size_t index) {
    const Block& block = blocks[index];
    if (block.kind == "pos") {
      Parse(block.Text());
    } else if (block.kind == "pos-same") {
      for (const std::string& line : block.lines) {
        EXPECT_TRUE(objects.IsEqual(Parse(block.lines[0]), Parse(line))) << line;
      }
    } else if (block.kind == "pos-error") {
      const std::string text = block.Text();
      const char* position = nullptr;
      EXPECT_EQ(statics.CreateFromText(text.c_str(), &position), nullptr);
      EXPECT_EQ(std::to_string(position - text.c_str()), block.argument);
    } else if (block.kind == "schema" || block.kind == "wrong-schema") {
      schema = Parse(block.Text());
      g_messages.clear();
      EXPECT_EQ(structValidators.ValidateSchema(schema, &Collect), block.kind == "schema");
      EXPECT_EQ(g_messages.empty(), block.kind == "schema") << ::testing::PrintToString(g_messages);
    } else if (block.kind == "schema-messages-include") {
      for (const std::string& line : block.lines) {
        EXPECT_NE(std::find(g_messages.begin(), g_messages.end(), line), g_messages.end())
            << line << " is not in " << ::testing::PrintToString(g_messages);
      }
    } else if (block.kind == "value") {
      const ZELInstance validator = Keep(structValidators.NewPOSStructValidator(schema));
      g_messages.clear();
      const std::int32_t conforms =
          validators.Validate(validator, Parse(block.Text()), Atom(block.argument), &Collect);
      const Lines messages = LinesBehind(blocks, index, "messages");
      const Lines reports = LinesBehind(blocks, index, "report");
      EXPECT_EQ(g_messages, messages);
      EXPECT_EQ(conforms == 0, IsBehind(blocks, index, "messages") || !reports.empty());
      ExpectReports(reports);
    } else {
      EXPECT_TRUE(block.kind == "messages" || block.kind == "report") << block.kind;
    }
  }

  static bool IsBehind(const std::vector<Block>& blocks, std::size_t index, const char* kind) {
    return index + 1 < blocks.size() && blocks[index + 1].kind == kind;
  }
  static Lines LinesBehind(const std::vector<Block>& blocks, std::size_t index, const char* kind) {
    return IsBehind(blocks, index, kind) ? blocks[index + 1].lines : Lines();
  }

  void RunPage(const std::string& page, std::size_t atLeast) {
    const std::vector<Block> blocks = zeltest::ReadBlocks(page);
    EXPECT_GT(blocks.size(), atLeast);
    for (std::size_t i = 0; i < blocks.size(); ++i) {
      SCOPED_TRACE(page + ":" + std::to_string(blocks[i].line));
      Run(blocks, i);
    }
  }

  ZELInstance schema = nullptr;
};

TEST_F(DocsTest, TextSyntax) { RunPage("text-syntax.md", 20); }
TEST_F(DocsTest, SchemaLanguage) { RunPage("schema-language.md", 50); }

}  // namespace
