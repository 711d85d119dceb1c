// A page in little, as the demonstration shows and stores it.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string>
#include <zelutils/client.hpp>

namespace demo {

using zelutils::Array;
using zelutils::BinData;
using zelutils::Client;
using zelutils::Dict;
using zelutils::Value;

// Each block of the page's content is a grey area.
class Thumbnail {
 public:
  static constexpr std::size_t kWidth = 22;
  static constexpr std::size_t kHeight = 15;

  explicit Thumbnail(const Dict& page) {
    pixels_.fill(kPaper);
    const Array size = page["size"].As<Array>();
    for (const Value& block : page["content"].As<Array>()) {
      Draw(block.As<Dict>(), kWidth / size[0].As<double>(), kHeight / size[1].As<double>());
    }
  }

  BinData ToBinData(const Client& client) const {
    std::string image = "P5 " + std::to_string(kWidth) + ' ' + std::to_string(kHeight) + " 255\n";
    image.append(pixels_.begin(), pixels_.end());
    return client.NewBinData("image/x-portable-graymap",
                             std::as_bytes(std::span(image.data(), image.size())));
  }

  void Print() const {
    for (std::size_t row = 0; row < kHeight; ++row) {
      std::string line;
      for (std::size_t column = 0; column < kWidth; ++column) {
        const char pixel = pixels_[row * kWidth + column];
        line += pixel == kPaper ? " " : pixel == kText ? "░" : pixel == kImage ? "▓" : "━";
      }
      std::printf("  |%s|\n", line.c_str());
    }
  }

 private:
  static constexpr char kPaper = '\xFA';
  static constexpr char kText = '\x90';
  static constexpr char kImage = '\x50';
  static constexpr char kRule = '\x20';

  // A box is left, bottom, right, top in points, counted from the page's lower left corner. It is
  // at least a pixel wide and high.
  void Draw(const Dict& block, double scaleX, double scaleY) {
    const std::string kind = block["kind"].As<std::string>();
    const Array box = block["box"].As<Array>();
    const auto place = [&](std::uint32_t edge, double scale) {
      return std::clamp(box[edge].As<double>() * scale, 0.0, 1000.0);
    };
    const auto from = [&](std::uint32_t edge, double scale) {
      return static_cast<std::size_t>(place(edge, scale));
    };
    const auto to = [&](std::uint32_t edge, double scale, std::size_t least) {
      return std::max(static_cast<std::size_t>(std::ceil(place(edge, scale))), least + 1);
    };
    const std::size_t left = from(0, scaleX);
    const std::size_t bottom = from(1, scaleY);
    const std::size_t right = std::min(to(2, scaleX, left), kWidth);
    const std::size_t top = std::min(to(3, scaleY, bottom), kHeight);
    for (std::size_t y = bottom; y < top; ++y) {
      for (std::size_t x = left; x < right; ++x) {
        pixels_[(kHeight - 1 - y) * kWidth + x] = kind == "text"    ? kText
                                                  : kind == "image" ? kImage
                                                                    : kRule;
      }
    }
  }

  std::array<char, kWidth * kHeight> pixels_;
};

}  // namespace demo
