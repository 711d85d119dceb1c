#include "input.h"

#include <string_view>

#include "commands.h"
#include "files.h"
#include "parse_error.h"

namespace zelpos {
namespace {

constexpr std::string_view kHeader = POS_STREAMER_TYPE_A_VERSION_1_0 " ";

// Spaces may come before the header.
bool IsStoredStream(std::string_view bytes) {
  bytes.remove_prefix(std::min(bytes.find_first_not_of(' '), bytes.size()));
  return bytes.starts_with(kHeader);
}

zelutils::Value ParseText(const zelutils::Client& client, const std::string& name,
                          const std::string& text) {
  if (const std::size_t position = text.find('\0'); position != text.npos) {
    throw FileError(ShowPosition(name, text, {position, "the text holds a NUL"}));
  }
  try {
    return client.Parse(text);
  } catch (const zelutils::ParseError& error) {
    throw FileError(ShowPosition(name, text, ExplainParseError(text, error.Position())));
  }
}

zelutils::Value ReadStream(const zelutils::Client& client, const std::string& name,
                           std::string_view bytes) {
  zelutils::Stream stream = client.NewMemoryStream();
  stream.Write(bytes);
  stream.Rewind();
  try {
    zelutils::Value value = zelutils::Streamer(client).Deserialize(stream);
    const std::size_t rest = bytes.find_first_not_of(" \t\r\n", stream.Mark());
    if (rest == bytes.npos) return value;
    throw FileError(name + ": byte " + std::to_string(rest) + ": something follows the value");
  } catch (const zelutils::Error& error) {
    throw FileError(name + ": before byte " + std::to_string(stream.Mark()) + ": " + error.what());
  }
}

}  // namespace

zelutils::Value ReadValue(const zelutils::Client& client, const std::string& file) {
  const std::string bytes = ReadFile(file);
  const std::string name = DisplayName(file);
  return IsStoredStream(bytes) ? ReadStream(client, name, bytes) : ParseText(client, name, bytes);
}

}  // namespace zelpos
