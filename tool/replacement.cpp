#include "replacement.h"

#include <cerrno>
#include <random>
#include <system_error>

#include "held_signals.h"
#include "platform.h"

namespace zelpos {
namespace {

namespace fs = std::filesystem;

// The file that writing to a path reaches, be it there or not.
fs::path BehindLinks(fs::path path) {
  constexpr int kMostLinks = 40;  // links in a circle have been refused before
  std::error_code error;
  for (int i = 0; i < kMostLinks && fs::is_symlink(fs::symlink_status(path, error)); ++i) {
    path = path.parent_path() / fs::read_symlink(path, error);
  }
  return path;
}

// Short, so that it fits wherever the file's own name does.
fs::path RandomNameBeside(const fs::path& path) {
  std::random_device random;
  return path.parent_path() / (".zelpos." + std::to_string(random()) + ".tmp");
}

}  // namespace

Replacement::Replacement(const std::string& file) : name_(file), target_(PathOf(file)) {
  std::error_code error;
  const fs::file_status status = fs::status(target_, error);
  if (!fs::status_known(status)) Fail(name_, error);
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    file_.reset(OpenPath(target_, "wb"));
    if (file_ == nullptr) Fail(name_);
    return;
  }

  target_ = BehindLinks(target_);
  if (fs::exists(status)) permissions_ = status.permissions() & fs::perms::all;
  // Until it has the old file's permissions, only its owner may look into it.
  const Access access = permissions_ ? Access::kPrivate : Access::kOrdinary;
  constexpr int kMostTries = 100;
  for (int i = 0; i == 0 || (i < kMostTries && file_ == nullptr && errno == EEXIST); ++i) {
    temporary_ = RandomNameBeside(target_);
    file_.reset(CreateNew(temporary_, access));
  }
  if (file_ == nullptr) Fail(name_);
}

Replacement::~Replacement() {
  if (temporary_.empty()) return;
  file_.reset();  // some systems remove no open file
  std::error_code ignored;
  fs::remove(temporary_, ignored);
}

void Replacement::Commit() {
  if (!temporary_.empty() && !WriteThrough(file_.get())) Fail(name_);
  if (std::fclose(file_.release()) != 0) Fail(name_);
  if (temporary_.empty()) return;

  std::error_code error;
  if (permissions_) fs::permissions(temporary_, *permissions_, error);
  HeldSignals::Check();
  if (!error) fs::rename(temporary_, target_, error);
  if (error) Fail(name_, error);
  temporary_.clear();
}

}  // namespace zelpos
