// Copy and release of a smart pointer against taking and dropping a bare count under a mutex.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <mutex>

#include "cfismartptr.h"

namespace {

using namespace kzfi_pdk_4_4;

struct Counted : virtual CFiRefCount {};

using CountedPtr = CFiSmartPtr<Counted, CFiNullAllocator<Counted>>;

void BM_BareCount(benchmark::State& state) {
    std::mutex mutex;
    std::uint32_t count = 1;
    benchmark::DoNotOptimize(&count);
    for (auto _ : state) {
        {
            const std::lock_guard<std::mutex> guard(mutex);
            ++count;
        }
        benchmark::ClobberMemory();
        {
            const std::lock_guard<std::mutex> guard(mutex);
            --count;
        }
        benchmark::ClobberMemory();
    }
}

void BM_CopyAndRelease(benchmark::State& state) {
    const CountedPtr held(new Counted);
    for (auto _ : state) {
        CountedPtr copy(held);
        benchmark::DoNotOptimize(copy);
    }
}

} // namespace

BENCHMARK(BM_BareCount);
BENCHMARK(BM_CopyAndRelease);
