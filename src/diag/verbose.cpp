#include "diag/verbose.h"

#include <fcntl.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "cfitracelog.h"
#include "util/file.h"
#include "util/productpaths.h"

namespace kzfi_pdk_4_4 {

namespace {

using std::string_view;

constexpr char LONG_KEY[] = "KWFIS_VERBOSE";
constexpr char SHORT_KEY[] = "VERBOSE";
// Lines are looked at in pieces of this many characters; a key across two pieces is not seen.
constexpr std::size_t PIECE_SIZE = 254;

// The main file is looked at while others trace: a pipe under its name must not hold them up.
FileDescriptor openMainFile(const char* path) {
    return openFile(path, O_RDONLY | O_NONBLOCK);
}

// As text.find(key, from), by strstr from NUL to NUL: in a main file of 2 KB that takes a quarter
// of the time.
std::size_t find(const std::string& text, const char* key, std::size_t from = 0) {
    while (from < text.size()) {
        const char* start = text.c_str() + from;
        const char* found = std::strstr(start, key);
        if (found != nullptr) {
            return from + static_cast<std::size_t>(found - start);
        }
        from += std::strlen(start) + 1;
    }
    return text.npos;
}

// The piece of a line that position lies in, up to the first NUL in it.
string_view pieceAround(string_view text, std::size_t position) {
    const std::size_t line = text.rfind('\n', position) + 1;
    const std::size_t start = position - (position - line) % PIECE_SIZE;
    string_view piece = text.substr(start, PIECE_SIZE);
    piece = piece.substr(0, piece.find('\n'));
    return piece.substr(0, piece.find('\0'));
}

// The first piece that holds key; empty when there is none.
string_view pieceWith(const char* key, const std::string& text) {
    for (std::size_t at = find(text, key); at != text.npos; at = find(text, key, at + 1)) {
        const string_view piece = pieceAround(text, at);
        if (text.data() + at + std::strlen(key) <= piece.data() + piece.size()) {
            return piece;
        }
    }
    return string_view();
}

// The number behind the first "=" of piece.
int numberIn(string_view piece, int& level) {
    const std::size_t sign = piece.find('=');
    if (sign == piece.npos) {
        return VERBOSE_NOT_SET;
    }
    const std::string value(piece.substr(sign + 1));
    char* end = nullptr;
    const long number = std::strtol(value.c_str(), &end, 10);
    if (end == value.c_str()) {
        return VERBOSE_NOT_SET;
    }
    level = static_cast<int>(number);
    return 0;
}

int verboseLevelIn(const std::string& text, int& level) {
    const bool hasLongKey = find(text, LONG_KEY) != text.npos;
    return numberIn(pieceWith(hasLongKey ? LONG_KEY : SHORT_KEY, text), level);
}

} // namespace

int readVerboseLevel(const char* path, int& level) {
    const FileDescriptor file = openMainFile(path);
    return file.isOpen() ? verboseLevelIn(readRegular(file), level) : VERBOSE_NO_FILE;
}

int CFiTraceLog::getKwfisTraceConfigFileInfo(tstring& dir, tstring& file) {
    dir = MAIN_CONFIG_DIR;
    file = MAIN_CONFIG_FILE;
    return 0;
}

bool CFiTraceLog::findKwfisVerboseValue(std::string& path) {
    const FileDescriptor file = openMainFile(path.c_str());
    return file.isOpen() && find(readRegular(file), LONG_KEY) != std::string::npos;
}

int CFiTraceLog::getKwfisTraceLevel(tstring& dir, tstring& file, int& level) {
    return readVerboseLevel((dir + file).c_str(), level);
}

} // namespace kzfi_pdk_4_4
