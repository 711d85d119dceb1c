// A reader that knows nothing of the library but docs/stream-format.md reads what the library
// reads: the page's examples, the fuzzers' inputs, values of every kind, and damaged streams.
#include <cstdio>
#include <map>
#include <random>
#include <sstream>

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
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", unsigned{unit});
    if (index != named.npos) {
      text += std::string("\\") + letters[index];
    } else {
      text += unit >= 32 && unit < 127 ? std::string(1, static_cast<char>(unit)) : escape;
    }
  }
  return text + '"';
}

class StreamFormatTest : public zeltest::LibraryTest {
 protected:
  std::string Json(ZELInstance value) {
    switch (objects.GetType(value)) {
      case POSTypeNumber: {
        char text[40];
        std::snprintf(text, sizeof text, "%.17g", numbers.Get(value));
        return text;
      }
      case POSTypeString:
        return Quoted(strings.Get(value));
      case POSTypeUnicodeString:
        return "{\"\": " + Quoted(unicodeStrings.Get(value)) + "}";
      case POSTypeBinData: {
        std::string digits;
        const auto* bytes = static_cast<const unsigned char*>(binData.GetBinData(value));
        for (std::uint32_t i = 0; i < binData.GetSize(value); ++i) {
          digits += "0123456789abcdef"[bytes[i] >> 4];
          digits += "0123456789abcdef"[bytes[i] & 15];
        }
        return "{\"\": [" + Quoted(binData.GetTypeName(value)) + ", \"" + digits + "\"]}";
      }
      case POSTypeArray: {
        std::string text = "[";
        for (std::uint32_t i = 0; i < arrays.Count(value); ++i) {
          text += (i == 0 ? "" : ", ") + Json(arrays.GetAt(value, i));
        }
        return text + "]";
      }
      default:
        break;
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

  // What the library makes of a stream: value and position behind it, or the report.
  std::string ReadByLibrary(const std::string& bytes) {
    zelfuzz::MemoryClient client{.bytes = bytes};
    const ZELInstance stream = Keep(client.Open(*this));
    const ZELInstance value = streamers.Deserialize(streamer, stream);
    if (value == nullptr) return host.TakeReports().at(0);
    return Json(Keep(value)) + "\t" + std::to_string(client.position);
  }

  std::string Written(ZELInstance value) {
    zelfuzz::MemoryClient client;
    EXPECT_EQ(streamers.Serialize(streamer, Keep(client.Open(*this)), value, nullptr), 1);
    return client.bytes;
  }

  void Add(const std::string& bytes) {
    const std::string name = std::to_string(10000 + cases.size());
    std::ofstream(folder / name, std::ios::binary) << bytes;
    cases[name] = bytes;
  }

  // The page's examples; what each is to give is checked here.
  void AddExamples() {
    std::istringstream page(
        zeltest::Folder::Contents(ZEL_EXAMPLES_DIR "/../docs/stream-format.md"));
    std::string line, block, stream;
    std::size_t count = 0;
    while (std::getline(page, line)) {
      if (line.rfind("```", 0) == 0) {
        block = line.substr(3);
      } else if (block == "stream") {
        stream += (stream.empty() ? "" : "\n") + line;
      } else if (const std::size_t arrow = line.find(" => ");
                 block == "json" || (block == "stream-cases" && arrow != line.npos)) {
        std::string bytes = stream, expected = line;
        if (block == "stream-cases") {
          bytes = line.substr(0, arrow);
          bytes.erase(bytes.find_last_not_of(' ') + 1);
          for (const auto& [from, to] : {std::pair("␣", " "), {"⏎", "\n"}, {"⇥", "\t"}}) {
            bytes = Replaced(bytes, from, to);
          }
          bytes = kHeader + bytes;
          expected = line.substr(arrow + 4);
        }
        const std::string found = ReadByLibrary(bytes);
        EXPECT_EQ(found.substr(0, found.find('\t')), expected) << bytes;
        Add(bytes);
        ++count;
      }
    }
    EXPECT_GT(count, 30u);
  }

  ZELInstance RandomValue(std::mt19937& random, int depth) {
    const auto below = [&](unsigned limit) { return static_cast<unsigned>(random() % limit); };
    switch (below(depth == 0 ? 4 : 6)) {
      case 0:
        return NewNumber(
            below(2) == 0 ? below(1000)
                          : std::ldexp(below(1u << 31) - 1e9, static_cast<int>(below(200)) - 100));
      case 1: {
        std::string text;
        for (unsigned size = below(30); size > 0; --size) text += static_cast<char>(1 + below(255));
        return NewString(text);
      }
      case 2: {
        std::u16string units;
        for (unsigned size = below(30); size > 0; --size)
          units += static_cast<char16_t>(1 + below(0xFFFF));
        return Keep(unicodeStrings.NewPOSUnicodeString(
            reinterpret_cast<const std::uint16_t*>(units.c_str())));
      }
      case 3: {
        std::string bytes;
        for (unsigned size = below(90); size > 0; --size) bytes += static_cast<char>(below(256));
        return Keep(
            binData.NewPOSBinData("type", bytes.data(), static_cast<std::uint32_t>(bytes.size())));
      }
      case 4: {
        const ZELInstance array = Keep(arrays.NewPOSArray());
        for (unsigned size = below(6); size > 0; --size)
          arrays.Append(array, RandomValue(random, depth - 1));
        return array;
      }
      default: {
        const ZELInstance dict = Keep(dicts.NewPOSDict());
        for (unsigned size = below(6); size > 0; --size) {
          dicts.Put(dict, Atom("key" + std::to_string(below(100))), RandomValue(random, depth - 1));
        }
        return dict;
      }
    }
  }

  ZELInstance streamer = Keep(streamers.NewPOSStreamer());
  const zeltest::Folder folder;
  std::map<std::string, std::string> cases;
};

TEST_F(StreamFormatTest, AReaderMadeFromThePageAgreesWithTheLibrary) {
  if (zeltest::kIsWindows) GTEST_SKIP() << "no Python";
  AddExamples();
  for (const auto& entry : std::filesystem::directory_iterator(ZEL_CORPUS_DIR "/stream")) {
    const std::string bytes = zeltest::Folder::Contents(entry.path());
    if (!bytes.empty()) Add((bytes[0] & 0x80 ? "" : kHeader) + bytes.substr(1));
  }
  std::mt19937 random(1);
  for (int i = 0; i < 300; ++i) {
    std::string bytes = Written(RandomValue(random, 4));
    Add(bytes);
    const std::size_t at = kHeader.size() + random() % (bytes.size() - kHeader.size());
    bytes[at] = " \\01a\"`{}[]<>#$\t"[random() % 16];
    Add(bytes);
    GiveBack();
    streamer = Keep(streamers.NewPOSStreamer());
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
    streamer = Keep(streamers.NewPOSStreamer());
  }
  EXPECT_EQ(count, cases.size());
  EXPECT_GT(count, 600u);
}

}  // namespace
