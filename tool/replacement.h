// A file's new content, which takes the old one's place when it is complete, and not before.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "files.h"

namespace zelpos {

// Writes to a new file in the same folder, hence in the same file system, and moves that one over
// the old. The permissions of the file that was there stay; without one, they are those of any new
// file. Behind symbolic links it is the file they lead to that is replaced. An existing file that
// is not regular, such as a device or a pipe, is written to directly.
//
// The methods throw FileError, which leaves the file as it was; so does a signal that is being held
// when Commit is about to make the change.
class Replacement {
 public:
  explicit Replacement(const std::string& file);
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;
  // Without Commit, nothing has happened.
  ~Replacement();

  void Write(std::string_view bytes) { WriteAll(file_.get(), name_, bytes); }
  // To be called once, after the last Write.
  void Commit();

 private:
  std::string name_;
  std::filesystem::path target_;
  std::filesystem::path temporary_;  // empty where there is none
  std::optional<std::filesystem::perms> permissions_;
  OpenFile file_;
};

}  // namespace zelpos
