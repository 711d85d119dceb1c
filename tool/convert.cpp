// zelpos convert: any input into the stream format.
#include "commands.h"
#include "files.h"
#include "input.h"
#include "session.h"

namespace zelpos {
namespace {

struct Options {
  std::string input;
  std::string output;  // empty: standard output
};

Options ReadOptions(const Arguments& arguments) {
  Options options;
  bool wordsOnly = false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& word = arguments[i];
    if (!wordsOnly && word == "--") {
      wordsOnly = true;
    } else if (!wordsOnly && word == "-o") {
      if (++i == arguments.size() || arguments[i].empty()) throw UsageError("-o needs a file");
      options.output = arguments[i];
    } else if (!wordsOnly && word.size() > 1 && word.front() == '-') {
      throw UsageError("convert has no option " + word);
    } else if (options.input.empty() && !word.empty()) {
      options.input = word;
    } else {
      throw UsageError("convert takes one file");
    }
  }
  if (options.input.empty()) throw UsageError("convert needs a file");
  return options;
}

}  // namespace

int Convert(const Arguments& arguments) {
  const Options options = ReadOptions(arguments);
  const Session session;
  const zelutils::Value value = ReadValue(session.client, options.input);

  zelutils::Stream stream = session.client.NewMemoryStream();
  zelutils::Streamer(session.client).Serialize(stream, value);
  stream.Rewind();
  const std::string bytes = stream.ReadAll();
  if (options.output.empty()) {
    WriteStandardOutput(bytes);
  } else {
    ReplaceFile(options.output, bytes);
  }
  return kDone;
}

}  // namespace zelpos
