// The typed client: what goes in comes out, failures are exceptions that carry what was reported,
// and every reference is given back.
#include <array>
#include <cerrno>
#include <limits>

#include "client_fixture.h"

namespace {

using namespace zelutils;
using zelhost::Service;
using zeltest::ClientTest;

TEST_F(ClientTest, ScalarsComeBack) {
  for (const double number : {0.0, -0.0, 1.5, -1e300, std::numeric_limits<double>::infinity()}) {
    EXPECT_EQ(client.NewNumber(number).Get(), number);
  }
  EXPECT_EQ(client.NewString(std::string_view("text and more").substr(0, 4)).Get(), "text");
  EXPECT_EQ(client.NewString("").As<std::string>(), "");
  const std::u16string units = u"g\u00e9\u4e2d\U0001F600\xD800z";
  const UnicodeString unicode = client.NewUnicodeString(units);
  EXPECT_EQ(unicode.As<std::u16string>(), units);
  EXPECT_EQ(unicode.ToUtf8(), "g\u00e9\u4e2d\U0001F600\uFFFDz");

  const std::array<std::byte, 3> bytes = {std::byte{0}, std::byte{255}, std::byte{7}};
  const BinData data = client.NewBinData("raw", bytes);
  EXPECT_EQ(data.TypeName(), "raw");
  EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), data.Bytes().begin(), data.Bytes().end()));
  EXPECT_TRUE(client.NewBinData("none", {}).Bytes().empty());

  int released = 0;
  const auto release = [](void* count) { ++*static_cast<int*>(count); };
  { EXPECT_EQ(Value(client.NewRawPointer(&released, release)).As<RawPointer>().Get(), &released); }
  EXPECT_EQ(released, 1);
}

TEST_F(ClientTest, BuiltIsEqualToParsed) {
  const std::string text = "text";
  Array array = client.NewArray({1, 2.5F, "bare", text, std::string_view("x"), u"\u00e9"});
  EXPECT_EQ(array, client.Parse("[1 2.5 bare text x `00E9`]"));
  array.Append(client.NewDict({{"k", -1}, {text, array.Clone()}}));
  array.SetAt(0, "first");
  array.Remove(1);
  EXPECT_EQ(array,
            client.Parse("[first bare text x `00e9` <k -1 text [1 2.5 bare text x `00e9`]>]"));
  array[5].As<Dict>().Remove("k");
  array[5].As<Dict>().Put(zelutils::Atom(client, "text"), 3);
  EXPECT_EQ(array.GetAt(5), client.Parse("<text 3>"));
  EXPECT_FALSE(array == Value());
  EXPECT_TRUE(Value() == array.GetAt(99));
}

TEST_F(ClientTest, RangesVisitEntriesInOrder) {
  Dict dict = client.Parse("<b 2 a 1 B 0 ab (x)>").As<Dict>();
  std::string visited;
  for (const auto& [key, value] : dict) {
    visited += std::string(key) + (value.Is<Number>() ? "# " : " ");
    if (key == "a") dict.Remove("ab");
  }
  EXPECT_EQ(visited, "B# a# b# ");
  EXPECT_TRUE(dict.Contains("b"));
  EXPECT_FALSE(dict.Contains("ab"));

  Array holes = client.NewArray();
  holes.SetAt(2, 1);
  std::string present;
  for (const Value& value : holes) present += value ? 'x' : '-';
  EXPECT_EQ(present, "--x");
  EXPECT_EQ(holes.Count(), 3U);
  for (const auto& entry : client.NewDict()) FAIL() << entry.key;
}

