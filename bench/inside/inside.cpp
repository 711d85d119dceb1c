// The cost of the steps inside of the library, with its code linked in.
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <string>

#include "frame/base/decimal.h"
#include "frame/client/pos_wrappers.h"
#include "frame/object/registry.h"
#include "pos/base_object.h"
#include "streamer/ichar_stream.h"
#include "streamer/number_text.h"
#include "streamer/ochar_stream.h"
#include "streamer/version10.h"
#include "zelhost/host.h"

namespace {

using namespace ZEL_T_NMT;  // NOLINT(google-build-using-namespace): what is measured
using namespace NPOSStreamerImpl::NTypeAImpl;  // NOLINT(google-build-using-namespace)

// The record of strings.
const StreamingParams& kString = Version10::kFormat.kinds[1].params;

struct StartedHost : zelhost::Host {
  StartedHost() { Start({&ZELUtilsGetVersion, &ZELUtilsInitialize, &ZELUtilsTerminate}); }
};

void ResolveHandle(benchmark::State& state) {
  const StartedHost host;
  const CPOSObject number = CPOSNumber::New(1);
  for (auto _ : state) {
    ZELInstance handle = number.Handle();
    benchmark::DoNotOptimize(handle);
    benchmark::DoNotOptimize(
        Resolve<NPOSObjectImpl::BaseObject>(handle, ImplementationId::kPOSObject));
  }
}

void LookUpMethodTable(benchmark::State& state) {
  const StartedHost host;
  const CPOSObject number = CPOSNumber::New(1);
  for (auto _ : state) {
    ZELInstance handle = number.Handle();
    benchmark::DoNotOptimize(handle);
    benchmark::DoNotOptimize(g_posObjects->Lookup(handle));
  }
}

void WrapHandle(benchmark::State& state) {
  const StartedHost host;
  const CPOSObject number = CPOSNumber::New(1);
  for (auto _ : state) {
    const CPOSObject wrapped(number.Handle());
    benchmark::DoNotOptimize(wrapped.Handle());
  }
}

void ImportedTable(benchmark::State& state) {
  const StartedHost host;
  for (auto _ : state) benchmark::DoNotOptimize(g_pos.numbers.Get());
}

constexpr std::size_t kTextLength = 1 << 16;

// A string's content as it stands in a stream.
std::string StreamText() {
  std::string text(kTextLength, 'a');
  text += '"';
  return text;
}

CZELPositionableStream NewStream() {
  ZELInstance stream = nullptr;
  ZELCheck(StreamFactory()->NewPositionableMemoryStream(&stream));
  return CZELPositionableStream(stream);
}

void PutCharacters(benchmark::State& state) {
  const StartedHost host;
  CZELPositionableStream stream = NewStream();
  for (auto _ : state) {
    stream.Seek(0, 0);
    OCharStream output(stream, Version10::kFormat.outermost);
    const OCharStream::ParamsInForce inForce(output, kString);
    for (std::size_t i = 0; i < kTextLength; ++i) output.PutChar('a');
    output.Finish();
  }
  state.counters["items"] = kTextLength;
}

void PutTexts(benchmark::State& state) {
  const StartedHost host;
  CZELPositionableStream stream = NewStream();
  const std::string text(64, 'a');
  for (auto _ : state) {
    stream.Seek(0, 0);
    OCharStream output(stream, Version10::kFormat.outermost);
    const OCharStream::ParamsInForce inForce(output, kString);
    for (std::size_t i = 0; i < kTextLength; i += text.size())
      output.PutText(text.data(), text.size());
    output.Finish();
  }
  state.counters["items"] = kTextLength;
}

void GetCharacters(benchmark::State& state) {
  const StartedHost host;
  CZELPositionableStream stream = NewStream();
  const std::string text = StreamText();
  stream.Write(text.data(), static_cast<std::uint32_t>(text.size()));
  for (auto _ : state) {
    stream.Seek(0, 0);
    ICharStream input(stream, Version10::kFormat.outermost);
    const ICharStream::ParamsInForce inForce(input, kString);
    char character;
    while (input.GetChar(&character)) benchmark::DoNotOptimize(character);
    input.Finish();
  }
  state.counters["items"] = kTextLength;
}

void GetTexts(benchmark::State& state) {
  const StartedHost host;
  CZELPositionableStream stream = NewStream();
  const std::string text = StreamText();
  stream.Write(text.data(), static_cast<std::uint32_t>(text.size()));
  for (auto _ : state) {
    stream.Seek(0, 0);
    ICharStream input(stream, Version10::kFormat.outermost);
    const ICharStream::ParamsInForce inForce(input, kString);
    char part[64];
    while (input.GetChars(part, sizeof part, false, false) == sizeof part) {
      benchmark::DoNotOptimize(part);
    }
    input.Finish();
  }
  state.counters["items"] = kTextLength;
}

void FormatCase(benchmark::State& state, double number) {
  for (auto _ : state) {
    char text[kNumberTextCapacity];
    benchmark::DoNotOptimize(number);
    benchmark::DoNotOptimize(FormatNumber(number, text));
    benchmark::DoNotOptimize(text);
  }
}

void ParseNumber(benchmark::State& state, const char* text) {
  const std::size_t length = std::strlen(text);
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    benchmark::DoNotOptimize(DecimalPrefix(text, length, true));
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::RegisterBenchmark("inside/resolve a handle", ResolveHandle);
  benchmark::RegisterBenchmark("inside/method table of an instance", LookUpMethodTable);
  benchmark::RegisterBenchmark("inside/imported table", ImportedTable);
  benchmark::RegisterBenchmark("inside/wrapper over a handle", WrapHandle);
  benchmark::RegisterBenchmark("inside/PutChar, per byte", PutCharacters);
  benchmark::RegisterBenchmark("inside/PutText, per byte", PutTexts);
  benchmark::RegisterBenchmark("inside/GetChar, per byte", GetCharacters);
  benchmark::RegisterBenchmark("inside/GetChars, per byte", GetTexts);
  benchmark::RegisterBenchmark("inside/format a whole number", FormatCase, 48151623.0);
  benchmark::RegisterBenchmark("inside/format two decimals", FormatCase, 1234.56);
  benchmark::RegisterBenchmark("inside/format 17 digits", FormatCase, 3.1415926535897931);
  benchmark::RegisterBenchmark("inside/parse a whole number", ParseNumber, "48151623");
  benchmark::RegisterBenchmark("inside/parse two decimals", ParseNumber, "1234.56");
  benchmark::RegisterBenchmark("inside/parse 17 digits", ParseNumber, "3.1415926535897931");
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
