// Findings as people and other tools read them.
#pragma once

#include <string>
#include <vector>

#include "commands.h"
#include "document.h"
#include "finding.h"

namespace zelpos {

// Which findings there are: all, those that say much, or those for a schema.
enum class Detail { kAll, kEssential, kSchema };

class Report {
 public:
  Report(const Options& options, Detail detail);

  // Takes the messages of a check of a document, and prints them in the format for people, one line
  // each: "file:line:column: path: message".
  void Add(const Document& document, const std::vector<std::string>& messages);
  // A file that could not be checked, with the message of a FileError.
  void AddTrouble(const std::string& message);
  // Prints what is to be printed at the end, and returns the exit status.
  int Finish();

 private:
  // The place is null where it is not known: in streams and JSON.
  void Print(const Document& document, const zelutils::TextLines& lines, const Finding& finding,
             const zelutils::LineColumn* place);
  void Keep(const Document& document, const zelutils::TextLines& lines, const Finding& finding,
            const zelutils::LineColumn* place);

  const Options& options_;
  Detail detail_;
  Style style_;
  std::string kept_;  // the findings in the format for tools
  std::string out_;
  std::size_t files_ = 0;
  std::size_t wrong_ = 0;  // files with findings
  std::size_t findings_ = 0;
  std::size_t troubles_ = 0;
};

// "file:line:column: path: message" lines for the faults of a schema, without the last line end.
std::string SchemaFaultLines(const Document& document, const std::vector<std::string>& messages);

}  // namespace zelpos
