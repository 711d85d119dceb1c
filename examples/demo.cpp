// A tour of the library on a document's structure: a text is parsed, a thumbnail added, all of it
// written to a stream file and read back, compared, looked into by path, copied and changed. At the
// end the host tells what is still held, which must be nothing.
//
//   zel_demo [DOCUMENT]        by default document.pos of this folder
//
// The library lies beside the program.
#include <zelhost/host.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>
#include <zelutils/client.hpp>

namespace {

namespace fs = std::filesystem;
using zelutils::Array;
using zelutils::BinData;
using zelutils::Client;
using zelutils::Dict;
using zelutils::Streamer;
using zelutils::Value;

// ---- Helpers --------------------------------------------------------------------------------

void Section(const std::string& title) { std::printf("\n%s\n", title.c_str()); }

void Line(const std::string& label, const std::string& text) {
  std::printf("  %-32s %s\n", label.c_str(), text.c_str());
}

std::string Rounded(double number, const char* unit) {
  std::array<char, 64> text;
  std::snprintf(text.data(), text.size(), "%.2f %s", number, unit);
  return text.data();
}

std::string RightAligned(int number) {
  std::string text = std::to_string(number);
  return std::string(text.size() < 4 ? 4 - text.size() : 0, ' ') + text;
}

std::string Bytes(std::size_t count) { return std::to_string(count) + " bytes"; }

void Expect(bool holds, const char* what) {
  if (!holds) throw std::runtime_error(std::string("this should hold: ") + what);
}

class Stopwatch {
 public:
  std::string Elapsed() const {
    const std::chrono::duration<double, std::milli> taken =
        std::chrono::steady_clock::now() - start_;
    return Rounded(taken.count(), "ms");
  }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// A folder of this run's own, gone with the object.
class TemporaryFolder {
 public:
  TemporaryFolder()
      : path_(fs::temp_directory_path() / ("zel_demo." + std::to_string(std::random_device()()))) {
    fs::create_directory(path_);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  std::string File(const char* name) const { return (path_ / name).string(); }

 private:
  fs::path path_;
};

std::string ReadText(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot open " + path);
  return {std::istreambuf_iterator<char>(file), {}};
}

// ---- Walking values -------------------------------------------------------------------------

std::string Describe(const Value& value) {
  if (!value) return "nothing there";
  std::ostringstream text;
  switch (value.Type()) {
    case POSTypeNumber:
      text << value.As<double>();
      break;
    case POSTypeString:
      text << value.As<std::string>();
      break;
    case POSTypeUnicodeString:
      text << value.As<zelutils::UnicodeString>().ToUtf8() << "  (Unicode)";
      break;
    case POSTypeBinData: {
      const BinData data = value.As<BinData>();
      text << data.TypeName() << ", " << Bytes(data.Bytes().size());
      break;
    }
    case POSTypeRawPointer:
      text << "a pointer";
      break;
    case POSTypeArray: {
      const char* separator = "[";
      for (const Value& element : value.As<Array>()) {
        text << separator << Describe(element);
        separator = ", ";
      }
      text << ']';
      break;
    }
    case POSTypeDict: {
      const Dict dict = value.As<Dict>();
      int members = 0;
      for ([[maybe_unused]] const auto& entry : dict) ++members;
      text << "a dictionary of " << members;
      break;
    }
  }
  return text.str();
}

struct Census {
  std::map<POSObjectType, int> byType;
  int total = 0;
  int depth = 0;

  void Add(const Value& value, int level = 1) {
    ++byType[value.Type()];
    ++total;
    depth = std::max(depth, level);
    if (value.Is<Array>()) {
      for (const Value& element : value.As<Array>()) Add(element, level + 1);
    } else if (value.Is<Dict>()) {
      for (const auto& [key, member] : value.As<Dict>()) Add(member, level + 1);
    }
  }
};

// ---- The thumbnail --------------------------------------------------------------------------

// A page in little: each block of its content as a grey area.
class Thumbnail {
 public:
  static constexpr std::size_t kWidth = 22;
  static constexpr std::size_t kHeight = 15;

  explicit Thumbnail(const Dict& page) {
    pixels_.fill(kPaper);
    const Array size = page["size"].As<Array>();
    for (const Value& block : page["content"].As<Array>()) {
      Draw(block.As<Dict>(), kWidth / size[0].As<double>(), kHeight / size[1].As<double>());
    }
  }

