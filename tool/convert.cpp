// zelpos convert: any input into the stream format.
#include <cstddef>
#include <utility>

#include "byte_streams.h"
#include "commands.h"
#include "document.h"
#include "files.h"
#include "held_signals.h"
#include "replacement.h"
#include "session.h"

namespace zelpos {
namespace {

struct Options {
  std::string input;
  std::string output;  // "-" or empty: standard output
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

// Writes the value to where `take` puts bytes.
void Serialize(const zelutils::Client& client, const zelutils::Value& value, ByteSink::Take take) {
  ByteSink sink(std::move(take));
  const zelutils::Stream stream = sink.Open(client);
  try {
    zelutils::Streamer(client).Serialize(stream, value);
  } catch (const zelutils::Error&) {
    sink.Rethrow();
    throw;
  }
  sink.Flush();
}

void WriteTo(const std::string& file, const zelutils::Client& client,
             const zelutils::Value& value) {
  const HeldSignals signals;
  Replacement output(file);
  Serialize(client, value, [&output](std::string_view bytes) {
    HeldSignals::Check();
    output.Write(bytes);
  });
  output.Commit();
}

}  // namespace

int Convert(const Arguments& arguments) {
  const Options options = ReadOptions(arguments);
  const Session session;
  const Document document = ReadDocument(session.client, options.input);
  const bool toFile = !options.output.empty() && options.output != "-";
  try {
    if (toFile) {
      WriteTo(options.output, session.client, document.value);
    } else {
      Serialize(session.client, document.value, WriteStandardOutput);
    }
  } catch (const zelutils::Error& error) {
    throw FileError((toFile ? options.output : "<stdout>") + ": not written: " + error.what());
  }
  return kDone;
}

}  // namespace zelpos
