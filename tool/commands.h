// The commands of zelpos and what they tell their caller.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "document.h"
#include "failures.h"
#include "style.h"

namespace zelpos {

// Exit statuses.
inline constexpr int kDone = 0;
inline constexpr int kNotThere = 1;  // get: nothing at a path; delete: the same
inline constexpr int kDiffers = 1;   // diff, format --check
inline constexpr int kNotValid = 1;  // validate, check-schema
inline constexpr int kTrouble = 2;

enum class FindingsFormat { kText, kJson, kSarif };

// Contents of a command line. Each command looks at the fields that concern it.
struct Options {
  ColorMode color = ColorMode::kAuto;
  bool quiet = false;
  std::optional<Format> from;
  std::optional<Format> to;
  std::string output;  // empty where none was given
  bool compact = false;
  bool json = false;
  bool raw = false;
  bool literal = false;  // set: VALUE is a string as it stands
  bool stat = false;
  bool check = false;
  bool all = false;
  std::optional<unsigned> depth;
  FindingsFormat findings = FindingsFormat::kText;

  std::string schema;
  std::string type;
  std::string file;
  std::string other;  // diff: the second file
  std::string path;   // set
  std::string value;  // set
  std::vector<std::string> files;
  std::vector<std::string> paths;
};

// Each writes its result to standard output and returns an exit status. Throws UsageError,
// FileError, and other standard exceptions.
int Print(const Options& options);
int Get(const Options& options);
int Set(const Options& options);
int Delete(const Options& options);
int Tree(const Options& options);
int Diff(const Options& options);
int Validate(const Options& options);
int CheckSchema(const Options& options);
int Convert(const Options& options);
int FormatFiles(const Options& options);
int Stats(const Options& options);

// The steps of a path that was given as an argument. Throws UsageError.
zelutils::PathSteps PathArgument(const std::string& path);

}  // namespace zelpos
