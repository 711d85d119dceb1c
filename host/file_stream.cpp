// Streams over files of the standard input-output library.
//
// The modes are that library's: r, w or a, then + (update), b and x (must not exist; only with w)
// in any order. The bytes are never translated, also without b, since positions count bytes.
// A call that the mode does not allow is refused here; the C library would leave it undefined or
// notice it only at the end.
//
// A stream that can write is not buffered: bytes that were reported as written are with the system.

// Positions up to 2^32-1 on 32-bit systems as well; has to stand before the first system header.
#define _FILE_OFFSET_BITS 64

#include <cerrno>
#include <cstdio>
#include <optional>

#include "streams.h"

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#endif

namespace zelhost {

namespace {

#ifdef _WIN32
using FilePosition = long long;
int SeekFile(std::FILE* file, FilePosition offset, int origin) {
  return _fseeki64(file, offset, origin);
}
FilePosition TellFile(std::FILE* file) { return _ftelli64(file); }
// The C library there does not know x. N: no child process inherits the file.
std::FILE* OpenFile(const char* path, std::string mode) {
  if (mode.back() != 'x') return std::fopen(path, (mode + 'N').c_str());
  mode.pop_back();
  constexpr int kFlags = _O_CREAT | _O_EXCL | _O_RDWR | _O_BINARY | _O_NOINHERIT;
  const int descriptor = _open(path, kFlags, _S_IREAD | _S_IWRITE);
  if (descriptor < 0) return nullptr;
  std::FILE* file = _fdopen(descriptor, mode.c_str());
  if (file == nullptr) _close(descriptor);
  return file;
}
#else
using FilePosition = off_t;
int SeekFile(std::FILE* file, FilePosition offset, int origin) {
  return fseeko(file, offset, origin);
}
FilePosition TellFile(std::FILE* file) { return ftello(file); }
// e: no program that this process becomes or starts inherits the file.
std::FILE* OpenFile(const char* path, const std::string& mode) {
  return std::fopen(path, (mode + 'e').c_str());
}
#endif
static_assert(sizeof(FilePosition) == 8);

struct Mode {
  bool reads = false;
  bool writes = false;
  bool appends = false;
  std::string text;  // for fopen, always binary

  // Nothing for a text that is no mode.
  static std::optional<Mode> Parse(std::string_view text) {
    if (text.empty()) return std::nullopt;
    const char first = text[0];
    const std::string_view flags = text.substr(1);
    for (std::size_t i = 0; i < flags.size(); ++i) {
      const bool allowed = flags[i] == '+' || flags[i] == 'b' || (flags[i] == 'x' && first == 'w');
      if (!allowed || flags.find(flags[i], i + 1) != std::string_view::npos) return std::nullopt;
    }
    if (first != 'r' && first != 'w' && first != 'a') return std::nullopt;
    const auto has = [&](char flag) { return flags.find(flag) != std::string_view::npos; };
    Mode mode;
    mode.reads = first == 'r' || has('+');
    mode.writes = first != 'r' || has('+');
    mode.appends = first == 'a';
    mode.text = first;
    mode.text += has('+') ? "+b" : "b";
    if (has('x')) mode.text += 'x';
    return mode;
  }
};

struct FileCloser {
  void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

class FileStream : public Stream {
 public:
  FileStream(std::unique_ptr<std::FILE, FileCloser> file, Mode mode, std::string path)
      : file_(std::move(file)), mode_(std::move(mode)), path_(std::move(path)) {}

  ZELErrorObject Read(std::uint32_t& delivered, void* buffer, std::uint32_t wanted) override {
    if (!mode_.reads) return NewHostError("ZELFileStream::Read: the stream is write-only", EBADF);
    if (!Turn(Direction::kReading)) return Failed("Read");
    // The end of the file is not remembered: another stream may append to it. Some C libraries
    // forget it only when they seek.
    if (std::feof(file_.get()) != 0) {
      SeekFile(file_.get(), static_cast<FilePosition>(position_), SEEK_SET);
    }
    std::clearerr(file_.get());
    errno = 0;
    delivered = static_cast<std::uint32_t>(std::fread(buffer, 1, wanted, file_.get()));
    position_ += delivered;
    // Bytes that were read before a failure are delivered; the failure will be met again.
    if (delivered == 0 && std::ferror(file_.get()) != 0) return Failed("Read");
    return nullptr;
  }

