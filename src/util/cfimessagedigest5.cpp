#include "cfimessagedigest5.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

namespace kzfi_pdk_4_4 {

namespace {

constexpr std::size_t BLOCK_SIZE = 64;
constexpr std::size_t LENGTH_SIZE = 8;

using Block = std::uint32_t[16];

struct Words {
    std::uint32_t a;
    std::uint32_t b;
    std::uint32_t c;
    std::uint32_t d;
};

std::uint32_t load(const unsigned char* bytes) {
    return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8 |
           static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
}

template <std::size_t count>
void store(unsigned char* bytes, std::uint64_t number) {
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<unsigned char>(number >> 8 * i);
    }
}

std::uint32_t mix1(std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    return d ^ (b & (c ^ d));
}

// A sum where the RFC writes an "or" (no bit is in both): the part without b can be added while the
// step before still makes b. Worth a tenth of the whole digest.
std::uint32_t mix2(std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    return (b & d) + (c & ~d);
}

std::uint32_t mix3(std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    return b ^ c ^ d;
}

std::uint32_t mix4(std::uint32_t b, std::uint32_t c, std::uint32_t d) {
    return c ^ (b | ~d);
}

template <std::uint32_t (*mix)(std::uint32_t, std::uint32_t, std::uint32_t)>
void step(std::uint32_t& a, std::uint32_t b, std::uint32_t c, std::uint32_t d, std::uint32_t addend,
          int shift) {
    const std::uint32_t sum = a + addend + mix(b, c, d);
    a = b + (sum << shift | sum >> (32 - shift));
}

// clang-format off: one step a line.
inline void Transform_Round1(Words& w, const Block& x) {
    step<mix1>(w.a, w.b, w.c, w.d, x[0] + 0xd76aa478, 7);
    step<mix1>(w.d, w.a, w.b, w.c, x[1] + 0xe8c7b756, 12);
    step<mix1>(w.c, w.d, w.a, w.b, x[2] + 0x242070db, 17);
    step<mix1>(w.b, w.c, w.d, w.a, x[3] + 0xc1bdceee, 22);
    step<mix1>(w.a, w.b, w.c, w.d, x[4] + 0xf57c0faf, 7);
    step<mix1>(w.d, w.a, w.b, w.c, x[5] + 0x4787c62a, 12);
    step<mix1>(w.c, w.d, w.a, w.b, x[6] + 0xa8304613, 17);
    step<mix1>(w.b, w.c, w.d, w.a, x[7] + 0xfd469501, 22);
    step<mix1>(w.a, w.b, w.c, w.d, x[8] + 0x698098d8, 7);
    step<mix1>(w.d, w.a, w.b, w.c, x[9] + 0x8b44f7af, 12);
    step<mix1>(w.c, w.d, w.a, w.b, x[10] + 0xffff5bb1, 17);
    step<mix1>(w.b, w.c, w.d, w.a, x[11] + 0x895cd7be, 22);
    step<mix1>(w.a, w.b, w.c, w.d, x[12] + 0x6b901122, 7);
    step<mix1>(w.d, w.a, w.b, w.c, x[13] + 0xfd987193, 12);
    step<mix1>(w.c, w.d, w.a, w.b, x[14] + 0xa679438e, 17);
    step<mix1>(w.b, w.c, w.d, w.a, x[15] + 0x49b40821, 22);
}

inline void Transform_Round2(Words& w, const Block& x) {
    step<mix2>(w.a, w.b, w.c, w.d, x[1] + 0xf61e2562, 5);
    step<mix2>(w.d, w.a, w.b, w.c, x[6] + 0xc040b340, 9);
    step<mix2>(w.c, w.d, w.a, w.b, x[11] + 0x265e5a51, 14);
    step<mix2>(w.b, w.c, w.d, w.a, x[0] + 0xe9b6c7aa, 20);
    step<mix2>(w.a, w.b, w.c, w.d, x[5] + 0xd62f105d, 5);
    step<mix2>(w.d, w.a, w.b, w.c, x[10] + 0x02441453, 9);
    step<mix2>(w.c, w.d, w.a, w.b, x[15] + 0xd8a1e681, 14);
    step<mix2>(w.b, w.c, w.d, w.a, x[4] + 0xe7d3fbc8, 20);
    step<mix2>(w.a, w.b, w.c, w.d, x[9] + 0x21e1cde6, 5);
    step<mix2>(w.d, w.a, w.b, w.c, x[14] + 0xc33707d6, 9);
    step<mix2>(w.c, w.d, w.a, w.b, x[3] + 0xf4d50d87, 14);
    step<mix2>(w.b, w.c, w.d, w.a, x[8] + 0x455a14ed, 20);
    step<mix2>(w.a, w.b, w.c, w.d, x[13] + 0xa9e3e905, 5);
    step<mix2>(w.d, w.a, w.b, w.c, x[2] + 0xfcefa3f8, 9);
    step<mix2>(w.c, w.d, w.a, w.b, x[7] + 0x676f02d9, 14);
    step<mix2>(w.b, w.c, w.d, w.a, x[12] + 0x8d2a4c8a, 20);
}

inline void Transform_Round3(Words& w, const Block& x) {
    step<mix3>(w.a, w.b, w.c, w.d, x[5] + 0xfffa3942, 4);
    step<mix3>(w.d, w.a, w.b, w.c, x[8] + 0x8771f681, 11);
    step<mix3>(w.c, w.d, w.a, w.b, x[11] + 0x6d9d6122, 16);
    step<mix3>(w.b, w.c, w.d, w.a, x[14] + 0xfde5380c, 23);
    step<mix3>(w.a, w.b, w.c, w.d, x[1] + 0xa4beea44, 4);
    step<mix3>(w.d, w.a, w.b, w.c, x[4] + 0x4bdecfa9, 11);
    step<mix3>(w.c, w.d, w.a, w.b, x[7] + 0xf6bb4b60, 16);
    step<mix3>(w.b, w.c, w.d, w.a, x[10] + 0xbebfbc70, 23);
    step<mix3>(w.a, w.b, w.c, w.d, x[13] + 0x289b7ec6, 4);
    step<mix3>(w.d, w.a, w.b, w.c, x[0] + 0xeaa127fa, 11);
    step<mix3>(w.c, w.d, w.a, w.b, x[3] + 0xd4ef3085, 16);
    step<mix3>(w.b, w.c, w.d, w.a, x[6] + 0x04881d05, 23);
    step<mix3>(w.a, w.b, w.c, w.d, x[9] + 0xd9d4d039, 4);
    step<mix3>(w.d, w.a, w.b, w.c, x[12] + 0xe6db99e5, 11);
    step<mix3>(w.c, w.d, w.a, w.b, x[15] + 0x1fa27cf8, 16);
    step<mix3>(w.b, w.c, w.d, w.a, x[2] + 0xc4ac5665, 23);
}

inline void Transform_Round4(Words& w, const Block& x) {
    step<mix4>(w.a, w.b, w.c, w.d, x[0] + 0xf4292244, 6);
    step<mix4>(w.d, w.a, w.b, w.c, x[7] + 0x432aff97, 10);
    step<mix4>(w.c, w.d, w.a, w.b, x[14] + 0xab9423a7, 15);
    step<mix4>(w.b, w.c, w.d, w.a, x[5] + 0xfc93a039, 21);
    step<mix4>(w.a, w.b, w.c, w.d, x[12] + 0x655b59c3, 6);
    step<mix4>(w.d, w.a, w.b, w.c, x[3] + 0x8f0ccc92, 10);
    step<mix4>(w.c, w.d, w.a, w.b, x[10] + 0xffeff47d, 15);
    step<mix4>(w.b, w.c, w.d, w.a, x[1] + 0x85845dd1, 21);
    step<mix4>(w.a, w.b, w.c, w.d, x[8] + 0x6fa87e4f, 6);
    step<mix4>(w.d, w.a, w.b, w.c, x[15] + 0xfe2ce6e0, 10);
    step<mix4>(w.c, w.d, w.a, w.b, x[6] + 0xa3014314, 15);
    step<mix4>(w.b, w.c, w.d, w.a, x[13] + 0x4e0811a1, 21);
    step<mix4>(w.a, w.b, w.c, w.d, x[4] + 0xf7537e82, 6);
    step<mix4>(w.d, w.a, w.b, w.c, x[11] + 0xbd3af235, 10);
    step<mix4>(w.c, w.d, w.a, w.b, x[2] + 0x2ad7d2bb, 15);
    step<mix4>(w.b, w.c, w.d, w.a, x[9] + 0xeb86d391, 21);
}
// clang-format on

} // namespace

