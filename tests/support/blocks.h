// The fenced blocks of the pages, which tests carry out.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace zeltest {

// A fenced block; the words behind its opening fence tell what is to be done with it.
struct Block {
  std::size_t line = 0;  // of its opening fence
  std::string kind, argument;
  std::vector<std::string> lines;

  std::string Text() const {
    std::string text;
    for (const std::string& next : lines) text += (text.empty() ? "" : "\n") + next;
    return text;
  }
};

inline std::vector<Block> ReadBlocks(const std::string& page) {
  std::ifstream file(ZEL_EXAMPLES_DIR "/../docs/" + page);
  EXPECT_TRUE(file.is_open()) << page;
  std::vector<Block> blocks;
  std::string text;
  bool inside = false;
  std::size_t indentation = 0;
  for (std::size_t number = 1; std::getline(file, text); ++number) {
    const std::size_t start = text.find_first_not_of(' ');
    const bool isFence = start != text.npos && text.compare(start, 3, "```") == 0;
    if (isFence && !inside) {
      indentation = start;
      blocks.push_back({number, {}, {}, {}});
      std::istringstream(text.substr(start + 3)) >> blocks.back().kind >> blocks.back().argument;
    } else if (!isFence && inside) {
      blocks.back().lines.push_back(text.substr(std::min(text.size(), indentation)));
    }
    inside ^= isFence;
  }
  EXPECT_FALSE(inside) << page;
  return blocks;
}

}  // namespace zeltest
