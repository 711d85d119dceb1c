// A tour of the library on a document's structure: a text is parsed, a thumbnail added, all of it
// written to a stream file and read back, compared, looked into by path, copied and changed,
// checked against a schema, and once more with mistakes in it. At the end the host tells what is
// still held, which must be nothing.
//
//   zel_demo [DOCUMENT]        by default document.pos of this folder
//
// The library lies beside the program, the schema in this folder.
#include <zelhost/host.h>

#include <algorithm>
#include <array>
#include <chrono>
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

#include "message_tree.h"
#include "thumbnail.h"

namespace {

namespace fs = std::filesystem;
using zelutils::Array;
using zelutils::BinData;
using zelutils::Client;
using zelutils::Dict;
using zelutils::Streamer;
using zelutils::Validator;
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
  const demo::Thumbnail thumbnail(document.DeepGet("pages[0]").As<Dict>());
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

struct Mistake {
  const char* where;  // a dictionary's path
  const char* key;
  const char* text;  // of the new value; null: the member is removed
};

constexpr Mistake kMistakes[] = {
    {"metadata", "title", "1998"},         {"metadata", "created", "yesterday"},
    {"metadata", "revision", "12.5"},      {"metadata", "thumbnail", "(a lake)"},
    {"view", "layout", "spiral"},          {"view", "zoom", "0"},
    {"permissions", "print", "perhaps"},   {"permissions", "fly", "true"},
    {"labels[1]", "colour", "red"},        {"fonts.mono", "weight", "40"},
    {"colors", "pine", "[0.11 3.2 0.24]"}, {"destinations", "cover", "[1 fit]"},
    {"pages[1]", "size", nullptr},         {"pages[3]", "rotation", "360"},
    {"outlines[2]", "children", "none"},
};

void Validate(const Client& client, const Dict& document, const std::string& schemaPath) {
  const Dict schema = client.Parse(ReadText(schemaPath)).As<Dict>();
  int types = 0;
  for ([[maybe_unused]] const auto& entry : schema) ++types;
  Section("Checked against a schema");
  Line("file", fs::path(schemaPath).filename().string() + ", " + std::to_string(types) + " types");
  const bool usable = Validator::ValidateSchema(client, schema).empty();
  Line("the schema itself", usable ? "valid" : "NOT VALID");

  const Validator validator(client, schema);
  const Stopwatch watch;
  const std::vector<std::string> none = validator.Validate(document, "Document");
  const std::string elapsed = watch.Elapsed();
  Line("the document", (none.empty() ? "valid, checked in " : "NOT VALID, checked in ") + elapsed);
  demo::MessageTree(none).Print();
  Expect(usable && none.empty(), "the schema and the document are valid");

  Section("A copy with mistakes");
  const Value copy = document.Clone();
  for (const auto& [where, key, text] : kMistakes) {
    Dict place = copy.As<Dict>().DeepGet(where).As<Dict>();
    if (text != nullptr) {
      place.Put(key, client.Parse(text));
    } else {
      place.Remove(key);
    }
    Line(std::string(where) + '.' + key, text != nullptr ? text : "removed");
  }
  const std::vector<std::string> messages = validator.Validate(copy, "Document");
  Section("What the validator says about it, in " + std::to_string(messages.size()) + " messages");
  demo::MessageTree(messages).Print();
  Expect(messages.size() >= std::size(kMistakes), "each mistake is found");
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
  Validate(client, stored, ZEL_EXAMPLES_DIR "/document.schema.pos");

  Section("What the host gave out");
  const zelhost::Counts live = host.Live();
  Line("now, with two documents", std::to_string(live.instances) + " instances, " +
                                      std::to_string(live.atoms) + " atoms, " +
                                      std::to_string(live.blocks) + " blocks of memory");
}

int Run(const std::string& document) {
  zelhost::Host host;
  host.Start();
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
    return Run(argc > 1 ? argv[1] : ZEL_EXAMPLES_DIR "/document.pos");
  } catch (const std::exception& error) {
    std::fprintf(stderr, "zel_demo: %s\n", error.what());
    return 1;
  }
}
