// The fuzz targets. Each takes any bytes; what it finds wrong it throws as a Finding, unless a
// sanitizer has seen it before. An input leaves nothing behind in the session.
#pragma once

#include "session.h"

namespace zelfuzz {

// The text syntax: what is read from a text, and where a wrong one is wrong.
void FuzzText(Session& session, Bytes input);
// The stream reader: what is read is written, read again and compared.
void FuzzStream(Session& session, Bytes input);
// A schema and a value, both from one input.
void FuzzSchema(Session& session, Bytes input);
// A dictionary and its iterators beside a map of the standard library.
void FuzzDict(Session& session, Bytes input);
// Procedure calls over a pool of handles of every kind, with failures of the host in between.
void FuzzSequence(Session& session, Bytes input);

// The steps that the library's dictionaries have taken, for a program that is built with a library
// which counts them; null in others.
extern std::uint64_t (*g_dictionaryWork)();

struct Target {
  const char* name;  // of the executable, after zel_fuzz_, and of the folder in corpus/
  void (*run)(Session& session, Bytes input);
};

inline constexpr Target kTargets[] = {
    {"text", &FuzzText}, {"stream", &FuzzStream},     {"schema", &FuzzSchema},
    {"dict", &FuzzDict}, {"sequence", &FuzzSequence},
};

// Finds a target by name; throws std::out_of_range.
const Target& FindTarget(const std::string& name);

// Runs a target and checks that nothing is lost.
void Run(const Target& target, Session& session, Bytes input);

}  // namespace zelfuzz
