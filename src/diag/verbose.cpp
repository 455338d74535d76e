#include "diag/verbose.h"

#include <fcntl.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "cfitracelog.h"
#include "util/file.h"

namespace kzfi_pdk_4_4 {

namespace {

using std::string_view;

constexpr string_view LONG_KEY = "KWFIS_VERBOSE";
constexpr string_view SHORT_KEY = "VERBOSE";
// Lines are looked at in pieces of this many characters; a key across two pieces is not seen.
constexpr std::size_t PIECE_SIZE = 254;

// The main file is looked at while others trace: a pipe under its name must not hold them up.
FileDescriptor openMainFile(const char* path) {
    return openFile(path, O_RDONLY | O_NONBLOCK);
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
string_view pieceWith(string_view key, string_view text) {
    for (std::size_t at = text.find(key); at != text.npos; at = text.find(key, at + 1)) {
        const string_view piece = pieceAround(text, at);
        if (text.data() + at + key.size() <= piece.data() + piece.size()) {
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

int verboseLevelIn(string_view text, int& level) {
    const bool hasLongKey = text.find(LONG_KEY) != text.npos;
    return numberIn(pieceWith(hasLongKey ? LONG_KEY : SHORT_KEY, text), level);
}

} // namespace

int readVerboseLevel(const char* path, int& level) {
    const FileDescriptor file = openMainFile(path);
    return file.isOpen() ? verboseLevelIn(readToEnd(file), level) : VERBOSE_NO_FILE;
}

int CFiTraceLog::getKwfisTraceConfigFileInfo(tstring& dir, tstring& file) {
    dir = KZFI_MAIN_CONFIG_DIR "/";
    file = KZFI_MAIN_CONFIG_FILE;
    return 0;
}

bool CFiTraceLog::findKwfisVerboseValue(std::string& path) {
    const FileDescriptor file = openMainFile(path.c_str());
    return file.isOpen() && readToEnd(file).find(LONG_KEY) != std::string::npos;
}

int CFiTraceLog::getKwfisTraceLevel(tstring& dir, tstring& file, int& level) {
    return readVerboseLevel((dir + file).c_str(), level);
}

} // namespace kzfi_pdk_4_4
