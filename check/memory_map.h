// Which bytes of the address space belong to a block of memory: a bit for each eight bytes, in
// pages of 4096 bytes. Tells in constant time for a small block whether it lies over another one.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "table.h"

namespace zelcheck {

class MemoryMap {
 public:
  // Whether any of the block's bytes is taken; takes those that are not.
  bool Take(const void* block, std::size_t size) { return Mark<true>(block, size); }
  void Free(const void* block, std::size_t size) { Mark<false>(block, size); }
  void Clear() {
    pages_.Clear();
    last_ = nullptr;
  }

 private:
  static constexpr std::size_t kGranule = 8;
  static constexpr std::size_t kPage = 4096;
  static constexpr std::size_t kBits = 64;  // of a word
  static constexpr std::size_t kWords = kPage / kGranule / kBits;
  // Of a larger block the first and the last bytes stand for all.
  static constexpr std::size_t kLarge = 1 << 20;
  struct Page {
    std::array<std::uint64_t, kWords> words{};
  };

  template <bool taken>
  bool Mark(const void* block, std::size_t size) {
    const auto start = reinterpret_cast<std::uintptr_t>(block);
    if (size > kLarge) {
      const bool first = MarkRange<taken>(start, start + kPage);
      return MarkRange<taken>(start + size - kPage, start + size) || first;
    }
    return size != 0 && MarkRange<taken>(start, start + size);
  }

  template <bool taken>
  bool MarkRange(std::uintptr_t start, std::uintptr_t end) {
    const std::uintptr_t first = start / kGranule;
    const std::uintptr_t others = (end - 1) / kGranule - first;
    // Most blocks are within one word, of the page that was looked at last.
    if (first % kBits + others >= kBits || start / kPage != lastNumber_ || last_ == nullptr) {
      return MarkWords<taken>(first, others);
    }
    return MarkWord<taken>(*last_, first, others);
  }

  template <bool taken>
  [[gnu::noinline]] bool MarkWords(std::uintptr_t granule, std::uintptr_t others) {
    bool wasTaken = false;
    for (;;) {
      const std::uintptr_t here = std::min<std::uintptr_t>(others, kBits - 1 - granule % kBits);
      wasTaken = MarkWord<taken>(PageOf(granule * kGranule / kPage), granule, here) || wasTaken;
      if (here == others) return wasTaken;
      others -= here + 1;
      granule += here + 1;
    }
  }

  // `others` follow the granule in the same word.
  template <bool taken>
  static bool MarkWord(Page& page, std::uintptr_t granule, std::uintptr_t others) {
    const std::uint64_t mask = ~std::uint64_t{0} >> (kBits - 1 - others) << granule % kBits;
    std::uint64_t& word = page.words[granule / kBits % kWords];
    const bool wasTaken = (word & mask) != 0;
    word = taken ? word | mask : word & ~mask;
    return wasTaken;
  }

  Page& PageOf(std::uintptr_t number) {
    last_ = &pages_[number];
    lastNumber_ = number;
    return *last_;
  }

  Table<std::uintptr_t, Page> pages_;
  std::uintptr_t lastNumber_ = 0;
  Page* last_ = nullptr;  // the page that was looked at last
};

}  // namespace zelcheck