  ZELErrorObject Write(const void* bytes, std::uint32_t count) override {
    if (!mode_.writes) return NewHostError("ZELFileStream::Write: the stream is read-only", EBADF);
    if (count == 0) return nullptr;
    if (!Turn(Direction::kWriting) || !ToEndIfAppending()) return Failed("Write");
    if (position_ + count > kLargestPosition) {
      return NewHostError("ZELFileStream::Write: the file would become too long", EFBIG);
    }
    errno = 0;
    if (std::fwrite(bytes, 1, count, file_.get()) == count) {
      position_ += count;
      return nullptr;
    }
    const int errorNumber = errno;
    // A part may be in the file; the next try goes over it.
    std::clearerr(file_.get());
    SeekFile(file_.get(), static_cast<FilePosition>(position_), SEEK_SET);
    return Failed("Write", errorNumber);
  }

  ZELErrorObject CreateIndependentlyPositionable(ZELInstance& result) override {
    return NewFileStream(result, path_.c_str(), "rb");
  }

  ZELErrorObject Mark(std::uint32_t& position) override {
    if (position_ > kLargestPosition) {
      return NewHostError("ZELFileStream::Mark: the position is beyond 4294967295", EOVERFLOW);
    }
    position = static_cast<std::uint32_t>(position_);
    return nullptr;
  }

  ZELErrorObject Seek(std::uint32_t position, std::uint32_t second) override {
    if (second != 0) {
      return NewHostError("ZELFileStream::Seek: the second argument is not 0", EINVAL);
    }
    if (SeekFile(file_.get(), position, SEEK_SET) != 0) return Failed("Seek");
    position_ = position;
    direction_ = Direction::kNone;
    return nullptr;
  }

 private:
  enum class Direction : std::uint8_t { kNone, kReading, kWriting };

  // Between reading and writing the C library wants a change of position.
  bool Turn(Direction direction) {
    const bool turns = direction_ != Direction::kNone && direction_ != direction;
    if (turns && SeekFile(file_.get(), static_cast<FilePosition>(position_), SEEK_SET) != 0) {
      return false;
    }
    direction_ = direction;
    return true;
  }

  bool ToEndIfAppending() {
    if (!mode_.appends) return true;
    if (SeekFile(file_.get(), 0, SEEK_END) != 0) return false;
    const FilePosition end = TellFile(file_.get());
    if (end < 0) return false;
    position_ = static_cast<std::uint64_t>(end);
    return true;
  }

  static ZELErrorObject Failed(const char* method, int errorNumber = errno) {
    return NewSystemError(std::string(kFileStreamName) + "::" + method,
                          errorNumber != 0 ? errorNumber : EIO);
  }

  std::unique_ptr<std::FILE, FileCloser> file_;
  Mode mode_;
  std::string path_;
  std::uint64_t position_ = 0;  // followed here, since asking costs a system call
  Direction direction_ = Direction::kNone;
};

}  // namespace

ZELErrorObject NewFileStream(ZELInstance& result, const char* path, const char* mode) {
  if (path == nullptr || mode == nullptr) {
    NoteMisuse("NewPositionableFileStream", "of null");
    return NewHostError("ZELFileStream: no path or mode", EINVAL);
  }
  std::optional<Mode> parsed = Mode::Parse(mode);
  if (!parsed.has_value()) {
    return NewHostError("ZELFileStream: " + Quoted(mode) + " is no open mode", EINVAL);
  }
  std::unique_ptr<std::FILE, FileCloser> file(OpenFile(path, parsed->text));
  if (file == nullptr) {
    return NewSystemError("ZELFileStream: cannot open " + Quoted(path), errno);
  }
  if (parsed->writes) std::setvbuf(file.get(), nullptr, _IONBF, 0);
  return NewStream(result, StreamKind::kFile,
                   std::make_unique<FileStream>(std::move(file), std::move(*parsed), path));
}

}  // namespace zelhost
