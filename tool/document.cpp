#include "document.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <string_view>
#include <system_error>
#include <zelutils/replacement.hpp>
#include <zelutils/text_errors.hpp>

#include "byte_streams.h"
#include "excerpt.h"
#include "failures.h"
#include "files.h"
#include "held_signals.h"
#include "json_reader.h"
#include "json_writer.h"
#include "platform.h"
#include "printable.h"
#include "progress.h"

namespace zelpos {
namespace {

#define ZELPOS_VERSION(name) name,
constexpr std::string_view kVersions[] = {POS_STREAMER_VERSIONS(ZELPOS_VERSION)};
#undef ZELPOS_VERSION

bool IsKnown(std::string_view version) {
  return std::find(std::begin(kVersions), std::end(kVersions), version) != std::end(kVersions);
}

// That of every version begins so.
constexpr std::string_view kFamily = "POSStreamer";

// The version that a stream begins with; empty for anything else. Spaces may come before it. A text
// may begin with such a word too, but nothing may then follow it.
std::string_view StreamVersion(std::string_view bytes) {
  bytes.remove_prefix(std::min(bytes.find_first_not_of(' '), bytes.size()));
  const std::string_view version = bytes.substr(0, bytes.find_first_of(" \t\r\n"));
  if (!version.starts_with(kFamily) || version.size() == bytes.size()) return {};
  const bool isAlone = bytes.find_first_not_of(" \t\r\n", version.size()) == bytes.npos;
  return isAlone && !IsKnown(version) ? std::string_view() : version;
}

// Estimated duration of reading a long text, from a sample of its front.
double ExpectedSeconds(const zelutils::Client& client, std::string_view text) {
  constexpr std::size_t kSample = std::size_t{1} << 20;
  if (text.size() < 8 * kSample) return 0;
  const std::string sample(text.substr(0, kSample));
  const auto start = std::chrono::steady_clock::now();
  try {
    client.Parse(sample.c_str());
  } catch (const zelutils::ParseError&) {
    // It ends in the middle.
  }
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
  return passed.count() * static_cast<double>(text.size()) / kSample;
}

zelutils::Value ParseText(const zelutils::Client& client, const std::string& name,
                          const Content& content) {
  const std::string_view text = content.View();
  if (const std::size_t position = text.find('\0'); position != text.npos) {
    throw FileError(ShowPosition(name, text, position, "the text holds a NUL"));
  }
  Progress progress("reading " + Printable(name));
  try {
    if (Progress::IsShown()) progress.Expect(ExpectedSeconds(client, text));
    return client.Parse(content.CString());
  } catch (const zelutils::ParseError& error) {
    const auto finding = zelutils::ExplainTextError(text, error.Position());
    const std::string_view stopped = text.substr(finding.position);
    const bool maybeJson = stopped.starts_with(',') && text.starts_with('[');
    throw FileError(ShowPosition(
        name, text, finding.position,
        Printable(finding.message) + (maybeJson ? " (for JSON, say --from json)" : "")));
  }
}

zelutils::Value ReadStream(const zelutils::Client& client, const std::string& name,
                           std::string_view bytes) {
  const std::string_view version = StreamVersion(bytes);
  if (!IsKnown(version)) {
    throw FileError(name + ": unknown stream version \"" + Printable(version.substr(0, 64)) +
                    "\"; this is " + POS_STREAMER_DEFAULT_VERSION);
  }
  Progress progress("reading " + Printable(name));
  ByteSource source(bytes, [&](double fraction) { progress.Set(fraction); });
  try {
    zelutils::Stream stream = source.Open(client);
    zelutils::Value value = zelutils::Streamer(client).Deserialize(stream);
    const std::size_t rest = bytes.find_first_not_of(" \t\r\n", source.Position());
    if (rest == bytes.npos) return value;
    throw FileError(name + ": byte " + std::to_string(rest) + ": something follows the value");
  } catch (const zelutils::Error& error) {
    throw FileError(name + ": before byte " + std::to_string(source.Position()) + ": " +
                    Printable(error.what()));
  }
}

Format FormatOf(const std::string& file, std::string_view bytes) {
  if (!StreamVersion(bytes).empty()) return Format::kStream;
  if (const auto format = FormatByExtension(file)) return *format;
  const std::size_t first = bytes.find_first_not_of(" \t\r\n");
  const bool isJson = first != bytes.npos && (bytes[first] == '{' || bytes[first] == '"');
  return isJson ? Format::kJson : Format::kText;
}

// Writes the value to where `take` puts bytes.
void Serialize(const zelutils::Client& client, const zelutils::Value& value,
               const std::string& name, const TakeText& take) {
  ByteSink sink(take);
  const zelutils::Stream stream = sink.Open(client);
  try {
    zelutils::Streamer(client).Serialize(stream, value);
  } catch (const zelutils::Error& error) {
    sink.Rethrow();
    throw FileError(name + ": " + Printable(error.what()));
  }
  sink.Flush();
}

}  // namespace

Document ReadDocument(const zelutils::Client& client, const std::string& file,
                      std::optional<Format> format) {
  Document document{DisplayName(file), Content(file), Format::kText, {}};
  const std::string_view bytes = document.content.View();
  document.format = format ? *format : FormatOf(file, bytes);
  switch (document.format) {
    case Format::kStream:
      document.value = ReadStream(client, document.name, bytes);
      break;
    case Format::kJson: {
      const Progress progress("reading " + Printable(document.name));
      document.value = ReadJson(client, document.name, bytes);
      break;
    }
    case Format::kText:
      document.value = ParseText(client, document.name, document.content);
  }
  document.content.Relax();
  return document;
}

zelutils::Value ParseArgument(const zelutils::Client& client, const std::string& text) {
  try {
    return client.Parse(text.c_str());
  } catch (const zelutils::ParseError& error) {
    const auto finding = zelutils::ExplainTextError(text, error.Position());
    throw UsageError(ShowPosition("VALUE", text, finding.position, Printable(finding.message)));
  }
}

std::optional<Format> FormatByExtension(const std::string& file) {
  if (file.ends_with(".pos")) return Format::kText;
  if (file.ends_with(".json")) return Format::kJson;
  return {};
}

std::size_t WriteValue(const zelutils::Client& client, const zelutils::Value& value, Format format,
                       const std::string& name, const TextOptions& options, const TakeText& take) {
  const Progress progress("writing " + Printable(name));
  if (format == Format::kStream) {
    Serialize(client, value, name, take);
    return 0;
  }
  const Values values(client);
  try {
    if (format == Format::kJson) {
      JsonWriter(values, options, take).Write(value.Handle());
      return 0;
    }
    TextWriter writer(values, options, take);
    writer.Write(value.Handle());
    return writer.Unsaid();
  } catch (const Unsayable& unsayable) {
    const std::string path = unsayable.Path();
    const char* const notation = format == Format::kJson ? "JSON" : "a text";
    throw FileError(name + ": " + (path.empty() ? "" : Printable(path) + ": ") + notation +
                    " has no form for " + Printable(unsayable.what()) +
                    (format == Format::kText ? "; JSON and streams have" : ""));
  }
}

void WriteOutput(const std::string& file, const std::function<void(const TakeText&)>& write) {
  if (file.empty() || file == "-") {
    write([isTerminal = IsTerminal(stdout)](std::string_view bytes) {
      if (isTerminal) return WriteStandardOutput(PrintableLines(bytes));
      WriteStandardOutput(bytes);
    });
    return;
  }
  const HeldSignals signals;
  try {
    zelutils::Replacement output(PathOf(file));
    write([&output](std::string_view bytes) {
      HeldSignals::Check();
      output.Write(bytes);
    });
    output.Commit(HeldSignals::Check);
  } catch (const std::system_error& error) {
    Fail(file, error.code());
  }
}

}  // namespace zelpos
