// Traces: a line for each call, or an event for the viewers of trace events.
#include "trace.h"

#include <array>
#include <cstdio>
#include <utility>
#include <vector>

#include "findings.h"
#include "lasting.h"
#include "layer.h"
#include "watch.h"
#include "words.h"

namespace zelcheck {
namespace {

// Names of the directions, by Side.
constexpr const char* kSides[] = {"client>library", "library>host", "client>host", "callback"};

// Lines of the outermost call that runs, in the order in which the calls began. A line is complete
// when its call has returned.
constinit Lasting<std::vector<std::string>> OpenLines;

constinit std::FILE* g_events = nullptr;
constinit bool g_hasEvent = false;

std::string Microseconds(std::uint64_t nanoseconds) {
  // Digits alone: the decimal point of printf is that of the host's locale.
  const std::string rest = std::to_string(nanoseconds % 1000);
  return std::to_string(nanoseconds / 1000) + "." + std::string(3 - rest.size(), '0') + rest;
}

std::string InJson(const std::string& text) {
  std::string json = "\"";
  for (const char byte : text) {
    if (byte == '"' || byte == '\\') json += '\\';
    json += byte >= ' ' && byte < 0x7f ? byte : '?';
  }
  return json + "\"";
}

std::size_t DepthOf(const Call& call) {
  std::size_t depth = 0;
  for (const Call* around = call.outer; around != nullptr; around = around->outer) ++depth;
  return depth;
}

// Atoms are numbers like others; those that come as a result are of these.
bool IsAtom(const Row& row) {
  return row.after == &watch::AtomMade || row.after == &watch::ErrorAtom;
}

std::string ResultInWords(const Call& call) {
  if (call.result.type == Argument::Type::kNone) return "";
  return " = " + InWords(call.result, IsAtom(call.row) ? 'a' : '-');
}

void WriteEvent(const Call& call, std::uint64_t duration) {
  const std::string event =
      std::string(g_hasEvent ? ",\n" : "[\n") + "{\"name\":" + InJson(NameOf(call.row)) +
      ",\"cat\":\"" + kSides[static_cast<int>(call.side)] +
      "\",\"ph\":\"X\",\"pid\":1,\"tid\":1,\"ts\":" + Microseconds(call.startTime) +
      ",\"dur\":" + Microseconds(duration) + ",\"args\":{\"call\":" + std::to_string(call.number) +
      ",\"text\":" + InJson(InWords(call) + ResultInWords(call)) + "}}";
  g_hasEvent = true;
  std::fwrite(event.data(), 1, event.size(), g_events);
}

}  // namespace

void OpenTrace() {
  const Settings& settings = TheLayer().settings;
  if (settings.traceFile.empty()) {
    Print(
        "zelutils-check: each line is who calls whom, the call, its result and its time in "
        "microseconds\n");
    return;
  }
  g_events = std::fopen(settings.traceFile.c_str(), "wb");
  g_hasEvent = false;
  if (g_events == nullptr) {
    Print("zelutils-check: " + settings.traceFile + " cannot be written\n");
  }
}

void CloseTrace() {
  FlushTrace();
  if (g_events == nullptr) return;
  std::fputs(g_hasEvent ? "\n]\n" : "[]\n", g_events);
  std::fclose(std::exchange(g_events, nullptr));
}

void TraceBegin(Call& call) {
  if (!TheLayer().settings.traceFile.empty()) return;
  std::array<char, 32> who{};
  std::snprintf(who.data(), who.size(), "%-14s ", kSides[static_cast<int>(call.side)]);
  std::vector<std::string>& lines = OpenLines();
  lines.push_back(who.data() + std::string(2 * DepthOf(call), ' ') + InWords(call));
  call.line = lines.size();
}

void TraceEnd(const Call& call, std::uint64_t duration) {
  const Settings& settings = TheLayer().settings;
  if (!settings.traceFile.empty()) {
    if (g_events != nullptr && settings.Shows(Text(call.row.interfaceName))) {
      WriteEvent(call, duration);
    }
    return;
  }
  std::vector<std::string>& lines = OpenLines();
  if (call.line != 0 && call.line <= lines.size()) {
    std::string& line = lines[call.line - 1];
    if (settings.Shows(Text(call.row.interfaceName))) {
      line += ResultInWords(call) + "  [" + Microseconds(duration) + "]\n";
    } else {
      line.clear();
    }
  }
  if (call.outer == nullptr) FlushTrace();
}

void FlushTrace() {
  std::string text;
  for (const std::string& line : OpenLines()) {
    text += line;
    if (!line.empty() && line.back() != '\n') text += "  ... runs\n";
  }
  OpenLines().clear();
  if (!text.empty()) Print(text);
}

}  // namespace zelcheck
