// Depths and sizes: every descent at its limit and one level beyond it on a small
// stack, and the sizes, indices and counts that a caller or a stream can name.

#include "support.h"

namespace {

using zeltest::Repeat;

const std::string kHeader = POS_STREAMER_TYPE_A_VERSION_1_0 " ";

// A stream of an instance of its own, behind which no host checks what the client says.
struct Liar {
  std::string bytes;
  std::uint32_t deliversMore = 0;  // than it has stored, after the header
  std::uint32_t mark = 0;
  std::uint32_t soughtTo = 0;
  std::uint32_t position = 0;
};
Liar g_liar;
ZELErrorObject LiarRead(ZELInstance, std::uint32_t* delivered, void* buffer, std::uint32_t wanted) {
  *delivered = static_cast<std::uint32_t>(
      g_liar.bytes.copy(static_cast<char*>(buffer), wanted, g_liar.position));
  g_liar.position += *delivered;
  if (wanted > 1) *delivered += g_liar.deliversMore;
  return nullptr;
}
ZELErrorObject LiarMark(ZELInstance, std::uint32_t* position) {
  *position = g_liar.mark;
  return nullptr;
}
ZELErrorObject LiarSeek(ZELInstance, std::uint32_t position, std::uint32_t) {
  g_liar.soughtTo = position;
  return nullptr;
}
void NotCalled() { ADD_FAILURE() << "called"; }

// Blocks and buffers as large as were asked for last; there are no large ones.
ZELMemAllocProc g_alloc = nullptr;
std::size_t g_largest = 0;
void* SmallAlloc(std::size_t size) {
  g_largest = std::max(g_largest, size);
  return size > (std::size_t{1} << 20) ? nullptr : g_alloc(size);
}
ZELSharedBuff NoBuffer(std::uint32_t size, std::int32_t, std::int32_t, std::int32_t, std::int32_t) {
  g_largest = size;
  return nullptr;
}
class DepthSizeTest : public zeltest::LibraryTest {
 protected:
  ZELInstance Read(const std::string& bytes) {
    return streamers.Deserialize(streamer, NewStream(kHeader + bytes));
  }

  // Clones, compares, writes, reads and validates; returns how many of these were too deep.
  int Descend(ZELInstance value, const char* typeName) {
    int tooDeep = 0;
    const auto check = [&](bool succeeded, std::size_t count = 1) {
      const std::vector<std::string> reports = host.TakeReports();
      EXPECT_EQ(reports.size(), succeeded ? 0 : count);
      if (succeeded) return;
      EXPECT_EQ(reports.front(), "nesting too deep");
      ++tooDeep;
    };
    const ZELInstance clone = objects.Clone(value);
    check(clone != nullptr, POS_NESTING_LIMIT + 1);  // one from each level
    check(objects.IsEqual(value, clone == nullptr ? value : Keep(clone)));
    const ZELInstance stream = NewStream("");
    const bool isWritten = streamers.Serialize(streamer, stream, value, nullptr) == 1;
    check(isWritten);
    if (isWritten) {
      onStream.Rewind(stream);
      EXPECT_TRUE(objects.IsEqual(Keep(streamers.Deserialize(streamer, stream)), value));
    }
    check(validators.Validate(validator, value, Atom(typeName), nullptr) == 1);
    return tooDeep;
  }