CFiMessageDigest5::CFiMessageDigest5() {
    Initialize();
}

CFiMessageDigest5::CFiMessageDigest5(const char* text)
    : CFiMessageDigest5(text, text == nullptr ? 0 : std::strlen(text)) {}

CFiMessageDigest5::CFiMessageDigest5(const unsigned short* text) : CFiMessageDigest5() {
    if (text != nullptr) {
        const unsigned short* end = text;
        while (*end != 0) {
            ++end;
        }
        Update(reinterpret_cast<const unsigned char*>(text),
               static_cast<unsigned long>(end - text) * sizeof(*text));
    }
    Finalize();
}

CFiMessageDigest5::CFiMessageDigest5(const void* data, unsigned long length) : CFiMessageDigest5() {
    Update(static_cast<const unsigned char*>(data), length);
    Finalize();
}

int CFiMessageDigest5::Initialize() {
    std::fill(std::begin(buffer), std::end(buffer), static_cast<unsigned char>(0));
    bufferCount = 0;
    wordA = 0x67452301;
    wordB = 0xefcdab89;
    wordC = 0x98badcfe;
    wordD = 0x10325476;
    bitLength = 0;
    std::fill(std::begin(digest), std::end(digest), static_cast<unsigned char>(0));
    std::fill(std::begin(ansiText), std::end(ansiText), '\0');
    std::fill(std::begin(unicodeText), std::end(unicodeText), static_cast<unsigned short>(0));
    return 0;
}