TEST_F(ClientTest, StoresAndReadsBack) {
  const Dict dict = client.NewDict({{"n", 2.5}, {"u", u"\u4e2d"}});
  Stream stream = client.NewMemoryStream();
  Streamer(client).Serialize(stream, dict);
  stream.Write("rest");
  EXPECT_EQ(stream.CreateIndependent().ReadAll().substr(0, 29), "POSStreamerTypeA_Version1.0 <");
  stream.Rewind();
  EXPECT_EQ(Streamer(client).Deserialize(stream), dict);
  const std::uint32_t behind = stream.Mark();
  EXPECT_EQ(stream.ReadAll(), "rest");
  stream.Seek(behind + 1);
  EXPECT_EQ(stream.ReadAll(), "est");
}

TEST_F(ClientTest, FailuresAreExceptions) {
  Value number = client.NewNumber(0);
  Dict dict = client.NewDict();
  const struct {
    const char* message;
    std::function<void()> action;
  } rows[] = {
      {"", [&] { number.As<double>(); }},
      {"instance was not an POSNumber", [&] { dict.As<double>(); }},
      {"instance was not an POSString", [&] { number.As<std::string>(); }},
      {"the value is of another type", [&] { number.As<Dict>(); }},
      {"instance was not an POSArray", [&] { Array(client, number.Handle()).Append(1); }},
      {"invalid container", [&] { dict.Put("k", Value()); }},
      {"no key \"k\"", [&] { dict["k"]; }},
      {"nothing at index 4294967295", [&] { client.NewArray({1})[4294967295U]; }},
      {"an empty value was used", [&] { Value().Type(); }},
      {"a text must not hold a NUL", [&] { client.NewString(std::string(2, '\0')); }},
      {"a text must not hold a NUL", [&] { client.New(std::u16string_view(u"a\0b", 3)); }},
      {"StreamerBase::LookupStreamer unrecognized version",
       [&] { Streamer(client).Serialize(client.NewMemoryStream(), dict, "other"); }},
      {"getNextChar unexpected EOF",
       [&] { Streamer(client).Deserialize(client.NewMemoryStream()); }},
      {"parse error at byte 4", [&] { client.Parse("[ 1 ? ]"); }},
  };
  for (const auto& row : rows) EXPECT_EQ(Thrown(row.action), row.message);

  EXPECT_EQ(Caught([&] { number.As<std::string>(); }).Reports(),
            std::vector<std::string>{"instance was not an POSString"});
  const Error error = Caught([&] { client.OpenFile("no/such/file", "rb"); });
  EXPECT_NE(error.Component(), "");
  EXPECT_EQ(error.Id(), ENOENT);
}

TEST_F(ClientTest, CopiesHoldReferencesOfTheirOwn) {
  Value first = client.NewArray();
  const ZELInstance handle = first.Handle();
  EXPECT_EQ(host.RefCount(handle), 1U);
  Value second = first;
  EXPECT_EQ(host.RefCount(handle), 2U);
  Value third = std::move(second);
  second = third;
  second = *&second;
  EXPECT_EQ(host.RefCount(handle), 3U);
  third = client.NewNumber(1);
  first = Value();
  EXPECT_EQ(host.RefCount(handle), 1U);
}

TEST_F(ClientTest, ProceduresAreLookedUpAgainAfterAWithdrawal) {
  const Number number = client.NewNumber(1);
  host.ResetCalls();
  EXPECT_EQ(number.Get(), 1);
  EXPECT_EQ(number.Get(), 1);
  EXPECT_EQ(host.Calls(Service::kLookup), 0U);

  const POSNumberGetProc other = [](ZELInstance) { return 2.0; };
  host.Register(POS_NUMBER_INTERFACE, "Get", "POSNumberGetProc", reinterpret_cast<ZELProc>(other));
  EXPECT_EQ(number.Get(), 1);
  host.ChangeUnregisterCount();
  EXPECT_EQ(number.Get(), 2);
  host.Hide(POS_NUMBER_INTERFACE);
  EXPECT_EQ(Thrown([&] { number.Get(); }),
            "missing procedure \"NewPOSNumber\" of \"POSNumberInterface\"");
  host.Show(POS_NUMBER_INTERFACE);
}

}  // namespace
