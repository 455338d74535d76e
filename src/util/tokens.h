// Walks over the pieces of a text without copying it.
#ifndef KZFI_UTIL_TOKENS_H
#define KZFI_UTIL_TOKENS_H

#include <bitset>
#include <cstddef>
#include <string_view>

namespace kzfi_pdk_4_4 {

/// The pieces between delimiter characters, in order; empty pieces never appear. Text and
/// delimiters end at their first NUL. The text must outlive the walk.
class Tokens {
  public:
    Tokens(const char* text, const char* delimiters) : rest(text) {
        for (const char* c = delimiters; *c != '\0'; ++c) {
            isDelimiter.set(static_cast<unsigned char>(*c));
        }
    }

    /// Takes the next piece; false, and piece untouched, when there is none.
    bool next(std::string_view& piece) {
        const std::size_t begin = skip(0, true);
        const std::size_t end = skip(begin, false);
        if (begin == end) {
            return false;
        }
        piece = rest.substr(begin, end - begin);
        rest.remove_prefix(end);
        return true;
    }

  private:
    // Where the run of delimiters, or of other characters, that begins at a position ends.
    std::size_t skip(std::size_t at, bool overDelimiters) const {
        while (at < rest.size() &&
               isDelimiter[static_cast<unsigned char>(rest[at])] == overDelimiters) {
            ++at;
        }
        return at;
    }

    std::string_view rest;
    std::bitset<256> isDelimiter;
};

} // namespace kzfi_pdk_4_4

#endif
