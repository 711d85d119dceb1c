// The streamer: what it writes, what it reads, and how it uses the stream.

#include "session.h"
#include "support.h"

namespace {

using zelhost::Service;
using zeltest::Repeat;

const std::string kHeader = "POSStreamerTypeA_Version1.0 ";

// The client behind a stream: its bytes, where it stands, and which calls came.
struct Client : zelfuzz::MemoryClient {
  explicit Client(const std::string& held = "") : MemoryClient{.bytes = held, .calls = &log} {}
  std::string log;
};

class StreamerTest : public zeltest::LibraryTest {
 protected:
  ZELInstance StreamOver(Client& client) { return Keep(client.Open(*this)); }

  // The bytes of an object, without the header, which is checked.
  std::string Written(ZELInstance object) {
    Client client;
    EXPECT_EQ(streamers.Serialize(streamer, StreamOver(client), object, nullptr), 1);
    EXPECT_EQ(client.bytes.substr(0, kHeader.size()), kHeader);
    return client.bytes.substr(kHeader.size());
  }

  ZELInstance ReadFrom(Client& client) {
    const ZELInstance object = streamers.Deserialize(streamer, StreamOver(client));
    return object == nullptr ? nullptr : Keep(object);
  }

  ZELInstance ReadText(const std::string& text, std::uint32_t mostPerRead = 512) {
    Client client(kHeader + text);
    client.mostPerRead = mostPerRead;
    return ReadFrom(client);
  }

