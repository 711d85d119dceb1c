#include "document.h"

#include <string_view>
#include <zelutils/text_errors.hpp>

#include "byte_streams.h"
#include "commands.h"
#include "excerpt.h"
#include "files.h"
#include "printable.h"

namespace zelpos {
namespace {

constexpr std::string_view kVersion = POS_STREAMER_TYPE_A_VERSION_1_0;
// That of every version begins so.
constexpr std::string_view kFamily = "POSStreamer";

// The version that a stream begins with; empty for anything else. Spaces may come before it. A text
// may begin with such a word too, but nothing may then follow it.
std::string_view StreamVersion(std::string_view bytes) {
  bytes.remove_prefix(std::min(bytes.find_first_not_of(' '), bytes.size()));
  const std::string_view version = bytes.substr(0, bytes.find_first_of(" \t\r\n"));
  if (!version.starts_with(kFamily) || version.size() == bytes.size()) return {};
  const bool isAlone = bytes.find_first_not_of(" \t\r\n", version.size()) == bytes.npos;
  return isAlone && version != kVersion ? std::string_view() : version;
}

zelutils::Value ParseText(const zelutils::Client& client, const std::string& name,
                          const Content& content) {
  const std::string_view text = content.View();
  if (const std::size_t position = text.find('\0'); position != text.npos) {
    throw FileError(ShowPosition(name, text, position, "the text holds a NUL"));
  }
  try {
    return client.Parse(content.CString());
  } catch (const zelutils::ParseError& error) {
    const auto finding = zelutils::ExplainTextError(text, error.Position());
    throw FileError(ShowPosition(name, text, finding.position, Printable(finding.message)));
  }
}

zelutils::Value ReadStream(const zelutils::Client& client, const std::string& name,
                           std::string_view bytes) {
  const std::string_view version = StreamVersion(bytes);
  if (version != kVersion) {
    throw FileError(name + ": unknown stream version \"" + Printable(version.substr(0, 64)) +
                    "\"; this is " + std::string(kVersion));
  }
  ByteSource source(bytes);
  try {
    zelutils::Stream stream = source.Open(client);
    zelutils::Value value = zelutils::Streamer(client).Deserialize(stream);
    const std::size_t rest = bytes.find_first_not_of(" \t\r\n", source.Position());
    if (rest == bytes.npos) return value;
    throw FileError(name + ": byte " + std::to_string(rest) + ": something follows the value");
  } catch (const zelutils::Error& error) {
    throw FileError(name + ": before byte " + std::to_string(source.Position()) + ": " +
                    error.what());
  }
}

}  // namespace

Document ReadDocument(const zelutils::Client& client, const std::string& file) {
  Document document{DisplayName(file), Content(file), Format::kText, {}};
  if (!StreamVersion(document.content.View()).empty()) document.format = Format::kStream;
  document.value = document.format == Format::kStream
                       ? ReadStream(client, document.name, document.content.View())
                       : ParseText(client, document.name, document.content);
  return document;
}

}  // namespace zelpos
