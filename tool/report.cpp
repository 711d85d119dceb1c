#include "report.h"

#include <cstdio>

#include "excerpt.h"
#include "files.h"
#include "json_writer.h"
#include "path.h"
#include "platform.h"
#include "printable.h"

namespace zelpos {
namespace {

// Calls `take` with each finding and its place, or null for none.
template <typename Take>
void ForEachFinding(const Document& document, const zelutils::TextLines& lines,
                    const std::vector<std::string>& messages, Detail detail, Take take) {
  std::vector<Finding> findings;
  findings.reserve(messages.size());
  for (const std::string& message : messages) {
    findings.push_back(Understand(document.value, message));
  }
  if (detail == Detail::kEssential) findings = Essential(findings);
  if (detail == Detail::kSchema) findings = EssentialOfSchema(document.value, findings);
  zelutils::TextPlaces places;
  for (const Finding& finding : findings) places.Add(finding.path);
  if (document.format == Format::kText) places.Find(document.content.View());
  for (std::size_t i = 0; i < findings.size(); ++i) {
    if (const auto& found = places[i]) {
      const bool atKey = findings[i].isAboutKey && found->key;
      const zelutils::LineColumn place = lines.Locate(atKey ? *found->key : found->begin);
      take(findings[i], &place);
    } else {
      take(findings[i], nullptr);
    }
  }
}

std::string PathAndMessage(const Finding& finding) {
  const std::string path = ShowPath(finding.path);
  return (path.empty() ? "" : Printable(path) + ": ") + Printable(finding.message);
}

std::string NameAndPlace(const Document& document, const zelutils::LineColumn* place) {
  return document.name + ':' + (place == nullptr ? "" : place->ToString() + ':');
}

// A path of the file system as a reference in a URI.
std::string UriOf(const std::string& file) {
  std::string uri;
  for (const char c : file) {
    const bool isPlain = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
                         (c >= '0' && c <= '9') ||
                         std::string_view("-._~/").find(c) != std::string_view::npos;
    char hex[4];
    std::snprintf(hex, sizeof hex, "%%%02X", static_cast<unsigned char>(c));
    uri += isPlain ? std::string(1, c) : hex;
  }
  return uri;
}

// "a": "b" pairs are put together by hand: the forms are fixed, only texts need care.
std::string Text(std::string_view text) { return JsonString(text); }

}  // namespace

std::string SchemaFaultLines(const Document& document, const std::vector<std::string>& messages) {
  const zelutils::TextLines lines(document.content.View());
  std::string shown;
  ForEachFinding(document, lines, messages, Detail::kSchema,
                 [&](const Finding& finding, const zelutils::LineColumn* place) {
                   shown += (shown.empty() ? "" : "\n") + NameAndPlace(document, place) + ' ' +
                            PathAndMessage(finding);
                 });
  return shown;
}

Report::Report(const Options& options, Detail detail)
    : options_(options), detail_(detail), style_(options.color, IsTerminal(stdout)) {}

void Report::Add(const Document& document, const std::vector<std::string>& messages) {
  ++files_;
  if (messages.empty()) return;
  ++wrong_;
  const zelutils::TextLines lines(document.content.View());
  ForEachFinding(document, lines, messages, options_.all ? Detail::kAll : detail_,
                 [&](const Finding& finding, const zelutils::LineColumn* place) {
                   ++findings_;
                   if (options_.findings == FindingsFormat::kText) {
                     Print(document, lines, finding, place);
                   } else {
                     Keep(document, lines, finding, place);
                   }
                 });
  if (!options_.quiet) WriteStandardOutput(out_);
  out_.clear();
}

void Report::AddTrouble(const std::string& message) {
  ++files_;
  ++troubles_;
  std::fprintf(stderr, "%s\n", message.c_str());
}

void Report::Print(const Document& document, const zelutils::TextLines& lines,
                   const Finding& finding, const zelutils::LineColumn* place) {
  style_.Append(out_, Ink::kPlace, NameAndPlace(document, place));
  out_ += ' ';
  const std::string path = Printable(ShowPath(finding.path));
  if (!path.empty()) style_.Append(out_, Ink::kKey, path + ':');
  if (!path.empty()) out_ += ' ';
  style_.Append(out_, Ink::kError, Printable(finding.message));
  out_ += '\n';
  if (style_.IsTerminal() && place != nullptr) out_ += Excerpt(lines, *place) + '\n';
}

void Report::Keep(const Document& document, const zelutils::TextLines& lines,
                  const Finding& finding, const zelutils::LineColumn* place) {
  const std::string line = place == nullptr ? "null" : std::to_string(place->line);
  const std::string column = place == nullptr ? "null" : std::to_string(place->column);
  const std::string path = Text(Printable(ShowPath(finding.path)));
  kept_ += kept_.empty() ? "\n" : ",\n";
  if (options_.findings == FindingsFormat::kJson) {
    kept_ += "  {\"file\": " + Text(document.name) + ", \"line\": " + line +
             ", \"column\": " + column + ", \"path\": " + path +
             ", \"message\": " + Text(Printable(finding.message)) + '}';
    return;
  }
  // SARIF counts characters, where everything else here counts bytes.
  const std::size_t character =
      place == nullptr
          ? 0
          : CharacterCount(lines.LineAt(place->lineStart).substr(0, place->column - 1)) + 1;
  kept_ +=
      "        {\"ruleId\": \"schema\", \"level\": \"error\",\n"
      "         \"message\": {\"text\": " +
      Text(PathAndMessage(finding)) +
      "},\n"
      "         \"locations\": [{\"physicalLocation\": {\"artifactLocation\": {\"uri\": " +
      Text(UriOf(document.name)) + '}' +
      (place == nullptr ? ""
                        : ", \"region\": {\"startLine\": " + line +
                              ", \"startColumn\": " + std::to_string(character) + '}') +
      "},\n          \"logicalLocations\": [{\"fullyQualifiedName\": " + path + "}]}]}";
}

int Report::Finish() {
  if (options_.findings == FindingsFormat::kJson) {
    WriteStandardOutput('[' + kept_ + (kept_.empty() ? "]\n" : "\n]\n"));
  } else if (options_.findings == FindingsFormat::kSarif) {
    WriteStandardOutput(
        "{\n  \"$schema\": \"https://json.schemastore.org/sarif-2.1.0.json\",\n"
        "  \"version\": \"2.1.0\",\n  \"runs\": [\n    {\n"
        "      \"tool\": {\"driver\": {\"name\": \"zelpos\", \"rules\": [{\"id\": \"schema\"}]}},\n"
        "      \"columnKind\": \"unicodeCodePoints\",\n      \"results\": [" +
        kept_ + (kept_.empty() ? "]" : "\n      ]") + "\n    }\n  ]\n}\n");
  } else if (!options_.quiet && (findings_ != 0 || files_ > 1)) {
    std::string summary =
        findings_ == 0 ? "no findings"
                       : std::to_string(findings_) + (findings_ == 1 ? " finding" : " findings");
    summary += " in " + (wrong_ == 0 ? "" : std::to_string(wrong_) + " of ") +
               std::to_string(files_) + (files_ == 1 ? " file" : " files");
    if (troubles_ != 0) summary += "; " + std::to_string(troubles_) + " not checked";
    std::fprintf(stderr, "%s\n", summary.c_str());
  }
  return troubles_ != 0 ? kTrouble : findings_ != 0 ? kNotValid : kDone;
}

}  // namespace zelpos
