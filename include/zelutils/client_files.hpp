// Values in files. Programs include zelutils/client.hpp, which says how they are used.
#pragma once

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <system_error>

#include "zelutils/client_streams.hpp"

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

// A file beside another one, which it replaces when it is complete, and not before.
class Neighbour {
 public:
  explicit Neighbour(const std::filesystem::path& file) : file_(file) {
    // What a link leads to is replaced, not the link.
    std::error_code code;
    const std::filesystem::path behind = std::filesystem::canonical(file, code);
    if (!code) file_ = behind;
    std::random_device random;
    path_ = file_.parent_path() / (".zel" + std::to_string(random()) + ".tmp");
  }
  Neighbour(const Neighbour&) = delete;
  Neighbour& operator=(const Neighbour&) = delete;
  ~Neighbour() {
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove(path_, ignored);
  }

  const std::filesystem::path& Path() const { return path_; }
  // Called once, when the file is written and closed.
  void Commit() {
    std::error_code code;
    const std::filesystem::file_status status = std::filesystem::status(file_, code);
    if (std::filesystem::exists(status)) {
      std::filesystem::permissions(path_, status.permissions(), code);
    }
    code.clear();
    std::filesystem::rename(path_, file_, code);
    if (code) FailFile(file_, code);
    path_.clear();
  }

 private:
  std::filesystem::path file_;
  std::filesystem::path path_;
};

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
  detail::Neighbour neighbour(file);
  errno = 0;
  std::ofstream output(neighbour.Path(), std::ios::binary | std::ios::trunc);
  output.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  output.close();
  if (!output) detail::FailFile(file, {errno == 0 ? EIO : errno, std::generic_category()});
  neighbour.Commit();
}

}  // namespace zelutils
