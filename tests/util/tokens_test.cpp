// The walk over the pieces of a text.
#include "util/tokens.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using kzfi_pdk_4_4::Tokens;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> pieces(const char* text, const char* delimiters) {
    Tokens tokens(text, delimiters);
    std::vector<std::string> all;
    for (std::string_view piece; tokens.next(piece);) {
        all.emplace_back(piece);
    }
    return all;
}

TEST(Tokens, GivesThePiecesInOrder) {
    EXPECT_THAT(pieces("a,bc;d", ",;"), ElementsAre("a", "bc", "d"));
    EXPECT_THAT(pieces("one", ","), ElementsAre("one"));
}

TEST(Tokens, GivesNoEmptyPieces) {
    EXPECT_THAT(pieces(",,a,,b,", ","), ElementsAre("a", "b"));
    EXPECT_THAT(pieces(",,,", ","), IsEmpty());
    EXPECT_THAT(pieces("", ","), IsEmpty());
}

TEST(Tokens, GivesTheWholeTextWithoutDelimiters) {
    EXPECT_THAT(pieces("a,b", ""), ElementsAre("a,b"));
    EXPECT_THAT(pieces("", ""), IsEmpty());
}

TEST(Tokens, EndsTextAndDelimitersAtTheirNul) {
    EXPECT_THAT(pieces("a,b\0,c", ","), ElementsAre("a", "b"));
    EXPECT_THAT(pieces("a,b;c", ",\0;"), ElementsAre("a", "b;c"));
}

TEST(Tokens, SplitsAtBytesAboveAscii) {
    EXPECT_THAT(pieces("a\xFFz\x80y", "\xFF\x80"), ElementsAre("a", "z", "y"));
}

TEST(Tokens, PointsIntoTheText) {
    const char text[] = ",ab,c";
    Tokens tokens(text, ",");
    std::string_view piece;
    ASSERT_TRUE(tokens.next(piece));
    EXPECT_EQ(text + 1, piece.data());
}

TEST(Tokens, LeavesThePieceAloneAtTheEnd) {
    Tokens tokens("a,", ",");
    std::string_view piece;
    EXPECT_TRUE(tokens.next(piece));
    EXPECT_FALSE(tokens.next(piece));
    EXPECT_EQ("a", piece);
    EXPECT_FALSE(tokens.next(piece));
}

} // namespace
