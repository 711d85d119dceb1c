// The cost of single calls through the boundary, beside a call through a pointer that does nothing.
#include <benchmark/benchmark.h>

#include "zel.h"

namespace zelbench {

namespace {

[[gnu::noinline]] std::int32_t DoNothing(ZELInstance instance) {
  benchmark::DoNotOptimize(instance);
  return 0;
}

// The compiler must not see which function it is.
template <typename Proc>
Proc Opaque(Proc procedure) {
  benchmark::DoNotOptimize(procedure);
  return procedure;
}

void IndirectCall(benchmark::State& state) {
  const POSObjectGetTypeProc call = Opaque<POSObjectGetTypeProc>(&DoNothing);
  ZELInstance instance = nullptr;
  for (auto _ : state) benchmark::DoNotOptimize(call(instance));
}

void GetType(benchmark::State& state) {
  Zel zel;
  const auto number = zel.Keep(zel.numbers.NewPOSNumber(1));
  const POSObjectGetTypeProc call = Opaque(zel.objects.GetType);
  for (auto _ : state) benchmark::DoNotOptimize(call(number.Get()));
}

void GetNumber(benchmark::State& state) {
  Zel zel;
  const auto number = zel.Keep(zel.numbers.NewPOSNumber(1));
  const POSNumberGetProc call = Opaque(zel.numbers.Get);
  for (auto _ : state) benchmark::DoNotOptimize(call(number.Get()));
}

void AddRefAndRelease(benchmark::State& state) {
  Zel zel;
  const auto number = zel.Keep(zel.numbers.NewPOSNumber(1));
  for (auto _ : state) {
    benchmark::DoNotOptimize(zel.containers.AddRef(number.Get()));
    zel.containers.Release(number.Get());
  }
}

void NewNumberAndRelease(benchmark::State& state) {
  Zel zel;
  for (auto _ : state) {
    const ZELInstance number = zel.numbers.NewPOSNumber(1);
    zel.containers.AddRef(number);
    zel.containers.Release(number);
  }
}

void AllocAndFree(benchmark::State& state) {
  Zel zel;
  for (auto _ : state) {
    void* block = zel.memory.Alloc(32);
    benchmark::DoNotOptimize(block);
    zel.memory.Free(block);
  }
}

// Of a text that somebody holds already.
void KnownAtom(benchmark::State& state) {
  Zel zel;
  const ZELStringAtom held = zel.atoms.NewStringAtom("ratings");
  for (auto _ : state) {
    const ZELStringAtom atom = zel.atoms.NewStringAtom("ratings");
    benchmark::DoNotOptimize(atom);
    zel.atoms.DeleteStringAtom(atom);
  }
  zel.atoms.DeleteStringAtom(held);
}

void NewAtom(benchmark::State& state) {
  Zel zel;
  for (auto _ : state) {
    const ZELStringAtom atom = zel.atoms.NewStringAtom("ratings");
    benchmark::DoNotOptimize(atom);
    zel.atoms.DeleteStringAtom(atom);
  }
}

}  // namespace

void AddCallCases() {
  const auto add = [](const char* name, void (*measure)(benchmark::State&)) {
    benchmark::RegisterBenchmark(name, [measure](benchmark::State& state) {
      DropPreparedCase();
      measure(state);
    });
  };
  add("call/indirect call", IndirectCall);
  add("call/GetType", GetType);
  add("call/Get of a number", GetNumber);
  add("call/AddRef + Release", AddRefAndRelease);
  add("call/NewPOSNumber + AddRef + Release", NewNumberAndRelease);
  add("call/Alloc + Free of 32 bytes", AllocAndFree);
  add("call/NewStringAtom of a known text + Delete", KnownAtom);
  add("call/NewStringAtom of a new text + Delete", NewAtom);
}

}  // namespace zelbench
