// The MD5 digest, against the vectors of RFC 1321 and against OpenSSL.
#include "cfimessagedigest5.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using kzfi_pdk_4_4::CFiMessageDigest5;

constexpr char OF_NO_BYTES[] = "d41d8cd98f00b204e9800998ecf8427e";
constexpr char OF_ABC[] = "900150983cd24fb0d6963f7d28e17f72";

const unsigned char* bytesOf(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

std::string digestOf(const std::string& bytes) {
    return CFiMessageDigest5(bytes.data(), bytes.size()).GetAnsiMessageDigest();
}

std::string libraryDigestOf(const std::string& bytes) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    EXPECT_EQ(1, EVP_Digest(bytes.data(), bytes.size(), digest, &size, EVP_md5(), nullptr));
    std::string text;
    for (unsigned int i = 0; i < size; ++i) {
        constexpr char digits[] = "0123456789abcdef";
        text += digits[digest[i] >> 4];
        text += digits[digest[i] & 15];
    }
    return text;
}

void update(CFiMessageDigest5& digest, const std::string& bytes) {
    digest.Update(bytesOf(bytes), bytes.size());
}

std::string finished(CFiMessageDigest5 digest) {
    digest.Finalize();
    return digest.GetAnsiMessageDigest();
}

std::string randomBytes(std::mt19937& random, std::size_t size) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(random());
    }
    return bytes;
}

void expectUnfinished(const CFiMessageDigest5& digest) {
    EXPECT_STREQ("", digest.GetAnsiMessageDigest());
    for (unsigned long i = 0; i < 16; ++i) {
        EXPECT_EQ(0, digest[i]) << i;
    }
}

