// The documents that everything is measured on, independent of any library: seeded, so that they
// are the same in each process and on each machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zelbench {

struct Node {
  // A word is true, false or null: a value of its own in JSON, a string in the POS syntax.
  enum class Kind : std::uint8_t { kWhole, kReal, kText, kWord, kArray, kDict };

  Kind kind = Kind::kArray;
  double number = 0;
  std::string text;               // of a string or word; of a number as both syntaxes write it
  std::vector<std::string> keys;  // of a dictionary's items, in their order
  std::vector<Node> items;
};

// One for each scalar, array and dictionary. Keys do not count.
std::size_t CountValues(const Node& node);

// An array of 2,000 dictionaries with 8 members; 42,001 values.
Node Catalog(std::uint64_t seed = 1);
// 200 arrays of 100 numbers of 15 to 17 significant digits; 20,201 values.
Node Numbers(std::uint64_t seed = 1);
// One dictionary of 20,000 different keys of 8 bytes to strings of 10 bytes; 20,001 values.
Node Words(std::uint64_t seed = 1);
// Features of a map: dictionaries with 36 properties and an outline of 40 points, which are arrays
// of two numbers of 6 to 14 digits. Half of the values are numbers of points.
Node Coordinates(std::uint64_t seed = 1);
// Dictionaries keyed by nine-digit numbers, thousands of small ones with the same dozen keys, empty
// arrays and the word null.
Node Events(std::uint64_t seed = 1);
// Texts of 20 to 300 bytes, a third of them with bytes outside ASCII, some with quotes and line
// ends; words for booleans; keys of 2 to 25 bytes. Longer than the POS text syntax can say.
Node Messages(std::uint64_t seed = 1);
// By the names "catalog", "numbers", "words", "coordinates", "events" and "messages"; throws
// std::out_of_range for another.
Node DocumentNamed(const std::string& name, std::uint64_t seed = 1);

// Of `count` values in all: an array or a dictionary of small whole numbers, or arrays nested four
// deep around them.
Node FlatArray(std::size_t count);
Node FlatDict(std::size_t count);
Node NestedArrays(std::size_t count);

// The numbers below `count` in a seeded order.
std::vector<std::size_t> ShuffledIndices(std::size_t count);

std::string ToJson(const Node& node);
// The POS text syntax; for documents that it can say.
std::string ToPos(const Node& node);

// The key under which paths expect the catalogue.
inline constexpr const char kCatalogKey[] = "items";

// 1,000 paths that lead to values in a catalogue, as each library writes them.
struct Path {
  std::string pos;      // "items[1234].size.w"
  std::string pointer;  // "/items/1234/size/w"
};
std::vector<Path> CatalogPaths();

// A schema that the catalogue conforms to, in both languages: required members, types, bounds and
// lengths. The POS type of the whole is kCatalogType.
inline constexpr const char kCatalogType[] = "Catalog";
extern const char kCatalogPosSchema[];
extern const char kCatalogJsonSchema[];

}  // namespace zelbench
