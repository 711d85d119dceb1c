// Values in files. Programs include zelutils/client.hpp, which says how they are used.
#pragma once

#ifdef _WIN32
#include <io.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

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
#include <utility>

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

#ifdef _WIN32
inline std::FILE* CreateFileAt(const std::filesystem::path& path, bool /*isPrivate*/) {
  return _wfopen(path.c_str(), L"wb");
}
// Waits until what was written is on the disk (FlushFileBuffers).
inline bool WriteThrough(std::FILE* file) {
  return std::fflush(file) == 0 && _commit(_fileno(file)) == 0;
}
// The system writes the names of a folder through by itself.
inline bool WriteFolderThrough(const std::filesystem::path& /*folder*/) { return true; }
#else
inline std::FILE* CreateFileAt(const std::filesystem::path& path, bool isPrivate) {
  const int descriptor =
      open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, isPrivate ? 0600 : 0666);
  return descriptor < 0 ? nullptr : fdopen(descriptor, "wb");
}
// Waits until what was written is on the disk.
inline bool WriteThrough(std::FILE* file) {
  return std::fflush(file) == 0 && fsync(fileno(file)) == 0;
}
// The same for the names in a folder, as far as its file system knows how to.
inline bool WriteFolderThrough(const std::filesystem::path& folder) {
  const int descriptor =
      open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return errno == EACCES;  // one may write into a folder and not read it
  const bool isDone = fsync(descriptor) == 0 || errno == EINVAL;
  const int code = errno;
  close(descriptor);
  errno = code;
  return isDone;
}
#endif

// A file beside another one, which it replaces when it is on the disk, and not before.
class Neighbour {
 public:
  explicit Neighbour(const std::filesystem::path& file) : name_(file), file_(file) {
    // The file that a link leads to is replaced, not the link.
    std::error_code code;
    const std::filesystem::path behind = std::filesystem::canonical(file, code);
    if (!code) file_ = behind;
    status_ = std::filesystem::status(file_, code);
    std::random_device random;
    path_ = file_.parent_path() / (".zel" + std::to_string(random()) + ".tmp");
    errno = 0;
    // Until it has the old file's permissions, only its owner may look into it.
    stream_ = CreateFileAt(path_, std::filesystem::exists(status_));
    if (stream_ == nullptr) Fail();
  }
  Neighbour(const Neighbour&) = delete;
  Neighbour& operator=(const Neighbour&) = delete;
  ~Neighbour() {
    if (stream_ != nullptr) std::fclose(stream_);
    std::error_code ignored;
    if (!path_.empty()) std::filesystem::remove(path_, ignored);
  }

  void Write(std::string_view bytes) {
    errno = 0;
    if (std::fwrite(bytes.data(), 1, bytes.size(), stream_) != bytes.size()) Fail();
  }
  // Called once, when all is written.
  void Commit() {
    errno = 0;
    if (!WriteThrough(stream_)) Fail();
    if (std::fclose(std::exchange(stream_, nullptr)) != 0) Fail();
    std::error_code code;
    if (std::filesystem::exists(status_)) {
      std::filesystem::permissions(path_, status_.permissions(), code);
    }
    code.clear();
    std::filesystem::rename(path_, file_, code);
    if (code) FailFile(name_, code);
    path_.clear();
    if (!WriteFolderThrough(file_.parent_path())) Fail();
  }

 private:
  [[noreturn]] void Fail() const {
    FailFile(name_, {errno == 0 ? EIO : errno, std::generic_category()});
  }

  std::filesystem::path name_;
  std::filesystem::path file_;  // behind links
  std::filesystem::file_status status_;
  std::filesystem::path path_;
  std::FILE* stream_ = nullptr;
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
  neighbour.Write(bytes);
  neighbour.Commit();
}

}  // namespace zelutils