  BinData ToBinData(const Client& client) const {
    std::string image = "P5 " + std::to_string(kWidth) + ' ' + std::to_string(kHeight) + " 255\n";
    image.append(pixels_.begin(), pixels_.end());
    return client.NewBinData("image/x-portable-graymap",
                             std::as_bytes(std::span(image.data(), image.size())));
  }

  void Print() const {
    for (std::size_t row = 0; row < kHeight; ++row) {
      std::string line;
      for (std::size_t column = 0; column < kWidth; ++column) {
        const char pixel = pixels_[row * kWidth + column];
        line += pixel == kPaper ? " " : pixel == kText ? "░" : pixel == kImage ? "▓" : "━";
      }
      std::printf("  |%s|\n", line.c_str());
    }
  }

 private:
  static constexpr char kPaper = '\xFA';
  static constexpr char kText = '\x90';
  static constexpr char kImage = '\x50';
  static constexpr char kRule = '\x20';

  // A box is left, bottom, right, top in points, counted from the page's lower left corner. It is
  // at least a pixel wide and high.
  void Draw(const Dict& block, double scaleX, double scaleY) {
    const std::string kind = block["kind"].As<std::string>();
    const Array box = block["box"].As<Array>();
    const auto place = [&](std::uint32_t edge, double scale) {
      return std::clamp(box[edge].As<double>() * scale, 0.0, 1000.0);
    };
    const auto from = [&](std::uint32_t edge, double scale) {
      return static_cast<std::size_t>(place(edge, scale));
    };
    const auto to = [&](std::uint32_t edge, double scale, std::size_t least) {
      return std::max(static_cast<std::size_t>(std::ceil(place(edge, scale))), least + 1);
    };
    const std::size_t left = from(0, scaleX);
    const std::size_t bottom = from(1, scaleY);
    const std::size_t right = std::min(to(2, scaleX, left), kWidth);
    const std::size_t top = std::min(to(3, scaleY, bottom), kHeight);
    for (std::size_t y = bottom; y < top; ++y) {
      for (std::size_t x = left; x < right; ++x) {
        pixels_[(kHeight - 1 - y) * kWidth + x] = kind == "text"    ? kText
                                                  : kind == "image" ? kImage
                                                                    : kRule;
      }
    }
  }

