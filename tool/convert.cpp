// zelpos convert: any input into the stream format.
//
// A file is written in two steps. The first, which can fail for the value's sake, goes through a
// temporary-file stream; only what is complete there comes near the file.
#include <cstddef>
#include <vector>

#include "commands.h"
#include "files.h"
#include "held_signals.h"
#include "input.h"
#include "replacement.h"
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

template <typename Sink>
void Copy(zelutils::Stream from, Sink sink) {
  std::vector<std::byte> block(std::size_t{1} << 16);
  while (const std::uint32_t count = from.Read(block)) {
    sink(std::string_view(reinterpret_cast<const char*>(block.data()), count));
  }
}

void WriteTo(const std::string& file, const zelutils::Client& client,
             const zelutils::Value& value) {
  const HeldSignals signals;
  zelutils::Stream stored = client.NewTempFileStream("zelpos", "tmp", "wb");
  zelutils::Streamer(client).Serialize(stored, value);
  Replacement output(file);
  Copy(stored.CreateIndependent(), [&](std::string_view bytes) {
    HeldSignals::Check();
    output.Write(bytes);
  });
  output.Commit();
}

void WriteToStandardOutput(const zelutils::Client& client, const zelutils::Value& value) {
  zelutils::Stream stored = client.NewMemoryStream();
  zelutils::Streamer(client).Serialize(stored, value);
  Copy(stored.CreateIndependent(), WriteStandardOutput);
}

}  // namespace

int Convert(const Arguments& arguments) {
  const Options options = ReadOptions(arguments);
  const Session session;
  const zelutils::Value value = ReadValue(session.client, options.input);
  if (options.output.empty()) {
    WriteToStandardOutput(session.client, value);
    return kDone;
  }
  try {
    WriteTo(options.output, session.client, value);
  } catch (const zelutils::Error& error) {
    throw FileError(options.output + ": not written: " + error.what());
  }
  return kDone;
}

}  // namespace zelpos
