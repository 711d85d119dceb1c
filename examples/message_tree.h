// The messages of a validation, laid out for reading.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

namespace demo {

// A message leads from the outside of a value to the inside, and says at the end what is wrong
// there: "pages (required, type != Pages): [1]: Missing required member size". A beginning
// that several messages share is shown once, with their ends below it.
class MessageTree {
 public:
  explicit MessageTree(const std::vector<std::string>& messages) {
    for (const std::string& message : messages) paths_.push_back(Split(message));
  }

  void Print() const {
    std::size_t shared = 0;  // with the message before
    for (std::size_t i = 0; i < paths_.size(); ++i) {
      const Path& path = paths_[i];
      const std::size_t sharedNext = i + 1 < paths_.size() ? Shared(path, paths_[i + 1]) : 0;
      std::size_t indentation = 2 * shared;
      for (std::size_t step = shared; step < path.size(); ++step) {
        indentation += 2;
        std::string line = std::string(indentation, ' ') + path[step];
        // A part that no other message shares stays on one line if it can.
        const auto fits = [&] { return line.size() + 1 + path[step + 1].size() <= kLineWidth; };
        while (sharedNext <= step && step + 1 < path.size() && fits()) line += ' ' + path[++step];
        std::printf("%s\n", line.c_str());
      }
      shared = sharedNext;
    }
  }

 private:
  using Path = std::vector<std::string>;
  static constexpr std::size_t kLineWidth = 100;

  static Path Split(const std::string& message) {
    Path path;
    std::size_t begin = 0;
    for (std::size_t end; (end = message.find(": ", begin)) != message.npos; begin = end + 2) {
      path.push_back(message.substr(begin, end + 1 - begin));
    }
    path.push_back(message.substr(begin));
    return path;
  }

  static std::size_t Shared(const Path& left, const Path& right) {
    const auto differing = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
    return static_cast<std::size_t>(differing.first - left.begin());
  }

  std::vector<Path> paths_;
};

}  // namespace demo