  ZELInstance streamer = Keep(streamers.NewPOSStreamer());
};

TEST_F(StreamerTest, WritesAndReadsEveryKind) {
  const ZELInstance dict = Parse("<name (a\"b) n 2.5 list [1 `00E9`]>");
  dicts.Put(dict, Atom("blob"), NewBinData("raw", "\x01\xFF"));
  const std::string text =
      "<\n\t\"blob\" {\"raw\" #2  \n\t\t01FF\n\t}\n\t\"list\" [\n\t\t#1 \n\t\t`00e9`\n\t]\n"
      "\t\"n\" #2.5 \n\t\"name\" \"a\\\"b\"\n>";
  Client client;
  const ZELInstance stream = StreamOver(client);
  ASSERT_EQ(streamers.Serialize(streamer, stream, dict, nullptr), 1);
  EXPECT_EQ(client.bytes, kHeader + text);
  ASSERT_EQ(streamers.Serialize(streamer, stream, dict, POS_STREAMER_TYPE_A_VERSION_1_0), 1);
  EXPECT_EQ(client.bytes, kHeader + text + kHeader + text) << "null is the default version";
  const std::string body = std::to_string(text.size());
  EXPECT_EQ(client.log, "W27 W1 W" + body + " W27 W1 W" + body + " ");

  for (std::size_t copy = 1; copy <= 2; ++copy) {
    client.mostPerRead = copy == 1 ? 7 : 512;
    const ZELInstance result = streamers.Deserialize(streamer, stream);
    EXPECT_EQ(host.RefCount(result), 0u);
    EXPECT_TRUE(objects.IsEqual(Keep(result), dict));
    EXPECT_EQ(client.position, copy * (kHeader.size() + text.size()));
  }

  const auto data = [this](std::uint32_t size) { return NewBinData("}", std::string(size, 31)); };
  const std::string line = "\n\t" + Repeat(40, "1F");
  const std::pair<ZELInstance, std::string> rows[] = {
      {data(0), "{\"}\" #0  \n}"},
      {data(40), "{\"}\" #40  " + line + "\n}"},
      {data(81), "{\"}\" #81  " + line + line + "\n\t1F\n}"},
      {Parse("[[] <> `4E2DFFFF`]"), "[\n\t[\n\t]\n\t<\n\t>\n\t`4E2dFFff`\n]"},
      {Parse("<(\xFF) 1 A 2 () 3>"), "<\n\t\"\" #3 \n\t\"A\" #2 \n\t\"\\377\" #1 \n>"},
      {NewNumber(HUGE_VAL), "#inf "},
      {NewNumber(-HUGE_VAL), "#-inf "},
      {NewNumber(std::nan("")), "#nan "},
  };
  for (const auto& [value, written] : rows) EXPECT_EQ(Written(value), written);
}

// Beside the cases of the page about the format, which is tested as well.
TEST_F(StreamerTest, ReadsWhatOthersMayWrite) {
  const std::pair<std::string, const char*> rows[] = {
      {" \t\r\n #1E3 ", "1000"},
      {"#+.5e+1\t", "5"},
      {"#2e ", "2"},
      {"#2E+ ", "2"},
      {"#0e99999999999999999999 ", "0"},
      {"#" + std::string(62, '1') + "\n",
       "11111111111111111111111111111111111111111111111111111111111111"},
      {R"("\101\"\\\n\t\r")", "(A\"\\\\\n\t\r)"},
      {"\"a\tb\r\nc\"", "(a b  c)"},
      {R"(`\0600E9`)", "`00E9`"},
      {"[#1 ]", "[1]"},
      {"[#1 \"a\"[]<>`0041`]", "[1 a [] <> `0041`]"},

      {R"([\040#1 ])", "[1]"},
  };
  for (const auto& [text, value] : rows) {
    for (const std::uint32_t mostPerRead : {512u, 11u, 5u, 1u}) {
      const ZELInstance object = ReadText(text, mostPerRead);
      ASSERT_NE(object, nullptr) << text;
      EXPECT_TRUE(objects.IsEqual(object, Parse(value))) << text;
    }
  }
  EXPECT_EQ(numbers.Get(ReadText("#-1e400 ")), -HUGE_VAL);
  EXPECT_EQ(numbers.Get(ReadText("#.01e99999999999999999999 ")), HUGE_VAL);
  EXPECT_EQ(numbers.Get(ReadText("#1e-99999999999999999999 ")), 0);
  // Around the sizes that the work buffers begin with and double to.
  for (const std::size_t length : {31u, 32u, 33u, 63u, 64u, 65u, 1000u}) {
    const std::string text(length, 'x');
    EXPECT_EQ(strings.Get(ReadText('"' + text + '"')), text);
    EXPECT_EQ(Written(ReadText('`' + Repeat(length, "1234") + '`')),
              '`' + Repeat(length, "1234") + '`');
  }
  const ZELInstance bytes = ReadText("{\"t\"#3.9 a\tb \n AB Ab }");
  EXPECT_TRUE(objects.IsEqual(bytes, NewBinData("t", "\xAB\xAB\xAB")));
  EXPECT_TRUE(objects.IsEqual(ReadText("{\"t\"#-0 }"), NewBinData("t", "")));
}

// Each byte at each place of a text that is looked at by the word, and of one that is not.
TEST_F(StreamerTest, EveryByteInAStringIsWrittenAsItsRecordSays) {
  const auto written = [](unsigned char byte) -> std::string {
    if (byte == '\n') return "\\n";
    if (byte == '\r') return "\\r";
    if (byte == '\t') return "\\t";
    if (byte == '"' || byte == '\\') return {'\\', static_cast<char>(byte)};
    if (byte >= 0x20 && byte <= 0x7E) return {static_cast<char>(byte)};
    char octal[5];
    std::snprintf(octal, sizeof octal, "\\%03o", static_cast<unsigned>(byte));
    return octal;
  };
  for (unsigned byte = 1; byte < 256; ++byte) {
    for (const std::size_t length : {1u, 2u, 3u, 5u, 7u, 8u, 13u, 16u, 19u}) {
      for (std::size_t place = 0; place < length; ++place) {
        std::string text(length, 'x');
        text[place] = static_cast<char>(byte);
        std::string expected = text;
        expected.replace(place, 1, written(static_cast<unsigned char>(byte)));
        const ZELInstance string = NewString(text);
        ASSERT_EQ(Written(string), '"' + expected + '"');
        ASSERT_EQ(strings.Get(ReadText('"' + expected + "\"[]")), text);
      }
    }
    GiveBack();
    streamer = Keep(streamers.NewPOSStreamer());
  }
}

TEST_F(StreamerTest, ReaderErrors) {
  const std::pair<std::string, const char*> rows[] = {
      {"", "unexpected EOF"},
      {std::string(1, '\0'), "POSObjectStreamerImpl::Deserialize failure"},
      {"x", "Cannot determine streaming params"},
      {R"([\])", "Cannot determine streaming params"},
      {R"([\000)", "Cannot determine streaming params"},
      {"\"a\\12", "unexpected EOF"},
      {R"("\x")", "Unexpected escape sequence"},
      {R"(\>)", "Unexpected escape sequence"},
      {"# ", "malformed number"},
      {"#1\\ ", "unexpected EOF"},
      {"#" + std::string(63, '1') + " ", "malformed number"},
      {"`00410`", "malformed Unicode string"},
      {"{}", "downcast from CPOSObject to CPOSString failed"},
      {"{\"t\"}", "downcast from CPOSObject to CPOSNumber failed"},
      {"{\"t\"#2 000}", "GetChars ran out of input"},
      {"{\"t\"#1 0g}", "malformed binary data"},
      {"{\"t\"#4294967296 }", "malformed binary data size"},
  };
  for (const auto& [text, report] : rows) {
    for (const std::uint32_t mostPerRead : {512u, 1u}) {
      EXPECT_EQ(ReadText(text, mostPerRead), nullptr) << text;
      EXPECT_EQ(host.TakeReports(), std::vector<std::string>{report}) << text;
    }
  }
}

TEST_F(StreamerTest, HeaderNamesTheVersion) {
  const char* const unknown = "StreamerBase::LookupStreamer unrecognized version";
  const char* const end = "getNextChar unexpected EOF";
  const std::tuple<std::string, const char*, std::uint32_t> rows[] = {
      {"", end, 0},
      {"   ", end, 3},
      {"POSStreamerTypeA_Version1.0", end, 27},
      {"\t" + kHeader, unknown, 29},
      {"posStreamerTypeA_Version1.0 #1 ", unknown, 28},
      {"POSStreamerTypeA_Version1. #1 ", unknown, 27},
      {std::string("POSStreamerTypeA_Version1.0\0 ", 29), unknown, 29},
      {std::string(70, 'a'), unknown, 64},
  };
  for (const auto& [bytes, report, read] : rows) {
    Client client(bytes);
    EXPECT_EQ(ReadFrom(client), nullptr) << bytes;
    ExpectReports({report});
    EXPECT_EQ(client.position, read) << bytes;
  }
  Client client("   " + kHeader + "#1 ");
  EXPECT_EQ(numbers.Get(ReadFrom(client)), 1);

  for (const char* version : {"", "POSStreamerTypeA_version1.0", "POSStreamerTypeA_Version1.1"}) {
    ExpectFailure(unknown, streamers.Serialize, streamer, StreamOver(client), Parse("1"), version);
  }
  EXPECT_EQ(client.bytes, "   " + kHeader + "#1 ") << "nothing was written";
}

TEST_F(StreamerTest, StreamIsUsedInBlocks) {
  // The length of the text, quotes included.
  const std::tuple<std::size_t, const char*, const char*> rows[] = {
      {511, "W27 W1 W511 ", "R512 M540 S539 "},
      {512, "W27 W1 W512 ", "R512 M540 S540 "},
      {513, "W27 W1 W512 W1 ", "R512 R512 M543 S541 "},
      {1025, "W27 W1 W512 W512 W1 ", "R512 R512 R512 M1055 S1053 "},
  };
  for (const auto& [length, written, read] : rows) {
    Client client;
    const ZELInstance string = NewString(std::string(length - 2, 'x'));
    ASSERT_EQ(streamers.Serialize(streamer, StreamOver(client), string, nullptr), 1);
    EXPECT_EQ(client.log, written);
    client.bytes += "[]";  // what follows is left in the stream
    client.log.clear();
    EXPECT_TRUE(objects.IsEqual(ReadFrom(client), string));
    EXPECT_EQ(client.log, Repeat(kHeader.size(), "R1 ") + read);
  }
}

TEST_F(StreamerTest, FirstOfTwoFailuresStands) {
  const ZELInstance holed = Parse("[1]");
  arrays.SetAt(holed, 2, Parse("2"));
  Client client;
  EXPECT_EQ(streamers.Serialize(streamer, StreamOver(client), holed, nullptr), 0);
  EXPECT_EQ(client.bytes, kHeader + "[\n\t#1 \n\t") << "as far as it got";
  host.FailAt(Service::kWrite, 3);
  EXPECT_EQ(streamers.Serialize(streamer, StreamOver(client), holed, nullptr), 0);
  ExpectReports({"CPOSArray::GetAt subscript failed", "CPOSArray::GetAt subscript failed"});

  const std::pair<Service, const char*> rows[] = {{Service::kMark, "injected failure of Mark"},
                                                  {Service::kSeek, "injected failure of Seek"}};
  for (const auto& [service, report] : rows) {
    host.FailAt(service, 1);
    EXPECT_EQ(ReadText("#1 "), nullptr);
    ExpectReports({report});
    host.FailAt(service, 1);
    EXPECT_EQ(ReadText("#x "), nullptr);
    ExpectReports({"malformed number"});
  }
  EXPECT_EQ(host.FaultsInjected(), 5u);

  Client behind(kHeader + "#x rest");
  EXPECT_EQ(ReadFrom(behind), nullptr);
  ExpectReports({"malformed number"});
  EXPECT_EQ(behind.position, kHeader.size() + 3) << "goes back after a failure too";

  client.log = "";
  host.FailAt(Service::kWrite, 4);
  ExpectFailure("injected failure of Write", streamers.Serialize, streamer, StreamOver(client),
                NewString(std::string(1500, 'x')), nullptr);
  EXPECT_EQ(client.log, "W27 W1 W512 ") << "nothing is written behind a gap";
}

// A stream's Write lets go of what is being written: what has begun is written whole from memory
// that is still there, and what is no longer there is missed.
TEST_F(StreamerTest, ValuesMayGoWhileTheyAreWritten) {
  constexpr std::size_t kLong = 600;
  const auto run = [](char letter) { return std::string(kLong, letter); };
  const std::string keys[] = {"1", run('k'), "3", "4"};
  const std::u16string units(kLong, u'\xEEEE');
  const auto put = [&](ZELInstance dict, const std::string& key, ZELInstance value) {
    const ZELStringAtom atom = atoms.NewStringAtom(key.c_str());
    dicts.Put(dict, atom, value);
    atoms.DeleteStringAtom(atom);
    return dict;
  };
  const auto newArray = [&](std::initializer_list<ZELInstance> members) {
    const ZELInstance array = arrays.NewPOSArray();
    for (const ZELInstance member : members) arrays.Append(array, member);
    return array;
  };
  const auto newDocument = [&] {
    const auto text = [&](char letter) { return strings.NewPOSString(run(letter).c_str()); };
    const ZELInstance dict = dicts.NewPOSDict();
    containers.AddRef(dict);
    const ZELInstance inner = put(dicts.NewPOSDict(), run('h'), text('z'));
    put(dict, keys[0], newArray({text('x'), newArray({text('y')}), inner}));
    put(dict, keys[1],
        binData.NewPOSBinData(run('t').c_str(), run('\xDD').c_str(), std::uint32_t{kLong}));
    put(dict, keys[2],
        unicodeStrings.NewPOSUnicodeString(reinterpret_cast<const std::uint16_t*>(units.c_str())));
    return put(dict, keys[3], numbers.NewPOSNumber(1));
  };
  enum { kEmptied, kRemoved, kReplaced, kPutAgain, kReleased, kWithdrawn, kEnd };
  for (int action = 0; action < kEnd; ++action) {
    std::size_t writes = 0;
    for (std::size_t at = 3; at <= 3 || writes >= at - 1; ++at) {
      const ZELInstance document = newDocument();
      Client client;
      writes = 0;
      client.duringWrite = [&] {
        if (++writes != at) return;
        const ZELInstance array = dicts.Get(document, Atom("1"));
        while (action == kEmptied && arrays.Count(array) > 0) arrays.Remove(array, 0);
        for (const std::string& key : keys) {
          if (action == kRemoved || action == kPutAgain) dicts.Remove(document, Atom(key));
          if (action == kReplaced || action == kPutAgain) {
            put(document, key, numbers.NewPOSNumber(2));
          }
        }
        if (action == kReleased) containers.Release(document);
        if (action == kWithdrawn) host.ChangeUnregisterCount();
      };
      if (streamers.Serialize(streamer, StreamOver(client), document, nullptr) == 0) {
        EXPECT_NE(action, kPutAgain) << "there is a value under each key at Write " << at;
        ExpectReports({"CPOSDict::Get failed"});
      }
      if (action != kReleased || writes < at) containers.Release(document);
      for (std::size_t i = 0, end; i < client.bytes.size(); i = end) {
        end = std::min(client.bytes.find_first_not_of(client.bytes[i], i), client.bytes.size());
        if (std::strchr("kxyhzt", client.bytes[i]) != nullptr && end - i > 1) {
          EXPECT_EQ(end - i, kLong) << client.bytes[i] << " at Write " << at;
        }
      }
    }
  }
}

}  // namespace
