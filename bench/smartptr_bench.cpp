// Copy and release of a smart pointer against taking and dropping a bare count under a mutex: under
// the kind that counted objects have, which is the floor, and under the C++ library's.
#include <ace/Guard_T.h>
#include <benchmark/benchmark.h>

#include <cstdint>
#include <mutex>

#include "cfismartptr.h"

namespace {

using namespace kzfi_pdk_4_4;

struct Counted : virtual CFiRefCount {};

using CountedPtr = CFiSmartPtr<Counted, CFiNullAllocator<Counted>>;

template <class Mutex, class Guard>
void BM_BareCount(benchmark::State& state) {
    Mutex mutex;
    std::uint32_t count = 1;
    benchmark::DoNotOptimize(&count);
    for (auto _ : state) {
        {
            Guard guard(mutex);
            ++count;
        }
        benchmark::ClobberMemory();
        {
            Guard guard(mutex);
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

BENCHMARK_TEMPLATE(BM_BareCount, ACE_Thread_Mutex, ACE_Guard<ACE_Thread_Mutex>);
BENCHMARK_TEMPLATE(BM_BareCount, std::mutex, std::lock_guard<std::mutex>);
BENCHMARK(BM_CopyAndRelease);
