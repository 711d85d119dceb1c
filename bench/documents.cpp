#include "documents.h"

#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <unordered_set>

#include "random.h"

namespace zelbench {

namespace {

using Kind = Node::Kind;

Node Number(Kind kind, std::string text) {
  Node node;
  node.kind = kind;
  node.number = std::strtod(text.c_str(), nullptr);
  node.text = std::move(text);
  return node;
}

Node Whole(std::uint64_t number) { return Number(Kind::kWhole, std::to_string(number)); }

// `units` divided by a power of ten.
Node Decimal(std::uint64_t units, std::size_t places) {
  std::string text = std::to_string(units);
  if (text.size() <= places) text.insert(0, places + 1 - text.size(), '0');
  text.insert(text.size() - places, 1, '.');
  return Number(Kind::kReal, text);
}

Node Text(std::string text) {
  Node node;
  node.kind = Kind::kText;
  node.text = std::move(text);
  return node;
}

Node Word(std::string word) {
  Node node = Text(std::move(word));
  node.kind = Kind::kWord;
  return node;
}

Node Boolean(bool value) { return Word(value ? "true" : "false"); }

Node Array(std::size_t capacity = 0) {
  Node node;
  node.items.reserve(capacity);
  return node;
}

Node Dict() {
  Node node;
  node.kind = Kind::kDict;
  return node;
}

void Put(Node& dict, std::string key, Node value) {
  dict.keys.push_back(std::move(key));
  dict.items.push_back(std::move(value));
}

Node CatalogItem(Random& random, std::size_t index) {
  Node item = Dict();
  Put(item, "id", Whole(index));
  Put(item, "name", Text(random.Letters(12)));
  Put(item, "price", Decimal(random.From(100, 99999), 2));
  Node tags = Array();
  for (int i = 0; i < 4; ++i) tags.items.push_back(Text(random.Letters(random.From(3, 7))));
  Put(item, "tags", std::move(tags));
  Node size = Dict();
  for (const char* side : {"w", "h", "d"}) Put(size, side, Decimal(random.From(10, 9999), 1));
  Put(item, "size", std::move(size));
  Put(item, "stock", Whole(random.Below(100000)));
  Node ratings = Array();
  for (int i = 0; i < 5; ++i) ratings.items.push_back(Whole(random.Below(100)));
  Put(item, "ratings", std::move(ratings));
  Put(item, "note", Text(random.Sentence(60)));
  return item;
}

Node LongNumber(Random& random) {
  const std::size_t digits = random.From(15, 17);
  std::string text = std::to_string(random.From(1, 9));
  while (text.size() < digits) text += std::to_string(random.Below(10));
  text.back() = static_cast<char>('1' + random.Below(9));
  text.insert(random.From(1, 6), 1, '.');
  if (random.Below(2) == 0) text.insert(0, 1, '-');
  return Number(Kind::kReal, text);
}

// A degree with 4 to 12 decimals.
Node Degree(Random& random) {
  const std::size_t places = random.From(4, 12);
  std::uint64_t units = random.From(10, 179);
  for (std::size_t i = 0; i < places; ++i) units = 10 * units + random.Below(10);
  return Decimal(units, places);
}

Node Feature(Random& random) {
  Node properties = Dict();
  for (int i = 0; i < 36; ++i) {
    Put(properties, "property_" + std::to_string(i),
        i % 4 == 0 ? Boolean(random.Below(2) == 0) : Text(random.Letters(random.From(4, 30))));
  }
  Node outline = Array();
  for (int i = 0; i < 40; ++i) {
    Node point = Array();
    point.items.push_back(Degree(random));
    point.items.push_back(Degree(random));
    outline.items.push_back(std::move(point));
  }
  Node feature = Dict();
  Put(feature, "type", Text("Feature"));
  Put(feature, "properties", std::move(properties));
  Put(feature, "outline", std::move(outline));
  return feature;
}

Node Event(Random& random, const std::string& id) {
  Node event = Dict();
  Put(event, "id", Text(id));
  Put(event, "name", Text(random.Sentence(random.From(12, 60))));
  Put(event, "start", Whole(1300000000000 + random.Below(100000000000)));
  Put(event, "seats", Whole(random.Below(3000)));
  Put(event, "price", Decimal(random.From(900, 25000), 2));
  Put(event, "description", Word("null"));
  Put(event, "logo", random.Below(3) == 0 ? Text(random.Letters(24)) : Word("null"));
  Put(event, "subtitle", Word("null"));
  Put(event, "topics", Array());
  Node blocks = Array();
  for (std::uint64_t i = random.Below(4); i > 0; --i)
    blocks.items.push_back(Whole(random.Below(900)));
  Put(event, "blocks", std::move(blocks));
  Put(event, "subjects", Array());
  Put(event, "venue", Text("PLEYEL_PLEYEL"));
  return event;
}

std::string Phrase(Random& random, std::size_t length, bool foreign) {
  static constexpr std::string_view kForeign[] = {
      "\xC3\xA9", "\xC3\xBC", "\xE2\x82\xAC", "\xE6\x97\xA5", "\xE3\x81\x82", "\xF0\x9F\x98\x80"};
  std::string text = random.Sentence(length);
  if (random.Below(8) == 0) text[length / 2] = random.Below(2) == 0 ? '"' : '\n';
  if (!foreign) return text;
  std::string mixed;
  while (mixed.size() < length) {
    mixed.append(text, mixed.size(), random.From(1, 6));
    for (std::uint64_t i = random.From(1, 5); i > 0; --i) {
      mixed += kForeign[random.Below(std::size(kForeign))];
    }
  }
  return mixed;
}

Node Message(Random& random) {
  Node user = Dict();
  Put(user, "id", Whole(random.Below(4000000000)));
  Put(user, "screen_name", Text(random.Letters(random.From(4, 15))));
  Put(user, "description", Text(Phrase(random, random.From(20, 160), random.Below(3) == 0)));
  Put(user, "followers_count", Whole(random.Below(100000)));
  Put(user, "verified", Boolean(false));
  Put(user, "profile_background_tile", Boolean(random.Below(2) == 0));
  Put(user, "url", Word("null"));
  Node message = Dict();
  Put(message, "id", Whole(500000000000000 + random.Below(100000000)));
  Put(message, "text", Text(Phrase(random, random.From(20, 300), random.Below(3) == 0)));
  Put(message, "user", std::move(user));
  Put(message, "in_reply_to_status_id", Word("null"));
  Put(message, "retweet_count", Whole(random.Below(1000)));
  Put(message, "favorited", Boolean(false));
  Put(message, "truncated", Boolean(random.Below(5) == 0));
  Put(message, "lang", Text(random.Letters(2)));
  Put(message, "hashtags", Array());
  return message;
}

enum class Syntax : std::uint8_t { kJson, kPos };

// Texts have no characters that the POS syntax escapes, keys none that JSON does.
void AppendJsonText(std::string& out, const std::string& text) {
  out += '"';
  for (const char c : text) {
    if (c == '"') out += '\\';
    c == '\n' ? out += "\\n" : out += c;
  }
  out += '"';
}

void AppendPosKey(std::string& out, const std::string& key) {
  const bool isWord = key[0] < '0' || key[0] > '9';
  out += isWord ? key : '(' + key + ')';
  out += ' ';
}

void Append(std::string& out, const Node& node, Syntax syntax) {
  const bool json = syntax == Syntax::kJson;
  switch (node.kind) {
    case Kind::kWhole:
    case Kind::kReal:
    case Kind::kWord:
      out += node.text;
      break;
    case Kind::kText:
      json ? AppendJsonText(out, node.text) : void(out += '(' + node.text + ')');
      break;
    case Kind::kArray:
    case Kind::kDict: {
      const bool dict = node.kind == Kind::kDict;
      out += !dict ? '[' : json ? '{' : '<';
      for (std::size_t i = 0; i < node.items.size(); ++i) {
        if (i > 0) out += json ? ',' : ' ';
        if (dict) json ? void(out += '"' + node.keys[i] + "\":") : AppendPosKey(out, node.keys[i]);
        Append(out, node.items[i], syntax);
      }
      out += !dict ? ']' : json ? '}' : '>';
      break;
    }
  }
}

// An array of arrays ... of `count` values in all.
Node Nest(std::size_t count, int depth, std::size_t width, std::uint64_t& next) {
  Node array = Array();
  std::size_t left = count - 1;
  while (left > 0) {
    const std::size_t part = depth == 1 ? 1 : std::min(left, (count - 1) / width + 1);
    array.items.push_back(depth == 1 ? Whole(next++ % 1000) : Nest(part, depth - 1, width, next));
    left -= part;
  }
  return array;
}

}  // namespace

std::size_t CountValues(const Node& node) {
  std::size_t count = 1;
  for (const Node& item : node.items) count += CountValues(item);
  return count;
}

Node Catalog(std::uint64_t seed) {
  Random random(seed);
  Node catalog = Array();
  for (std::size_t i = 0; i < 2000; ++i) catalog.items.push_back(CatalogItem(random, 100000 + i));
  return catalog;
}

Node Numbers(std::uint64_t seed) {
  Random random(seed);
  Node rows = Array();
  for (int i = 0; i < 200; ++i) {
    Node row = Array();
    for (int j = 0; j < 100; ++j) row.items.push_back(LongNumber(random));
    rows.items.push_back(std::move(row));
  }
  return rows;
}

Node Words(std::uint64_t seed) {
  Random random(seed);
  Node words = Dict();
  std::unordered_set<std::string> keys;
  while (keys.size() < 20000) {
    const std::string key = random.Letters(8);
    if (keys.insert(key).second) Put(words, key, Text(random.Letters(10)));
  }
  return words;
}

Node Coordinates(std::uint64_t seed) {
  Random random(seed);
  Node features = Array();
  for (int i = 0; i < 250; ++i) features.items.push_back(Feature(random));
  return features;
}

Node Events(std::uint64_t seed) {
  Random random(seed);
  const auto id = [&] { return std::to_string(random.From(100000000, 999999999)); };
  Node events = Dict();
  Node names = Dict();
  std::unordered_set<std::string> keys;
  while (keys.size() < 2000) {
    const std::string key = id();
    if (!keys.insert(key).second) continue;
    Put(events, key, Event(random, key));
    Put(names, key, Text(random.Sentence(random.From(8, 40))));
  }
  Node document = Dict();
  Put(document, "events", std::move(events));
  Put(document, "names", std::move(names));
  return document;
}

Node Messages(std::uint64_t seed) {
  Random random(seed);
  Node messages = Array();
  for (int i = 0; i < 2000; ++i) messages.items.push_back(Message(random));
  return messages;
}

Node DocumentNamed(const std::string& name, std::uint64_t seed) {
  if (name == "catalog") return Catalog(seed);
  if (name == "numbers") return Numbers(seed);
  if (name == "words") return Words(seed);
  if (name == "coordinates") return Coordinates(seed);
  if (name == "events") return Events(seed);
  if (name == "messages") return Messages(seed);
  throw std::out_of_range("no document is named " + name);
}

Node FlatArray(std::size_t count) {
  Node array = Array(count);
  for (std::size_t i = 1; i < count; ++i) array.items.push_back(Whole(i % 1000));
  return array;
}

Node FlatDict(std::size_t count) {
  Random random(1);
  Node dict = Dict();
  std::unordered_set<std::string> keys;
  while (keys.size() + 1 < count) {
    const std::string key = random.Letters(8);
    if (keys.insert(key).second) Put(dict, key, Whole(keys.size() % 1000));
  }
  return dict;
}

Node NestedArrays(std::size_t count) {
  std::size_t width = 1;
  while (width * width * width * width < count) ++width;
  std::uint64_t next = 0;
  return Nest(count, 4, width, next);
}

std::vector<std::size_t> ShuffledIndices(std::size_t count) {
  Random random(count);
  std::vector<std::size_t> indices(count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t place = random.From(0, i);
    indices[i] = indices[place];
    indices[place] = i;
  }
  return indices;
}

std::string ToJson(const Node& node) {
  std::string out;
  Append(out, node, Syntax::kJson);
  return out;
}

std::string ToPos(const Node& node) {
  std::string out;
  Append(out, node, Syntax::kPos);
  return out;
}

std::vector<Path> CatalogPaths() {
  // One of each depth and kind of step.
  static constexpr struct {
    const char* pos;
    const char* pointer;
  } kEnds[] = {{".size.w", "/size/w"},        {".size.d", "/size/d"}, {".tags[2]", "/tags/2"},
               {".ratings[4]", "/ratings/4"}, {".name", "/name"},     {".price", "/price"}};
  Random random(7);
  std::vector<Path> paths;
  for (int i = 0; i < 1000; ++i) {
    const std::string index = std::to_string(random.Below(2000));
    const auto& end = kEnds[random.Below(std::size(kEnds))];
    paths.push_back({std::string(kCatalogKey) + "[" + index + "]" + end.pos,
                     std::string("/") + kCatalogKey + "/" + index + end.pointer});
  }
  return paths;
}

const char kCatalogPosSchema[] = R"(<
  Catalog <category array membertype Item minlen 1 maxlen 5000>
  Item <category dict required <id Id name Name price Price tags Tags size Size stock Stock
                                ratings Ratings note Note>>
  Id <category int min 1 max 1000000>
  Name <category string minlen 1 maxlen 40>
  Price <category real min 0 max 10000>
  Tags <category array membertype Tag maxlen 10>
  Tag <category string minlen 1 maxlen 20>
  Size <category dict required <w Side h Side d Side>>
  Side <category real minexcl 0 max 10000>
  Stock <category int min 0 max 1000000>
  Ratings <category array membertype Rating maxlen 10>
  Rating <category int min 0 max 100>
  Note <category string maxlen 200>
>)";

