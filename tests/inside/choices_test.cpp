// Texts that a definition enumerates, with the comparisons that finding them takes.
#include <gtest/gtest.h>

#include <string>

#include "validator/choices.h"
#include "zelhost/host.h"

namespace {

using NPOSValidatorImpl::Choices, NPOSValidatorImpl::g_comparisons;

std::string Word(std::uint32_t number) { return "word" + std::to_string(number * 7919 % 99991); }

// Comparisons for each text that is looked for among so many words, most of them twice.
std::uint64_t ComparisonsPerText(std::uint32_t count) {
  const ZEL_T_NMT::CPOSArray words = ZEL_T_NMT::CPOSArray::New();
  for (std::uint32_t n = 0; n < count; ++n) {
    words.Append(ZEL_T_NMT::CPOSString::New(Word(n).c_str()));
  }
  Choices choices(words);
  const std::uint64_t before = g_comparisons;
  for (std::uint32_t n = 0; n < count; ++n) {
    EXPECT_TRUE(choices.Have(Word(count - 1 - n).c_str())) << n;
    EXPECT_EQ(choices.Have(Word(n * 2).c_str()), n * 2 < count) << n;
  }
  return (g_comparisons - before) / 2 / count;
}

TEST(Choices, AreFoundByALogarithmicNumberOfComparisons) {
  zelhost::Host host;
  host.Start({&ZELUtilsGetVersion, &ZELUtilsInitialize, &ZELUtilsTerminate});
  EXPECT_LE(ComparisonsPerText(32000), 2 * ComparisonsPerText(1000));
  host.Stop();
  EXPECT_EQ(ToString(host.Live()), "nothing");
}

}  // namespace
