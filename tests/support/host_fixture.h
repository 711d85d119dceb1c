// Common parts of the tests of the reference host: its services, with memory from slabs as with a
// malloc for each block.
#pragma once

#include "support.h"

namespace zeltest {

struct ParameterHostHolder {
  explicit ParameterHostHolder(bool guarded)
      : host({.guardMemory = guarded, .firstUnregisterCount = 0xFFFFFFFFu}) {}
  zelhost::Host host;
};

class HostFixture : public testing::TestWithParam<bool>,
                    protected ParameterHostHolder,
                    protected CoreProcedures {
 protected:
  HostFixture() : ParameterHostHolder(GetParam()), CoreProcedures(host) {}

  std::vector<std::string> Misuses() const {
    std::vector<std::string> misuses;
    for (const zelhost::Leak& leak : host.Leaks()) {
      if (leak.kind == zelhost::Leak::Kind::kMisuse) misuses.push_back(leak.what);
    }
    return misuses;
  }
  // Gives an error object back and says what it was; "" for null.
  std::string Text(ZELErrorObject error) const {
    if (error == nullptr) return "";
    std::string text = atoms.GetCString(errors.GetComponent(error));
    text = text + ": " + atoms.GetCString(errors.GetErrorMessage(error));
    errors.Release(error);
    return text;
  }
  ZELInstance NewInstance(void* object, ZELDestroyProc destroy) const {
    const ZELStringAtom names[] = {atoms.NewStringAtom("Kind"), atoms.NewStringAtom("Interface")};
    ZELInstance instance = nullptr;
    EXPECT_EQ(
        Text(containers.NewFullContainer(&instance, object, names[0], destroy, names[1], 0, 0, 0)),
        "");
    for (const ZELStringAtom name : names) atoms.DeleteStringAtom(name);
    return instance;
  }
  void End(ZELInstance instance) const { containers.DeleteUnownedContainer(instance); }

  const zelutils::Table<zelutils::BinderInterface> binder = Import<zelutils::BinderInterface>(host);
};

// Runs the tests of a fixture in both ways.
#define ZELTEST_WITH_AND_WITHOUT_SLABS(Fixture)              \
  INSTANTIATE_TEST_SUITE_P(Memory, Fixture, testing::Bool(), \
                           [](const auto& test) { return test.param ? "guarded" : "slabs"; })

}  // namespace zeltest
