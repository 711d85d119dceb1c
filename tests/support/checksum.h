// Bytes that are the same on every platform: docs/porting.md has their checksums.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>

#include "folder.h"

namespace zeltest {

// FNV-1a of 64 bits.
inline std::string Checksum(const std::string& bytes) {
  std::uint64_t sum = 0xCBF29CE484222325u;
  for (const char byte : bytes) {
    sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100000001B3u;
  }
  std::array<char, 17> digits;
  std::snprintf(digits.data(), digits.size(), "%08x%08x", static_cast<unsigned>(sum >> 32),
                static_cast<unsigned>(sum & 0xFFFFFFFFu));
  return digits.data();
}

// The page's table has a row with this name and the checksum of these bytes.
inline void ExpectChecksum(const std::string& name, const std::string& bytes) {
  const std::string page = Folder::Contents(ZEL_EXAMPLES_DIR "/../docs/porting.md");
  const std::string row = "| " + name + " | `" + Checksum(bytes) + "` |";
  EXPECT_NE(page.find(row), page.npos) << row;
}

}  // namespace zeltest
