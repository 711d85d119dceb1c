// Numbers to and from text: the short ways give what the standard library gives.
#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "frame/base/decimal.h"
#include "streamer/number_text.h"

namespace {

std::string StandardText(double value, int digits) {
  char text[64];
  const auto result =
      std::to_chars(text, text + sizeof text, value, std::chars_format::general, digits);
  return {text, result.ptr};
}

// What follows a number decides how many of its digits are looked at together.
void ExpectRead(const std::string& text) {
  const char* const begin = text.data() + (text[0] == '-' ? 1 : 0);
  double expected = 0;
  std::from_chars(begin, text.data() + text.size(), expected);
  if (text[0] == '-') expected = -expected;
  for (const std::string behind : {"", "/", " 12345678"}) {
    const std::string whole = text + behind;
    const auto decimal = ZEL_T_NMT::DecimalPrefix(whole.data(), whole.size(), true);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(decimal.value), std::bit_cast<std::uint64_t>(expected))
        << whole;
    EXPECT_EQ(decimal.length, text.size()) << whole;
  }
}

void ExpectBothWays(double value) {
  char text[NPOSStreamerImpl::NTypeAImpl::kNumberTextCapacity];
  const std::string written(text, NPOSStreamerImpl::NTypeAImpl::FormatNumber(value, text));
  EXPECT_EQ(written, StandardText(value, 32));
  ExpectRead(written);
  ExpectRead(StandardText(value, 15));
  ExpectRead(StandardText(value, 17));
}

double FromBits(std::uint64_t sign, int exponent, std::uint64_t fraction) {
  return std::bit_cast<double>(sign << 63 | static_cast<std::uint64_t>(exponent + 1023) << 52 |
                               (fraction & ((std::uint64_t{1} << 52) - 1)));
}

TEST(NumbersTest, AreWrittenAndReadAsByTheStandardLibrary) {
  using Limits = std::numeric_limits<double>;
  for (const double value : {0.0, -0.0, Limits::denorm_min(), Limits::min(), 1e300}) {
    ExpectBothWays(value);
  }
  std::mt19937_64 random(1);
  for (int exponent = -90; exponent <= 120; ++exponent) {
    std::vector<std::uint64_t> fractions = {0, 1, ~std::uint64_t{0}, std::uint64_t{1} << 51,
                                            3u << 20};
    for (int i = 0; i < 60; ++i) fractions.push_back(random() << (i % 4 * 12));
    for (const std::uint64_t fraction : fractions) {
      ExpectBothWays(FromBits(fraction & 1, exponent, fraction));
    }
  }
  for (int i = 0; i < 5000; ++i) {
    ExpectBothWays(static_cast<double>(random() % 1000000) / 100);
    ExpectBothWays(std::bit_cast<double>(random() & ~(std::uint64_t{1} << 62)));
  }
  for (double power = 1e-6; power < 1e24; power *= 10) {
    for (const double limit : {0.0, Limits::max()}) {
      double value = power;
      for (int i = 0; i < 10; ++i) ExpectBothWays(value = std::nextafter(value, limit));
    }
  }
}

TEST(NumbersTest, AreReadToTheNearestDoubleWhereverThePointIs) {
  std::mt19937_64 random(2);
  const auto below = [&random](std::size_t limit) {
    return static_cast<std::size_t>(random() % limit);
  };
  for (int i = 0; i < 5000; ++i) {
    // Halfway between two doubles, or next to that.
    const std::uint64_t significand = random() >> 11 | std::uint64_t{1} << 52;
    const auto shift = below(11);
    const std::uint64_t half = shift == 0 ? 0 : std::uint64_t{1} << (shift - 1);
    std::string digits = std::to_string((significand << shift) + half + below(3) - 1);
    ExpectRead(digits);
    ExpectRead(digits + std::string(below(20), '0') + (i % 2 == 0 ? "1" : ""));
    digits.insert(below(digits.size()), 1, '.');
    ExpectRead(digits);
    ExpectRead(std::string(below(9), '0') + digits + "e-" + std::to_string(below(45)));
    ExpectRead("-" + digits + "E" + std::to_string(below(45)));
  }
}

}  // namespace
