// MD5 of 1 MiB, and of a 16-byte text with its hexadecimal form, against OpenSSL.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <benchmark/benchmark.h>
#include <openssl/md5.h>

#include <cstring>
#include <string>
#include <vector>

#include "cfimessagedigest5.h"

namespace {

using kzfi_pdk_4_4::CFiMessageDigest5;

constexpr char TEXT[] = "sixteen byte key";
static_assert(sizeof(TEXT) == 17, "sixteen bytes and a NUL");

struct Digest {
    unsigned char bytes[MD5_DIGEST_LENGTH];
};

// The low-level operations: no memory from the heap, no look-up of the algorithm.
Digest ofLibrary(const void* data, std::size_t length) {
    Digest digest;
    MD5_CTX context;
    MD5_Init(&context);
    MD5_Update(&context, data, length);
    MD5_Final(digest.bytes, &context);
    return digest;
}

bool agree(const void* data, std::size_t length) {
    const CFiMessageDigest5 ours(data, length);
    const Digest theirs = ofLibrary(data, length);
    for (unsigned long i = 0; i < sizeof(theirs.bytes); ++i) {
        if (ours[i] != theirs.bytes[i]) {
            return false;
        }
    }
    return true;
}

template <class Compute>
void digestOf(benchmark::State& state, const void* data, std::size_t length, Compute compute) {
    if (!agree(data, length)) {
        state.SkipWithError("the two ways disagree");
        return;
    }
    for (auto _ : state) {
        // Otherwise the compiler may take the computation out of the loop.
        benchmark::ClobberMemory();
        compute();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * length));
}

std::vector<unsigned char> mebibyte() {
    std::vector<unsigned char> data(1 << 20);
    unsigned char next = 1;
    for (unsigned char& byte : data) {
        byte = next = static_cast<unsigned char>(next * 5 + 3);
    }
    return data;
}

void BM_MebibyteLibrary(benchmark::State& state) {
    const std::vector<unsigned char> data = mebibyte();
    digestOf(state, data.data(), data.size(),
             [&] { benchmark::DoNotOptimize(ofLibrary(data.data(), data.size())); });
}

void BM_Mebibyte(benchmark::State& state) {
    const std::vector<unsigned char> data = mebibyte();
    digestOf(state, data.data(), data.size(),
             [&] { benchmark::DoNotOptimize(CFiMessageDigest5(data.data(), data.size())); });
}

// The library's digest without a text.
void BM_ShortTextLibrary(benchmark::State& state) {
    digestOf(state, TEXT, std::strlen(TEXT),
             [] { benchmark::DoNotOptimize(ofLibrary(TEXT, std::strlen(TEXT))); });
}

void BM_ShortText(benchmark::State& state) {
    digestOf(state, TEXT, std::strlen(TEXT), [] {
        const CFiMessageDigest5 digest(TEXT);
        benchmark::DoNotOptimize(digest.GetAnsiMessageDigest());
    });
}

} // namespace

BENCHMARK(BM_MebibyteLibrary);
BENCHMARK(BM_Mebibyte);
BENCHMARK(BM_ShortTextLibrary);
BENCHMARK(BM_ShortText);