void CFiMessageDigest5::Update(const unsigned char* data, unsigned long length) {
    if (data == nullptr || ansiText[0] != '\0') {
        return;
    }
    if (bufferCount != 0) {
        const unsigned long taken = std::min(length, BLOCK_SIZE - bufferCount);
        std::memcpy(buffer + bufferCount, data, taken);
        bufferCount += taken;
        data += taken;
        length -= taken;
        if (bufferCount < BLOCK_SIZE) {
            return;
        }
        Transform(buffer);
        bitLength += 8 * BLOCK_SIZE;
        bufferCount = 0;
    }
    for (; length >= BLOCK_SIZE; length -= BLOCK_SIZE, data += BLOCK_SIZE) {
        Transform(data);
        bitLength += 8 * BLOCK_SIZE;
    }
    std::memcpy(buffer, data, length);
    bufferCount = length;
}

void CFiMessageDigest5::Finalize() {
    if (ansiText[0] != '\0') {
        return;
    }
    bitLength += 8 * bufferCount;
    pad();
    store<4>(digest, wordA);
    store<4>(digest + 4, wordB);
    store<4>(digest + 8, wordC);
    store<4>(digest + 12, wordD);
    writeText();
}

unsigned char CFiMessageDigest5::operator[](unsigned long i) const {
    return i < sizeof(digest) ? digest[i] : 0;
}

const char* CFiMessageDigest5::GetAnsiMessageDigest() const {
    return ansiText;
}

const unsigned short* CFiMessageDigest5::GetUnicodeMessageDigest() const {
    return unicodeText;
}

void CFiMessageDigest5::Transform(const unsigned char* block) {
    Block x;
    for (std::size_t i = 0; i < 16; ++i) {
        x[i] = load(block + 4 * i);
    }
    const Words before = {static_cast<std::uint32_t>(wordA), static_cast<std::uint32_t>(wordB),
                          static_cast<std::uint32_t>(wordC), static_cast<std::uint32_t>(wordD)};
    Words words = before;
    Transform_Round1(words, x);
    Transform_Round2(words, x);
    Transform_Round3(words, x);
    Transform_Round4(words, x);
    wordA = before.a + words.a;
    wordB = before.b + words.b;
    wordC = before.c + words.c;
    wordD = before.d + words.d;
}

// 0x80, zeros and the length in bits up to the end of a block.
void CFiMessageDigest5::pad() {
    buffer[bufferCount++] = 0x80;
    if (bufferCount > BLOCK_SIZE - LENGTH_SIZE) {
        std::fill(buffer + bufferCount, std::end(buffer), static_cast<unsigned char>(0));
        Transform(buffer);
        bufferCount = 0;
    }
    std::fill(buffer + bufferCount, std::end(buffer) - LENGTH_SIZE, static_cast<unsigned char>(0));
    store<LENGTH_SIZE>(std::end(buffer) - LENGTH_SIZE, bitLength);
    Transform(buffer);
}

// By table: sixteen "%02x" cost six times the digest of a short text.
void CFiMessageDigest5::writeText() {
    static constexpr char digits[] = "0123456789abcdef";
    char* out = ansiText;
    for (const unsigned char byte : digest) {
        *out++ = digits[byte >> 4];
        *out++ = digits[byte & 0xf];
    }
    *out = '\0';
}

} // namespace kzfi_pdk_4_4
