// zelpos convert: a value in another format.
#include "commands.h"
#include "session.h"

namespace zelpos {

int Convert(const Options& options) {
  const Session session;
  const Document document = ReadDocument(session.client, options.file, options.from);
  const Format format =
      options.to ? *options.to : FormatByExtension(options.output).value_or(Format::kStream);
  const bool toFile = !options.output.empty() && options.output != "-";
  TextOptions text;
  text.compact = options.compact;
  WriteOutput(options.output, [&](const TakeText& take) {
    WriteValue(session.client, document.value, format, toFile ? options.output : "<stdout>", text,
               take);
  });
  return kDone;
}

}  // namespace zelpos