  std::array<char, kWidth * kHeight> pixels_;
};

// ---- The stations of the tour -----------------------------------------------------------------

Dict Parse(const Client& client, const std::string& path) {
  const std::string text = ReadText(path);
  const Stopwatch watch;
  Dict document = client.Parse(text).As<Dict>();
  const std::string elapsed = watch.Elapsed();

  Section("A document's structure, parsed from text");
  Line("file", fs::path(path).filename().string());
  Line("size", Bytes(text.size()) + " in " +
                   std::to_string(std::count(text.begin(), text.end(), '\n')) + " lines");
  Line("time", elapsed);
  return document;
}

void AddThumbnail(const Client& client, Dict& document) {
  const Thumbnail thumbnail(document.DeepGet("pages[0]").As<Dict>());
  document["metadata"].As<Dict>().Put("thumbnail", thumbnail.ToBinData(client));
  Section("A thumbnail of its first page, added as metadata.thumbnail");
  thumbnail.Print();
}

void CountValues(const Value& document) {
  constexpr std::pair<POSObjectType, const char*> kTypes[] = {
      {POSTypeNumber, "numbers"},
      {POSTypeString, "strings"},
      {POSTypeUnicodeString, "Unicode strings"},
      {POSTypeBinData, "binary data"},
      {POSTypeArray, "arrays"},
      {POSTypeDict, "dictionaries"},
  };
  Census census;
  census.Add(document);
  Section("What it holds now");
  for (const auto& [type, name] : kTypes) Line(name, RightAligned(census.byType[type]));
  Line("all values",
       RightAligned(census.total) + ", up to " + std::to_string(census.depth) + " levels deep");
}

void Store(const Client& client, const Value& document, const std::string& path) {
  const Stopwatch watch;
  Streamer(client).Serialize(client.OpenFile(path, "wb"), document);
  const std::string elapsed = watch.Elapsed();

  const std::string stored = ReadText(path);
  Section("The same as a stream file");
  Line("size", Bytes(stored.size()));
  Line("time", elapsed);
  std::istringstream lines(stored);
  std::string line;
  for (int i = 0; i < 8 && std::getline(lines, line); ++i) {
    const std::size_t tabs = std::min(line.find_first_not_of('\t'), line.size());
    std::printf("  | %s%s\n", std::string(2 * tabs, ' ').c_str(), line.substr(tabs).c_str());
  }
  std::printf("  | ...\n");
}

Dict ReadBack(const Client& client, const Value& document, const std::string& path) {
  const Stopwatch watch;
  Dict stored = Streamer(client).Deserialize(client.OpenFile(path, "rb")).As<Dict>();
  const std::string elapsed = watch.Elapsed();
  const Stopwatch compareWatch;
  const bool equal = stored == document;

  Section("Read back");
  Line("time", elapsed);
  Line("equal to the original",
       (equal ? "yes, compared in " : "NO, compared in ") + compareWatch.Elapsed());
  Expect(equal, "what is read back equals what was written");
  return stored;
}

void LookInside(const Dict& document) {
  Section("By path");
  for (const char* path :
       {"metadata.title", "metadata.thumbnail", "fonts.heading", "pages[2].content[3].columns",
        "pages[2].content[3].rows[2]", "pages[3].rotation", "outlines[3].title",
        "form.fields.depth.value", "form.fields.lake.options[0]", "pages[9].size"}) {
    Line(path, Describe(document.DeepGet(path)));
  }
}

void CopyAndChange(const Value& document) {
  Section("A copy, changed");
  const Stopwatch watch;
  const Dict copy = document.Clone().As<Dict>();
  const std::string elapsed = watch.Elapsed();
  const bool equalBefore = copy == document;
  Line("copied in", elapsed);
  Line("equal", equalBefore ? "yes" : "NO");

  Dict page = copy.DeepGet("pages[0]").As<Dict>();
  page.Put("rotation", 270);
  page["content"].As<Array>().Remove(0);
  const bool equalAfter = copy == document;
  Line("after turning its first page", equalAfter ? "EQUAL" : "no longer equal");
  Line("the copy's pages[0].rotation", Describe(copy.DeepGet("pages[0].rotation")));
  Line("the original's", Describe(document.As<Dict>().DeepGet("pages[0].rotation")));
  Expect(equalBefore && !equalAfter, "a copy equals its original until it is changed");
}

void Tour(const zelhost::Host& host, const Client& client, const std::string& path) {
  const TemporaryFolder folder;
  const std::string storedPath = folder.File("document.zel");

  Dict document = Parse(client, path);
  AddThumbnail(client, document);
  CountValues(document);
  Store(client, document, storedPath);
  const Dict stored = ReadBack(client, document, storedPath);
  LookInside(stored);
  CopyAndChange(stored);

  Section("What the host gave out");
  const zelhost::Counts live = host.Live();
  Line("now, with two documents", std::to_string(live.instances) + " instances, " +
                                      std::to_string(live.atoms) + " atoms, " +
                                      std::to_string(live.blocks) + " blocks of memory");
}

#ifdef _WIN32
constexpr const char* kLibrary = "ZELUtils.dll";
#else
constexpr const char* kLibrary = "libZELUtils.so";
#endif

int Run(const char* program, const std::string& document) {
  zelhost::Host host;
  host.Start((fs::path(program).parent_path() / kLibrary).string());
  const std::uint32_t version = host.LibraryVersion();
  std::printf("ZELUtils %u.%u.%u, loaded into the reference host\n", version >> 16,
              version >> 8 & 0xFF, version & 0xFF);
  {
    const Client client(host.LookupProc(), [&host] { return host.TakeReports(); });
    Tour(host, client, document);
  }
  host.Stop();
  const zelhost::Counts live = host.Live();
  Line("after all is given back", ToString(live));
  return live.AllZero() && host.Reports().empty() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argv[0], argc > 1 ? argv[1] : ZEL_EXAMPLES_DIR "/document.pos");
  } catch (const std::exception& error) {
    std::fprintf(stderr, "zel_demo: %s\n", error.what());
    return 1;
  }
}
