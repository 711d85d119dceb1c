// Sizes that do not fit in 32 bits, on platforms of any width. From outside it would take gigabytes
// to bring them about; here the host's memory only pretends to be there.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "frame/core/error.h"
#include "pos/scalars.h"
#include "streamer/text_buffer.h"
#include "zelhost/host.h"

namespace {

std::vector<std::size_t> g_sizes;
void* PretendToRealloc(void* block, std::size_t size) {
  g_sizes.push_back(size);
  return block;
}

// Lets a buffer grow without storing anything; returns its last size.
template <typename Unit>
std::size_t GrowUntilItOverflows() {
  using Buffer = NPOSStreamerImpl::TextBuffer<Unit>;
  Buffer buffer;
  std::uint32_t count = Buffer::kLocalCapacity;
  g_sizes = {2 * sizeof(Unit) * count};  // of the first block, which is not pretended
  try {
    buffer.Advance(count);
    for (; g_sizes.size() < 100; count *= 2) {
      buffer.Reserve(count);
      buffer.Advance(count);
    }
    ADD_FAILURE() << "no end";
  } catch (const ZEL_T_NMT::DUXException& overflow) {
    EXPECT_STREQ(overflow.what(), "Math overflow exception");
  }
  for (std::size_t i = 1; i < g_sizes.size(); ++i) EXPECT_EQ(g_sizes[i] / g_sizes[i - 1], 2u) << i;
  return g_sizes.back();
}

TEST(OverflowTest, ATextThatIsReadGrowsToTheLargestPowerOfTwo) {
  zelhost::Host host;
  host.Register(ZEL_MEMORY_INTERFACE, "Realloc", "ZELMemReallocProc",
                reinterpret_cast<ZELProc>(&PretendToRealloc));
  host.Start({&ZELUtilsGetVersion, &ZELUtilsInitialize, &ZELUtilsTerminate});
  EXPECT_EQ(GrowUntilItOverflows<char>(), std::size_t{1} << 31);
  EXPECT_EQ(GrowUntilItOverflows<std::uint16_t>(), std::size_t{1} << 31);
  host.Stop();
  EXPECT_EQ(ToString(host.Live()), "nothing");
}

TEST(OverflowTest, AUnicodeStringIsStoredWithItsTerminator) {
  using NPOSObjectImpl::UnicodeString;
  EXPECT_EQ(UnicodeString::StoredCount(0), 1u);
  EXPECT_EQ(UnicodeString::StoredCount(0x7FFFFFFE), 0x7FFFFFFFu) << "4294967294 bytes";
  for (const std::size_t length :
       {std::size_t{0x7FFFFFFF}, std::numeric_limits<std::size_t>::max()}) {
    EXPECT_THROW(UnicodeString::StoredCount(length), ZEL_T_NMT::DUXException) << length;
  }
}

}  // namespace
