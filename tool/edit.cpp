// zelpos set and zelpos delete. A text is changed where the value stands and nowhere else; streams
// and JSON are written anew.
#include <algorithm>
#include <cstdio>
#include <zelutils/text_places.hpp>

#include "commands.h"
#include "files.h"
#include "path.h"
#include "printable.h"
#include "session.h"
#include "text_writer.h"

namespace zelpos {
namespace {

using zelutils::Array;
using zelutils::Dict;
using zelutils::PathStep;
using zelutils::PathSteps;
using zelutils::TextPlace;
using zelutils::TextToken;
using zelutils::Value;

std::optional<TextPlace> PlaceOf(std::string_view text, const PathSteps& path) {
  zelutils::TextPlaces places;
  places.Add(path);
  places.Find(text);
  return places[0];
}

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// The space in front of a place in a text: a line end with an indentation, blanks, or nothing.
std::string_view SpaceBefore(std::string_view text, std::size_t place) {
  std::size_t begin = place;
  while (begin > 0 && IsBlank(text[begin - 1])) --begin;
  const std::string_view space = text.substr(begin, place - begin);
  if (space.empty()) return space;
  const std::size_t line = space.rfind('\n');
  if (line == space.npos) return space.substr(space.size() - 1);
  return space.substr(line - (line > 0 && space[line - 1] == '\r' ? 1 : 0));
}

// Offsets at which the members of an array or dictionary begin (keys, in a dictionary) and the last
// one ends.
struct Members {
  std::vector<std::size_t> begins;
  std::size_t end = 0;
};
Members MembersOf(std::string_view text, const TextPlace& outer) {
  Members members;
  members.end = outer.begin + 1;
  const bool isDict = text[outer.begin] == '<';
  zelutils::TextLexer lexer(text.substr(outer.begin, outer.end - outer.begin));
  std::size_t depth = 0;
  bool isValue = false;
  for (TextToken token = lexer.Next(); token.kind != TextToken::Kind::kEnd; token = lexer.Next()) {
    if (token.IsClosing()) --depth;
    if (depth == 1) {
      const bool ends = token.IsClosing() || !token.IsOpening();
      if (!token.IsClosing() && !(isDict && isValue))
        members.begins.push_back(outer.begin + token.begin);
      if (ends) {
        members.end = outer.begin + token.end;
        isValue = isDict && !isValue;
      }
    }
    if (token.IsOpening()) ++depth;
  }
  return members;
}

// Puts a member behind the last one, in the way in which that one stands.
void Insert(std::string& text, const TextPlace& outer, const std::string& member) {
  const Members members = MembersOf(text, outer);
  std::string space;
  if (!members.begins.empty()) {
    space = SpaceBefore(text, members.begins.back());
    if (space.empty()) space = " ";
  }
  text.insert(members.end, space + member);
}

// The text with the value at a path; the path's last step may be new.
std::string SetInText(std::string text, const PathSteps& path, const std::string& value) {
  if (const auto place = PlaceOf(text, path)) {
    text.replace(place->begin, place->end - place->begin, value);
    return text;
  }
  const TextPlace outer = *PlaceOf(text, {path.begin(), path.end() - 1});
  const auto* key = std::get_if<std::string>(&path.back());
  Insert(text, outer, key ? QuotedText(*key) + ' ' + value : value);
  return text;
}

// A key may be there several times.
std::string DeleteFromText(std::string text, const PathSteps& path) {
  const bool isKey = std::holds_alternative<std::string>(path.back());
  for (auto place = PlaceOf(text, path); place;
       place = isKey ? PlaceOf(text, path) : std::nullopt) {
    const std::size_t begin = place->key.value_or(place->begin);
    const std::string_view space = SpaceBefore(text, begin);
    std::size_t end = place->end;
    // The first member of a line has none in front.
    while (space.empty() && end < text.size() && IsBlank(text[end])) ++end;
    text.erase(begin - space.size(), end - begin + space.size());
  }
  return text;
}

// The array or dictionary that a path's last step goes on from.
Value OuterOf(const Document& document, const PathSteps& path) {
  Value outer = Follow(document.value, path, path.size() - 1);
  const PathStep& last = path.back();
  const bool fits =
      std::holds_alternative<std::string>(last)
          ? outer.Is<Dict>()
          : outer.Is<Array>() && std::get<std::uint32_t>(last) <= outer.As<Array>().Count();
  if (!fits) {
    throw FileError(document.name + ": \"" + Printable(ShowPath(path)) + "\" leads nowhere");
  }
  return outer;
}

// Destination of the result: the file itself, unless an output is named.
std::string OutputOf(const Options& options) {
  return options.output.empty() ? options.file : options.output;
}

Format OutputFormat(const Options& options, const Document& document) {
  return options.to ? *options.to : FormatByExtension(options.output).value_or(document.format);
}

void WriteText(const Session& session, const Options& options, const std::string& text) {
  try {
    session.client.Parse(text.c_str());
  } catch (const zelutils::ParseError&) {
    throw FileError(options.file + ": the text could not be changed at this place");
  }
  WriteOutput(OutputOf(options), [&](const TakeText& take) { take(text); });
}

void WriteAnew(const Session& session, const Options& options, const Document& document,
               const Value& value) {
  WriteOutput(OutputOf(options), [&](const TakeText& take) {
    WriteValue(session.client, value, OutputFormat(options, document), document.name, {}, take);
  });
}

std::string TextOf(const Session& session, const Value& value) {
  const Values values(session.client);
  std::string text;
  try {
    TextWriter(values, {true, true, {}}, [&](std::string_view part) {
      text += part;
    }).Write(value.Handle());
  } catch (const Unsayable& unsayable) {
    throw FileError(std::string("a text has no form for ") + Printable(unsayable.what()));
  }
  text.pop_back();
  return text;
}

}  // namespace

int Set(const Options& options) {
  const PathSteps path = PathArgument(options.path);
  const Session session;
  const Value value = options.literal ? Value(session.client.NewString(options.value.c_str()))
                                      : ParseArgument(session.client, options.value);
  const Document document = ReadDocument(session.client, options.file, options.from);
  if (path.empty()) {
    WriteAnew(session, options, document, value);
    return kDone;
  }
  Value outer = OuterOf(document, path);
  if (document.format == Format::kText && OutputFormat(options, document) == Format::kText) {
    // As it was given, numbers and line ends included.
    const std::string text = options.literal ? TextOf(session, value) : options.value;
    const std::size_t begin = text.find_first_not_of(" \t\r\n");
    const std::size_t end = text.find_last_not_of(" \t\r\n") + 1;
    WriteText(
        session, options,
        SetInText(std::string(document.content.View()), path, text.substr(begin, end - begin)));
    return kDone;
  }
  if (const auto* key = std::get_if<std::string>(&path.back())) {
    outer.As<Dict>().Put(key->c_str(), value);
  } else {
    outer.As<Array>().SetAt(std::get<std::uint32_t>(path.back()), value);
  }
  WriteAnew(session, options, document, document.value);
  return kDone;
}

int Delete(const Options& options) {
  std::vector<PathSteps> paths;
  for (const std::string& path : options.paths) {
    paths.push_back(PathArgument(path));
    if (paths.back().empty()) throw UsageError("the whole value cannot be deleted");
  }
  const Session session;
  const Document document = ReadDocument(session.client, options.file, options.from);
  for (const PathSteps& path : paths) {
    if (Follow(document.value, path)) continue;
    std::fprintf(stderr, "%s: nothing at \"%s\"\n", document.name.c_str(),
                 Printable(ShowPath(path)).c_str());
    return kNotThere;
  }
  // Of several elements of one array, the later go first.
  std::sort(paths.begin(), paths.end(), std::greater<>());
  paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
  const bool isText =
      document.format == Format::kText && OutputFormat(options, document) == Format::kText;
  std::string text(isText ? document.content.View() : std::string_view());
  for (const PathSteps& path : paths) {
    if (isText) {
      text = DeleteFromText(std::move(text), path);
      continue;
    }
    Value outer = OuterOf(document, path);
    if (const auto* key = std::get_if<std::string>(&path.back())) {
      outer.As<Dict>().Remove(key->c_str());
    } else {
      outer.As<Array>().Remove(std::get<std::uint32_t>(path.back()));
    }
  }
  if (isText) {
    WriteText(session, options, text);
  } else {
    WriteAnew(session, options, document, document.value);
  }
  return kDone;
}

}  // namespace zelpos
