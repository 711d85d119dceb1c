// The entry point of the fuzzing engine, for the target that ZEL_FUZZ_TARGET names.
#include "pos/work_count.h"
#include "targets.h"
#include "zelutils/zelutils.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zelfuzz;  // NOLINT(google-build-using-namespace)
#if defined(ZEL_COUNT_WORK)
  g_dictionaryWork = [] { return NPOSObjectImpl::g_probes; };
#endif
  static const Target& target = FindTarget(ZEL_FUZZ_TARGET);
  static Session& session = *new Session([](zelhost::Host& host) {
    host.Start({&ZELUtilsGetVersion, &ZELUtilsInitialize, &ZELUtilsTerminate});
  });
  Run(target, session, Bytes(data, size));
  return 0;
}
