// Numbers to and from text: as the standard library writes them, and read in the one right way; a
// platform's own reading may round twice.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "frame/base/decimal.h"
#include "frame/base/exact_decimal.h"
#include "streamer/number_text.h"

namespace {

std::string StandardText(double value, int digits) {
  char text[64];
  const auto result =
      std::to_chars(text, text + sizeof text, value, std::chars_format::general, digits);
  return {text, result.ptr};
}

// Whether a value is the double next to what a text without a sign says: in whole numbers, and as
// the GNU C library reads it, exactly as well.
bool IsNearest(double value, const std::string& text) {
  const std::size_t length = std::min(text.find_first_of("eE"), text.size());
  const std::int64_t exponent = length == text.size() ? 0 : std::stoi(text.substr(length + 1));
#if defined(__GLIBC__)
  if (std::strtod(text.c_str(), nullptr) != value) return false;
#endif
  return ZEL_T_NMT::NearestDouble(text.data(), text.data() + length, exponent) == value;
}

// The text behind a number decides how many of its digits are looked at together.
void ExpectRead(const std::string& text) {
  const bool negative = text[0] == '-';
  for (const std::string behind : {"", "/", " 12345678"}) {
    const std::string whole = text + behind;
    const auto decimal = ZEL_T_NMT::DecimalPrefix(whole.data(), whole.size(), true);
    EXPECT_EQ(decimal.length, text.size()) << whole;
    EXPECT_EQ(std::signbit(decimal.value), negative) << whole;
    EXPECT_TRUE(IsNearest(std::abs(decimal.value), text.substr(negative ? 1 : 0))) << whole;
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

TEST(NumbersTest, AreWrittenAsByTheStandardLibraryAndReadBack) {
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

TEST(NumbersTest, AreTheNearestDoublesOfEveryShortMantissaAndPower) {
  std::mt19937_64 random(3);
  std::size_t wrong = 0;
  const auto check = [&wrong](std::uint64_t mantissa, std::int64_t power) {
    const std::string text = std::to_string(mantissa) + "e" + std::to_string(power);
    const double value = ZEL_T_NMT::DecimalPrefix(text.data(), text.size(), true).value;
    if (IsNearest(value, text)) return;
    if (++wrong < 10) ADD_FAILURE() << text;
  };
  check(2056822485610798, 19);  // wrong where a register rounds the product, and a double again
  for (int i = 0; i < 1000000; ++i) {
    check((random() >> 11 >> random() % 50) + 1, static_cast<std::int64_t>(random() % 45) - 22);
  }
  EXPECT_EQ(wrong, 0u);
}

TEST(NumbersTest, AreReadToTheEndsOfTheirRange) {
  using Limits = std::numeric_limits<double>;
  const std::string zeros(900, '0');
  const std::pair<std::string, double> rows[] = {
      {"1.7976931348623158e308", Limits::max()},
      {"1.7976931348623159e308", Limits::infinity()},
      {"1e99999", Limits::infinity()},
      {"1e-99999", 0},
      {"2.2250738585072012e-308", Limits::min()},
      {"2.2250738585072011e-308", Limits::min() - Limits::denorm_min()},
      {"2.4703282292062328e-324", Limits::denorm_min()},
      {"2.4703282292062327e-324", 0},
      {"0." + zeros + "1e901", 1},
      {"1" + zeros + "e-900", 1},
      {"0" + zeros + "0.0e2000", 0},
      {"9007199254740993." + zeros, 9007199254740992},
      {"9007199254740993." + zeros + "1", 9007199254740994},
      {zeros + "0." + zeros + "9007199254740995" + zeros + "e916", 9007199254740996},
  };
  for (const auto& [text, value] : rows) {
    EXPECT_EQ(ZEL_T_NMT::DecimalPrefix(text.data(), text.size(), true).value, value) << text;
    EXPECT_TRUE(IsNearest(value, text)) << text;
  }
}

}  // namespace
