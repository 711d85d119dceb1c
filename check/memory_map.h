// Which bytes of the address space belong to a block of memory: a bit for each eight bytes, in
// pages of 4096 bytes. Tells in constant time for a small block whether it lies over another one.
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <unordered_map>

namespace zelcheck {

class MemoryMap {
 public:
  // Whether any of the block's bytes is taken; takes those that are not.
  bool Take(const void* block, std::size_t size) { return Mark(block, size, true); }
  void Free(const void* block, std::size_t size) { Mark(block, size, false); }
  void Clear() { pages_.clear(); }

 private:
  static constexpr std::size_t kGranule = 8;
  static constexpr std::size_t kPage = 4096;
  // Of a larger block the first and the last bytes stand for all.
  static constexpr std::size_t kLarge = 1 << 20;
  using Page = std::bitset<kPage / kGranule>;

  bool Mark(const void* block, std::size_t size, bool taken) {
    const auto start = reinterpret_cast<std::uintptr_t>(block);
    if (size > kLarge) {
      const bool first = MarkRange(start, start + kPage, taken);
      return MarkRange(start + size - kPage, start + size, taken) || first;
    }
    return size != 0 && MarkRange(start, start + size, taken);
  }

  bool MarkRange(std::uintptr_t start, std::uintptr_t end, bool taken) {
    bool wasTaken = false;
    std::uintptr_t granule = start / kGranule;
    const std::uintptr_t last = (end - 1) / kGranule;
    while (granule <= last) {
      const std::uintptr_t page = granule * kGranule / kPage;
      const std::uintptr_t next = (page + 1) * (kPage / kGranule);
      Page& bits = pages_[page];
      for (; granule <= last && granule < next; ++granule) {
        const std::size_t bit = granule % (kPage / kGranule);
        wasTaken = wasTaken || bits[bit];
        bits[bit] = taken;
      }
    }
    return wasTaken;
  }

  std::unordered_map<std::uintptr_t, Page> pages_;
};

}  // namespace zelcheck
