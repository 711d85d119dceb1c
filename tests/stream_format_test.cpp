// A reader that knows nothing of the library but docs/stream-format.md reads what the library
// reads: the page's examples, the fuzzers' inputs, values of every kind, and damaged streams.

#include "blocks.h"
#include "random_values.h"
#include "session.h"
#include "support.h"

namespace {

const std::string kHeader = "POSStreamerTypeA_Version1.0 ";

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

// A string as JSON has it, each unit a character.
template <typename Unit>
std::string Quoted(const Unit* units) {
  std::string text = "\"";
  for (; *units != 0; ++units) {
    const auto unit = static_cast<std::make_unsigned_t<Unit>>(*units);
    const std::string named = "\b\t\n\f\r\"\\", letters = "btnfr\"\\";
    const std::size_t index = unit < 128 ? named.find(static_cast<char>(unit)) : named.npos;
    if (index != named.npos) {
      text += std::string("\\") + letters[index];
    } else {
      text += unit >= 32 && unit < 127 ? std::string(1, static_cast<char>(unit))
                                       : zeltest::Formatted("\\u%04x", unsigned{unit});
    }
  }
  return text + '"';
}

class StreamFormatTest : public zeltest::LibraryTest {
 protected:
  ZELInstance NewStreamer() { return Keep(streamers.NewPOSStreamer()); }
  std::string Json(ZELInstance value) {
    const std::int32_t type = objects.GetType(value);
    if (type == POSTypeNumber) return zeltest::Formatted("%.17g", numbers.Get(value));
    if (type == POSTypeString) return Quoted(strings.Get(value));
    if (type == POSTypeUnicodeString) return "{\"\": " + Quoted(unicodeStrings.Get(value)) + "}";
    if (type == POSTypeBinData) {
      std::string digits;
      const auto* bytes = static_cast<const unsigned char*>(binData.GetBinData(value));
      for (std::uint32_t i = 0; i < binData.GetSize(value); ++i) {
        digits += zeltest::Formatted("%02x", unsigned{bytes[i]});
      }
      return "{\"\": [" + Quoted(binData.GetTypeName(value)) + ", \"" + digits + "\"]}";
    }
    if (type == POSTypeArray) {
      std::string text = "[";
      for (std::uint32_t i = 0; i < arrays.Count(value); ++i) {
        text += (i == 0 ? "" : ", ") + Json(arrays.GetAt(value, i));
      }
      return text + "]";
    }
    std::string text = "{";
    const ZELInstance iterator = Keep(iterators.NewPOSDictIterator(value));
    for (; !iterators.IsDone(iterator); iterators.Next(iterator)) {
      const char* const key = iterators.CurKey(iterator);
      text +=
          (text.size() == 1 ? "" : ", ") + Quoted(key) + ": " + Json(dicts.Get(value, Atom(key)));
    }
    return text + "}";
  }

  // The result of the library for a stream: value and position behind it, or the report.
  std::string ReadByLibrary(const std::string& bytes, std::uint32_t mostPerRead = 512) {
    zelfuzz::MemoryClient client{.bytes = bytes, .mostPerRead = mostPerRead};
    const ZELInstance stream = Keep(client.Open(*this));
    const ZELInstance value = streamers.Deserialize(NewStreamer(), stream);
    if (value == nullptr) return host.TakeReports().at(0);
    return Json(Keep(value)) + "\t" + std::to_string(client.position);
  }

  std::string Written(ZELInstance value) {
    zelfuzz::MemoryClient client;
    EXPECT_EQ(streamers.Serialize(NewStreamer(), Keep(client.Open(*this)), value, nullptr), 1);
    return client.bytes;
  }

  void Add(const std::string& bytes) {
    const std::string name = std::to_string(10000 + cases.size());
    std::ofstream(folder / name, std::ios::binary) << bytes;
    cases[name] = bytes;
  }

  // The page's examples; what each is to give is checked here.
  void AddExamples() {
    std::vector<std::pair<std::string, std::string>> examples;  // bytes, result
    std::string stream;
    for (const zeltest::Block& block : zeltest::ReadBlocks("stream-format.md")) {
      if (block.kind == "stream") stream = block.Text();
      if (block.kind == "json") examples.emplace_back(stream, block.Text());
      for (const std::string& line : block.lines) {
        const std::size_t arrow = line.find(" => ");
        if (block.kind != "stream-cases" || arrow == line.npos) continue;
        std::string bytes = line.substr(0, arrow);
        bytes.erase(bytes.find_last_not_of(' ') + 1);
        for (const auto& [from, to] : {std::pair("␣", " "), {"⏎", "\n"}, {"⇥", "\t"}}) {
          bytes = Replaced(bytes, from, to);
        }
        examples.emplace_back(kHeader + bytes, line.substr(arrow + 4));
      }
    }
    EXPECT_GT(examples.size(), 30u);
    for (const auto& [bytes, expected] : examples) {
      for (const std::uint32_t mostPerRead : {512u, 9u, 1u}) {
        const std::string found = ReadByLibrary(bytes, mostPerRead);
        EXPECT_EQ(found.substr(0, found.find('\t')), expected) << bytes;
      }
      Add(bytes);
    }
  }

  const zeltest::Folder folder;
  std::map<std::string, std::string> cases;
};

TEST_F(StreamFormatTest, AReaderMadeFromThePageAgreesWithTheLibrary) {
  AddExamples();
  if (zeltest::kIsWindows) GTEST_SKIP() << "no Python";
  for (const auto& entry : std::filesystem::directory_iterator(ZEL_CORPUS_DIR "/stream")) {
    const std::string bytes = zeltest::Folder::Contents(entry.path());
    if (!bytes.empty()) Add((bytes[0] & 0x80 ? "" : kHeader) + bytes.substr(1));
  }
  zeltest::ValueMaker maker(1, false);
  for (int i = 0; i < 300; ++i) {
    const std::string given = kHeader + ToStream(maker.Make(4));
    std::string bytes = Written(Keep(streamers.Deserialize(NewStreamer(), NewStream(given))));
    Add(bytes);
    const std::size_t at = kHeader.size() + maker.Below(bytes.size() - kHeader.size());
    bytes[at] = " \\01a\"`{}[]<>#$\t"[maker.Below(16)];
    Add(bytes);
    GiveBack();
  }

  const std::string command = "python3 " ZEL_EXAMPLES_DIR
                              "/../tests/docs/read_streams.py " ZEL_EXAMPLES_DIR " " +
                              folder.path.string() + " >" + folder.path.string() + ".txt";
  ASSERT_EQ(std::system(command.c_str()), 0);
  std::ifstream output(folder.path.string() + ".txt");
  std::filesystem::remove(folder.path.string() + ".txt");
  std::string line;
  std::size_t count = 0;
  for (; std::getline(output, line); ++count) {
    const std::string name = line.substr(0, line.find('\t'));
    // Four gigabytes are not to be had in 32 bits.
    const bool tooLarge =
        sizeof(void*) == 4 && cases[name].find("#4294967295 ") != std::string::npos;
    EXPECT_EQ(tooLarge ? "bad allocation" : line.substr(name.size() + 1),
              ReadByLibrary(cases[name]))
        << cases[name];
    GiveBack();
  }
  EXPECT_EQ(count, cases.size());
  EXPECT_GT(count, 600u);
}

}  // namespace
