// Values in files. Programs include zelutils/client.hpp, which says how they are used.
#pragma once

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

#include "zelutils/client_streams.hpp"
#include "zelutils/replacement.hpp"

namespace zelutils {

namespace detail {

[[noreturn]] inline void FailFile(const std::filesystem::path& file, const std::error_code& code) {
  throw Error(file.string() + ": " + code.message(), {}, "file", code.value());
}

inline std::string ReadBytes(const std::filesystem::path& file) {
  errno = 0;
  std::ifstream stream(file, std::ios::binary);
  std::string bytes;
  if (stream) bytes.assign(std::istreambuf_iterator<char>(stream), {});
  std::error_code code;
  if (std::filesystem::is_directory(file, code)) {
    code = std::make_error_code(std::errc::is_a_directory);
  } else if (!stream) {
    code = {errno == 0 ? EIO : errno, std::generic_category()};
  }
  if (code) FailFile(file, code);
  return bytes;
}

// Errors of an action tell the file.
template <typename Action>
auto InFile(const std::filesystem::path& file, Action action) {
  try {
    return action();
  } catch (const ParseError&) {
    throw;  // tells it already
  } catch (Error& error) {
    error.PutUnder(file.string());
    throw;
  }
}

}  // namespace detail

inline Value Client::ParseFile(const std::filesystem::path& file) const {
  const std::string text = detail::ReadBytes(file);
  return detail::InFile(file, [&] { return Parse(text, file.string()); });
}

inline Value Client::LoadFile(const std::filesystem::path& file) const {
  const std::string bytes = detail::ReadBytes(file);
  return detail::InFile(file, [&] {
    Stream stream = NewMemoryStream();
    stream.Write(bytes);
    stream.Rewind();
    Value value = Streamer(*this).Deserialize(stream);
    if (bytes.find_first_not_of(" \t\r\n", stream.Mark()) != bytes.npos) {
      throw Error("something follows the value at byte " + std::to_string(stream.Mark()));
    }
    return value;
  });
}

inline void Client::StoreFile(const std::filesystem::path& file, const Value& value) const {
  Stream stream = NewMemoryStream();
  detail::InFile(file, [&] { Streamer(*this).Serialize(stream, value); });
  stream.Rewind();
  const std::string bytes = stream.ReadAll();
  try {
    Replacement replacement(file);
    replacement.Write(bytes);
    replacement.Commit();
  } catch (const std::system_error& error) {
    detail::FailFile(file, error.code());
  }
}

}  // namespace zelutils
