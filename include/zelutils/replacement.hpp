// A file's new content, which takes the old one's place when it is complete and on the disk, and
// not before. It needs nothing else of this library.
#pragma once

#include <fcntl.h>
#ifdef _WIN32
#include <io.h>
#include <sys/stat.h>
#else
#include <unistd.h>
#endif

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <system_error>

namespace zelutils {

// Writes to a new file in the same folder, hence in the same file system, and moves that one over
// the old: whatever happens, one of the two is there, whole. The permissions of the file that was
// there stay; without one, they are those of any new file. Behind symbolic links it is the file
// that they lead to that is replaced. A device, a pipe, and whatever else is there but no regular
// file, is written to directly.
//
// The methods throw std::system_error with the reason, and leave the file as it was.
class Replacement {
 public:
  explicit Replacement(const std::filesystem::path& file) : target_(file) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(target_, error);
    if (!std::filesystem::status_known(status)) throw std::system_error(error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
      file_.reset(OpenThere(target_));
      if (file_ == nullptr) Fail();
      return;
    }
    FollowLinks();
    if (std::filesystem::exists(status)) {
      permissions_ = status.permissions() & std::filesystem::perms::all;
    }
    std::random_device random;
    constexpr int kMostTries = 100;
    for (int i = 0; i == 0 || (i < kMostTries && file_ == nullptr && errno == EEXIST); ++i) {
      // Short, so that it fits wherever the file's own name does.
      neighbour_ = target_.parent_path() / (".zel" + std::to_string(random()) + ".tmp");
      // Until it has the old file's permissions, only its owner may look into it.
      file_.reset(OpenNew(neighbour_, permissions_.has_value()));
    }
    if (file_ == nullptr) {
      neighbour_.clear();  // it is another's, or nobody's
      Fail();
    }
  }
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;
  // Without Commit, nothing has happened.
  ~Replacement() {
    if (neighbour_.empty()) return;
    file_.reset();  // some systems remove no open file
    std::error_code ignored;
    std::filesystem::remove(neighbour_, ignored);
  }

  void Write(std::string_view bytes) {
    errno = 0;
    std::fwrite(bytes.data(), 1, bytes.size(), file_.get());
    if (std::fflush(file_.get()) != 0 || std::ferror(file_.get()) != 0) Fail();
  }

  // Called once, after the last Write: waits until the content is on the disk (fsync of the file
  // before and of the folder after; FlushFileBuffers on Windows). An exception of `check`, called
  // just before the change, prevents it.
  template <typename Check>
  void Commit(Check check) {
    if (!neighbour_.empty() && !WriteThrough(file_.get())) Fail();
    if (std::fclose(file_.release()) != 0) Fail();
    if (neighbour_.empty()) return;
    if (permissions_) std::filesystem::permissions(neighbour_, *permissions_);
    check();
    std::filesystem::rename(neighbour_, target_);
    neighbour_.clear();
    if (!WriteFolderThrough(target_.parent_path())) Fail();
  }
  void Commit() {
    Commit([] {});
  }

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  [[noreturn]] static void Fail() {
    throw std::system_error(errno == 0 ? EIO : errno, std::generic_category());
  }

  // The file that writing to the path reaches, be it there or not.
  void FollowLinks() {
    constexpr int kMostLinks = 40;  // links in a circle have been refused before
    std::error_code error;
    for (int i = 0; i < kMostLinks; ++i) {
      if (!std::filesystem::is_symlink(std::filesystem::symlink_status(target_, error))) return;
      target_ = target_.parent_path() / std::filesystem::read_symlink(target_, error);
    }
  }

#ifdef _WIN32
  static std::FILE* OpenThere(const std::filesystem::path& path) {
    return _wfopen(path.c_str(), L"wb");
  }
  static std::FILE* OpenNew(const std::filesystem::path& path, bool /*isPrivate*/) {
    const int descriptor =
        _wopen(path.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
    if (descriptor < 0) return nullptr;
    std::FILE* const file = _fdopen(descriptor, "wb");
    if (file == nullptr) {
      _close(descriptor);
      _wunlink(path.c_str());
    }
    return file;
  }
  static bool WriteThrough(std::FILE* file) {
    return std::fflush(file) == 0 && _commit(_fileno(file)) == 0;
  }
  // The system writes the names of a folder through by itself.
  static bool WriteFolderThrough(const std::filesystem::path& /*folder*/) { return true; }
#else
  static std::FILE* OpenThere(const std::filesystem::path& path) {
    return std::fopen(path.c_str(), "wb");
  }
  static std::FILE* OpenNew(const std::filesystem::path& path, bool isPrivate) {
    const int descriptor =
        open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, isPrivate ? 0600 : 0666);
    if (descriptor < 0) return nullptr;
    std::FILE* const file = fdopen(descriptor, "wb");
    if (file == nullptr) {
      close(descriptor);
      unlink(path.c_str());
    }
    return file;
  }
  static bool WriteThrough(std::FILE* file) {
    return std::fflush(file) == 0 && fsync(fileno(file)) == 0;
  }
  // The names in a folder, as far as its file system knows how to.
  static bool WriteFolderThrough(const std::filesystem::path& folder) {
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

  std::filesystem::path target_;     // behind links
  std::filesystem::path neighbour_;  // empty where there is none
  std::optional<std::filesystem::perms> permissions_;
  std::unique_ptr<std::FILE, Close> file_;
};

}  // namespace zelutils
