// Timings of single parameter reads and writes through the exports, as a
// host calls them while it sets up or polls an object. Target: at most 50 ns
// per call on a current x86-64 core. Times are reported, never asserted.
#include <benchmark/benchmark.h>

#include "KelvoCalibrate.h"

namespace {

// An automatic object, so that the model rows are reachable.
class Object {
 public:
  Object() { ok_ = CalibCreate(CalibModeAutomatic, &handle_) == NqeSuccess; }
  ~Object() {
    if (ok_) CalibDestroy(handle_);
  }
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  bool ok() const { return ok_; }
  CalibHandle handle() const { return handle_; }

 private:
  CalibHandle handle_ = 0;
  bool ok_ = false;
};

void BM_GetDoubleParam(benchmark::State& state) {
  Object o;
  if (!o.ok()) return state.SkipWithError("CalibCreate failed");
  double value = 0.0;
  for (auto _ : state) {
    KvxULong code =
        CalibGetDoubleParam(o.handle(), CalibParamLaserLine, &value);
    benchmark::DoNotOptimize(code);
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(BM_GetDoubleParam);

void BM_SetDoubleParam(benchmark::State& state) {
  Object o;
  if (!o.ok()) return state.SkipWithError("CalibCreate failed");
  double value = 1200.0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(value);
    KvxULong code =
        CalibSetDoubleParam(o.handle(), CalibParamGrooveDensity, value);
    benchmark::DoNotOptimize(code);
  }
}
BENCHMARK(BM_SetDoubleParam);

void BM_GetIntParam(benchmark::State& state) {
  Object o;
  if (!o.ok()) return state.SkipWithError("CalibCreate failed");
  KvxLong value = 0;
  for (auto _ : state) {
    KvxULong code = CalibGetIntParam(o.handle(), CalibParamPolyOrder, &value);
    benchmark::DoNotOptimize(code);
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(BM_GetIntParam);

}  // namespace