const char kCatalogJsonSchema[] = R"({
  "type": "array", "minItems": 1, "maxItems": 5000,
  "items": {
    "type": "object",
    "required": ["id", "name", "price", "tags", "size", "stock", "ratings", "note"],
    "additionalProperties": false,
    "properties": {
      "id": {"type": "integer", "minimum": 1, "maximum": 1000000},
      "name": {"type": "string", "minLength": 1, "maxLength": 40},
      "price": {"type": "number", "minimum": 0, "maximum": 10000},
      "tags": {"type": "array", "maxItems": 10,
               "items": {"type": "string", "minLength": 1, "maxLength": 20}},
      "size": {"type": "object", "required": ["w", "h", "d"], "additionalProperties": false,
               "properties": {
                 "w": {"type": "number", "minimum": 0, "exclusiveMinimum": true, "maximum": 10000},
                 "h": {"type": "number", "minimum": 0, "exclusiveMinimum": true, "maximum": 10000},
                 "d": {"type": "number", "minimum": 0, "exclusiveMinimum": true, "maximum": 10000}
               }},
      "stock": {"type": "integer", "minimum": 0, "maximum": 1000000},
      "ratings": {"type": "array", "maxItems": 10,
                  "items": {"type": "integer", "minimum": 0, "maximum": 100}},
      "note": {"type": "string", "maxLength": 200}
    }
  }
})";

}  // namespace zelbench
