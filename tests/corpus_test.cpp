// The inputs that the fuzzers start from, and every one that ever failed.
#include "support.h"
#include "targets.h"

namespace {

class CorpusTest : public ::testing::TestWithParam<zelfuzz::Target> {};

TEST_P(CorpusTest, FindsNothing) {
  zelfuzz::Session session([](zelhost::Host& host) { host.Start(zeltest::LibraryPath()); });
  std::size_t count = 0;
  const std::filesystem::path folder = std::filesystem::path(ZEL_CORPUS_DIR) / GetParam().name;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string bytes = zeltest::Folder::Contents(entry.path());
    const zelfuzz::Bytes input(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    try {
      zelfuzz::Run(GetParam(), session, input);
    } catch (const zelfuzz::Finding& finding) {
      ADD_FAILURE() << entry.path() << ": " << finding.what();
    }
    ++count;
  }
  EXPECT_GE(count, 10u);
}

INSTANTIATE_TEST_SUITE_P(EachTarget, CorpusTest, ::testing::ValuesIn(zelfuzz::kTargets),
                         [](const auto& target) { return target.param.name; });

}  // namespace