  ZELInstance streamer = Keep(streamers.NewPOSStreamer());
  ZELInstance validator = Keep(structValidators.NewPOSStructValidator(
      Parse("<A <category array membertype A> D <category dict keytype string valuetype D>"
            " U <category union set [U]> I <category intersection set [any J]>"
            " J <category intersection set [I]>>")));
};

TEST_F(DepthSizeTest, EveryDescentEndsAtItsLimit) {
  zeltest::RunOnSmallStack([this] {
    for (const bool isDict : {false, true}) {
      const auto nested = [&](std::size_t depth, const char* dict, const std::string& innermost) {
        return Repeat(depth, isDict ? dict : "[") + innermost + Repeat(depth, isDict ? ">" : "]");
      };
      const std::string empty = nested(1, "<", "");
      const ZELInstance deepest = Parse(nested(POS_NESTING_LIMIT - 1, "<k", empty));
      EXPECT_EQ(Descend(deepest, isDict ? "D" : "A"), 0);

      EXPECT_EQ(statics.CreateFromText(nested(POS_NESTING_LIMIT, "<k", empty).c_str(), nullptr),
                nullptr);
      const ZELInstance deeper = Keep(isDict ? dicts.NewPOSDict() : arrays.NewPOSArray());
      isDict ? dicts.Put(deeper, Atom("k"), deepest) : arrays.Append(deeper, deepest);
      EXPECT_EQ(Descend(deeper, isDict ? "D" : "A"), 4);

      // Their keys' order decides which of two members is compared first.
      const ZELInstance left = Parse("<b 1>");
      const ZELInstance right = Parse("<b 2>");
      EXPECT_FALSE(objects.IsEqual(left, right));
      EXPECT_TRUE(host.TakeReports().empty());
      for (const ZELInstance dict : {left, right}) dicts.Put(dict, Atom("a"), deepest);
      EXPECT_FALSE(objects.IsEqual(left, right));
      EXPECT_EQ(host.TakeReports(), std::vector<std::string>{"nesting too deep"});
      // The parts of a value in a stream are not counted against the limit.
      Keep(Read(nested(POS_NESTING_LIMIT, "<\"k\"", "{\"t\"#0 }")));
      EXPECT_EQ(Read(nested(POS_NESTING_LIMIT + 1, "<\"k\"", "#0 ")), nullptr);
      ExpectReports({"nesting too deep"});
    }
    EXPECT_EQ(Read(std::string(100000, '{')), nullptr);
    ExpectReports({"nesting too deep"});
    // Types that reach themselves without going down into the value.
    for (const char* typeName : {"U", "I"}) {
      EXPECT_EQ(validators.Validate(validator, Parse("1"), Atom(typeName), nullptr), 0);
      ExpectReports({"nesting too deep"});
    }
  });
}

TEST_F(DepthSizeTest, CyclesEndAtTheLimitAndPathsDoNot) {
  zeltest::RunOnSmallStack([this] {
    const ZELInstance first = Keep(arrays.NewPOSArray()), second = Keep(arrays.NewPOSArray());
    arrays.Append(first, second);
    arrays.Append(second, first);
    EXPECT_EQ(Descend(first, "A"), 4);
    arrays.Remove(second, 0);

    const ZELInstance dict = Keep(dicts.NewPOSDict());
    dicts.Put(dict, Atom("k"), dict);
    EXPECT_EQ(Descend(dict, "D"), 4);
    EXPECT_EQ(dicts.DeepGet(dict, Atom(Repeat(100000, ".k"))), dict);
    dicts.Remove(dict, Atom("k"));
  });
}

TEST_F(DepthSizeTest, LyingStreamsAreFoundOut) {
  const char* const name = "LyingStream";
  zelutils::StreamInterface own;
  own.Read = &LiarRead;
  own.Mark = &LiarMark;
  own.Seek = &LiarSeek;
#define REGISTER(method, procType)        \
  host.Register(name, #method, #procType, \
                own.method == nullptr ? &NotCalled : reinterpret_cast<ZELProc>(own.method));
  ZEL_STREAM_METHODS(REGISTER)
  ZELInstance stream = nullptr;
  ASSERT_EQ(containers.NewFullContainer(&stream, &g_liar, Atom(name), nullptr, Atom(name), 0, 0, 0),
            nullptr);
  Keep(stream);
  // Without a report the value is read, and the stream set back by the three bytes behind it.
  const std::tuple<std::uint32_t, std::uint32_t, const char*> rows[] = {
      {0, 3, nullptr},
      {0, 0xFFFFFFFF, nullptr},
      {0, 2, "stream position before its unread bytes"},
      {0xFFFFFFFF, 100, "unexpected EOF"},  // less by one, and then nothing
      {512, 0xFFFFFFFF, "stream delivered more than was asked for"},
      {0xFFFFFFF0, 0, "stream delivered more than was asked for"},
  };
  for (const auto& [deliversMore, mark, report] : rows) {
    const std::string value = deliversMore == 0xFFFFFFFF ? "#" : "#1    ";
    g_liar = {kHeader + value, deliversMore, mark};
    const ZELInstance object = streamers.Deserialize(streamer, stream);
    if (report == nullptr) {
      EXPECT_EQ(numbers.Get(Keep(object)), 1);
      EXPECT_EQ(g_liar.soughtTo, mark - 3);
    } else {
      EXPECT_EQ(object, nullptr);
      ExpectReports({report});
    }
  }
  GiveBack();
  host.Withdraw(name);
}

TEST(SizeTest, NothingLargerIsTakenThanWhatIsStoredThere) {
  zelhost::Host host;
  g_alloc = zeltest::Import<zelutils::MemoryInterface>(host).Alloc;
  zeltest::Replace<zelutils::MemoryInterface>(host, "Alloc", &SmallAlloc);
  zeltest::Replace<zelutils::SharedBuffInterface>(host, "NewBuffer", &NoBuffer);
  host.Start(zeltest::LibraryPath());
  zeltest::Library zel(host);
  const ZELInstance array = zel.Parse("[]");
  const ZELInstance value = zel.NewNumber(1);

  std::vector<std::uint32_t> edges = {0xFFFFFFFE, 0xFFFFFFFF};
  for (std::uint32_t power = 1u << 20; power != 0; power *= 2) {
    edges.insert(edges.end(), {power - 1, power, power + 1});
  }
  for (const std::uint32_t edge : edges) {
    g_largest = 0;
    zel.arrays.SetAt(array, edge, value);
    EXPECT_EQ(host.TakeReports(), std::vector<std::string>{"bad allocation"}) << edge;
    EXPECT_EQ(zel.arrays.Count(array), 0u);
    EXPECT_EQ(zel.arrays.GetAt(array, edge), nullptr);
    zel.arrays.Remove(array, edge);
    EXPECT_TRUE(g_largest < 4096 || g_largest / sizeof(void*) > edge) << edge;

    EXPECT_EQ(zel.binData.NewPOSBinData("t", &edge, edge), nullptr);
    EXPECT_EQ(host.TakeReports(), std::vector<std::string>{"bad allocation"}) << edge;
    EXPECT_EQ(g_largest, edge);
  }
  EXPECT_EQ(host.RefCount(value), 1u);
  zel.GiveBack();
  host.Stop();
  EXPECT_EQ(ToString(host.Live()), "nothing");
}

}  // namespace
