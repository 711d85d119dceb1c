// A host with the checking layer in place of the library, whose findings are collected.
#pragma once

#include "support.h"
#include "zelutils/check.h"

namespace zeltest {

// The rules that findings are of, and their paragraphs, of the layer that was started last.
struct Findings {
  std::vector<std::string> rules;
  std::vector<std::string> paragraphs;
};
inline Findings g_findings;
inline void (*g_whenTold)() = nullptr;  // called for each finding

// Starts the layer in a host; `words` are added to those of the variable. The services of the host
// may be changed between the construction and the start.
class CheckedHost {
 public:
  explicit CheckedHost(zelhost::HostOptions options = {}) : host(options) {
    g_findings = {};
    host.SetLeakSink([](const std::vector<zelhost::Leak>&) {});
    host.Register(ZEL_CHECK_INTERFACE, "Finding", "ZELUtilsCheckFindingProc",
                  reinterpret_cast<ZELProc>(&Collect));
  }
  ~CheckedHost() { SetVariable("ZELUTILS_CHECK", ""); }

  void Start(const std::string& words) {
    const std::string log = folder_ / "log";
    SetVariable("ZELUTILS_CHECK", "callback,out=" + log + "," + words);
    host.Start(ZEL_CHECK_PATH);
  }
  // All that the layer has written so far.
  std::string Log() const { return Folder::Contents(folder_.path / "log"); }
  std::string FileIn(const char* name) const { return folder_ / name; }

  zelhost::Host host;

 private:
  static void Collect(const char* rule, const char* paragraph) {
    g_findings.rules.emplace_back(rule);
    g_findings.paragraphs.emplace_back(paragraph);
    if (g_whenTold != nullptr) g_whenTold();
  }

  Folder folder_;
};

}  // namespace zeltest