TEST(MessageDigest5, AgreesWithTheVectorsOfTheRfc) {
    const char* const vectors[][2] = {
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"a", "0cc175b9c0f1b6a831c399e269772661"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
        {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
         "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
    };
    for (const auto& [text, expected] : vectors) {
        EXPECT_STREQ(expected, CFiMessageDigest5(text).GetAnsiMessageDigest()) << text;
        EXPECT_EQ(expected, digestOf(text)) << text;
    }
}

TEST(MessageDigest5, AgreesWithTheLibraryAroundTheBlockSizes) {
    std::mt19937 random(1321);
    for (std::size_t size = 0; size <= 260; ++size) {
        const std::string bytes = randomBytes(random, size);
        EXPECT_EQ(libraryDigestOf(bytes), digestOf(bytes)) << size << " bytes";
    }
}

TEST(MessageDigest5, AgreesWithTheLibraryOnAMebibyte) {
    std::mt19937 random(1);
    const std::string bytes = randomBytes(random, (1 << 20) + 17);
    EXPECT_EQ(libraryDigestOf(bytes), digestOf(bytes));
}

TEST(MessageDigest5, AgreesWithTheLibraryAtRandomSplits) {
    std::mt19937 random(5);
    for (int run = 0; run < 300; ++run) {
        const std::string bytes = randomBytes(random, random() % 2000);
        CFiMessageDigest5 digest;
        for (std::size_t at = 0; at < bytes.size();) {
            const std::string piece = bytes.substr(at, random() % 200);
            update(digest, piece);
            at += piece.size();
        }
        EXPECT_EQ(libraryDigestOf(bytes), finished(digest)) << "run " << run;
    }
}

TEST(MessageDigest5, TakesUnalignedInput) {
    std::mt19937 random(7);
    const std::string bytes = randomBytes(random, 300);
    for (std::size_t from = 0; from < 16; ++from) {
        const CFiMessageDigest5 digest(bytes.data() + from, 200);
        EXPECT_EQ(libraryDigestOf(bytes.substr(from, 200)), digest.GetAnsiMessageDigest());
    }
}

TEST(MessageDigest5, DoesNotDependOnTheSizeOfThePieces) {
    const std::string text(1000, 'x');
    for (const std::size_t size : {1, 63, 64, 65, 127, 128}) {
        CFiMessageDigest5 digest;
        for (std::size_t at = 0; at < text.size(); at += size) {
            update(digest, text.substr(at, size));
        }
        EXPECT_EQ(digestOf(text), finished(digest)) << "pieces of " << size;
    }
}

TEST(MessageDigest5, PadsIntoASecondBlockFromFiftySixBytesOn) {
    EXPECT_EQ("ef1772b6dff9a122358552954ad0df65", digestOf(std::string(55, 'a')));
    EXPECT_EQ("3b0c8ac703f828b04c6c197006d17218", digestOf(std::string(56, 'a')));
}

TEST(MessageDigest5, CountsBitsBeyondThirtyTwo) {
    // 513 MiB: the length in bits does not fit in 32.
    const std::string piece(1 << 20, 'm');
    CFiMessageDigest5 digest;
    EVP_MD_CTX* const library = EVP_MD_CTX_new();
    ASSERT_EQ(1, EVP_DigestInit_ex(library, EVP_md5(), nullptr));
    for (int i = 0; i < 513; ++i) {
        update(digest, piece);
        EVP_DigestUpdate(library, piece.data(), piece.size());
    }
    digest.Finalize();
    unsigned char expected[16];
    EVP_DigestFinal_ex(library, expected, nullptr);
    EVP_MD_CTX_free(library);
    for (unsigned long i = 0; i < 16; ++i) {
        EXPECT_EQ(expected[i], digest[i]) << i;
    }
}

TEST(MessageDigest5, EndsATextAtItsNul) {
    EXPECT_STREQ(OF_ABC, CFiMessageDigest5("abc\0def").GetAnsiMessageDigest());
}

TEST(MessageDigest5, TakesNulBytesOfABuffer) {
    const std::string bytes("abc\0def", 7);
    EXPECT_EQ(libraryDigestOf(bytes), digestOf(bytes));
    EXPECT_NE(OF_ABC, digestOf(bytes));
}

TEST(MessageDigest5, TakesSixteenBitUnitsAsTheyLieInMemory) {
    const unsigned short text[] = {'a', 0x0100, 0xFFFF, 0x6200, 0, 'z'};
    const std::string bytes(reinterpret_cast<const char*>(text), 4 * sizeof(*text));
    EXPECT_EQ(libraryDigestOf(bytes), CFiMessageDigest5(text).GetAnsiMessageDigest());
}

TEST(MessageDigest5, OfAnEmptyTextIsThatOfNoBytes) {
    const unsigned short empty[] = {0};
    EXPECT_STREQ(OF_NO_BYTES, CFiMessageDigest5("").GetAnsiMessageDigest());
    EXPECT_STREQ(OF_NO_BYTES, CFiMessageDigest5(empty).GetAnsiMessageDigest());
    EXPECT_STREQ(OF_NO_BYTES, CFiMessageDigest5("abc", 0).GetAnsiMessageDigest());
    EXPECT_EQ(OF_NO_BYTES, finished(CFiMessageDigest5()));
}

TEST(MessageDigest5, OfNullIsThatOfNoBytes) {
    const char* const text = nullptr;
    const unsigned short* const wide = nullptr;
    EXPECT_STREQ(OF_NO_BYTES, CFiMessageDigest5(text).GetAnsiMessageDigest());
    EXPECT_STREQ(OF_NO_BYTES, CFiMessageDigest5(wide).GetAnsiMessageDigest());
    EXPECT_STREQ(OF_NO_BYTES, CFiMessageDigest5(nullptr, 100).GetAnsiMessageDigest());
}

TEST(MessageDigest5, IgnoresAnUpdateWithNull) {
    CFiMessageDigest5 digest;
    digest.Update(nullptr, 100);
    update(digest, "ab");
    digest.Update(nullptr, 1);
    update(digest, "c");
    EXPECT_EQ(OF_ABC, finished(digest));
}

TEST(MessageDigest5, IsEmptyBeforeFinalize) {
    CFiMessageDigest5 digest;
    expectUnfinished(digest);
    update(digest, std::string(200, 'x'));
    expectUnfinished(digest);
}

TEST(MessageDigest5, IgnoresUpdatesAfterFinalize) {
    CFiMessageDigest5 digest("abc");
    update(digest, std::string(200, 'x'));
    digest.Finalize();
    EXPECT_STREQ(OF_ABC, digest.GetAnsiMessageDigest());
}

TEST(MessageDigest5, IsFinalizedOnce) {
    CFiMessageDigest5 digest;
    update(digest, "abc");
    digest.Finalize();
    digest.Finalize();
    EXPECT_STREQ(OF_ABC, digest.GetAnsiMessageDigest());
    EXPECT_EQ(0x90, digest[0]);
}

TEST(MessageDigest5, StartsAgainWithInitialize) {
    CFiMessageDigest5 digest(std::string(100, 'x').c_str());
    EXPECT_EQ(0, digest.Initialize());
    expectUnfinished(digest);
    update(digest, "abc");
    EXPECT_EQ(OF_ABC, finished(digest));
}

TEST(MessageDigest5, ForgetsHalfABlockWithInitialize) {
    CFiMessageDigest5 digest;
    update(digest, std::string(100, 'x'));
    EXPECT_EQ(0, digest.Initialize());
    update(digest, "abc");
    EXPECT_EQ(OF_ABC, finished(digest));
}

TEST(MessageDigest5, GivesSixteenBytes) {
    const unsigned char expected[] = {0x90, 0x01, 0x50, 0x98, 0x3c, 0xd2, 0x4f, 0xb0,
                                      0xd6, 0x96, 0x3f, 0x7d, 0x28, 0xe1, 0x7f, 0x72};
    const CFiMessageDigest5 digest("abc");
    for (unsigned long i = 0; i < 16; ++i) {
        EXPECT_EQ(expected[i], digest[i]) << i;
    }
}

TEST(MessageDigest5, GivesZeroBeyondSixteenBytes) {
    const CFiMessageDigest5 digest("abc");
    for (const unsigned long i : {16UL, 17UL, 1000UL, ~0UL}) {
        EXPECT_EQ(0, digest[i]) << i;
    }
}

TEST(MessageDigest5, NeverFillsTheSixteenBitText) {
    CFiMessageDigest5 digest;
    EXPECT_EQ(0, digest.GetUnicodeMessageDigest()[0]);
    update(digest, "abc");
    digest.Finalize();
    const unsigned short* const text = digest.GetUnicodeMessageDigest();
    EXPECT_TRUE(std::all_of(text, text + 66, [](unsigned short unit) { return unit == 0; }));
}

TEST(MessageDigest5, IsAValue) {
    CFiMessageDigest5 half;
    update(half, "ab");
    CFiMessageDigest5 copy = half;
    update(half, "x");
    update(copy, "c");
    EXPECT_EQ(OF_ABC, finished(copy));
    copy = CFiMessageDigest5("");
    EXPECT_STREQ(OF_NO_BYTES, copy.GetAnsiMessageDigest());
    EXPECT_FALSE(std::is_polymorphic_v<CFiMessageDigest5>);
}

TEST(MessageDigest5, HoldsWhatItsMembersNeed) {
    constexpr std::size_t members =
        64 + 6 * sizeof(unsigned long) + 16 + 33 + 1 + std::size_t{2} * 66;
    constexpr std::size_t unit = alignof(unsigned long);
    EXPECT_EQ((members + unit - 1) / unit * unit, sizeof(CFiMessageDigest5));
}

} // namespace
