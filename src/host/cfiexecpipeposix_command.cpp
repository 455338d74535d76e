// Splits a command line into the arguments of a program.
#include <cerrno>
#include <climits>

#include "diag/tracing.h"
#include "host/execstate.h"

namespace kzfi_pdk_4_4 {

namespace {

bool isBlank(char character) {
    return character == ' ' || character == '\t';
}

bool isQuote(char character) {
    return character == '"' || character == '\'';
}

// The end of the argument at start, or npos when it is not well quoted. A backslash protects the
// next character outside quotes only.
std::size_t endOfArgument(const std::string& command, std::size_t start) {
    char quote = '\0';
    std::size_t at = start;
    for (; at < command.size() && (quote != '\0' || !isBlank(command[at])); ++at) {
        if (quote != '\0') {
            quote = command[at] == quote ? '\0' : quote;
        } else if (isQuote(command[at])) {
            quote = command[at];
        } else if (command[at] == '\\' && ++at == command.size()) {
            return std::string::npos;
        }
    }
    return quote == '\0' ? at : std::string::npos;
}

// Copies length characters of text without quotes and without the backslashes outside them. False
// for a backslash that protects nothing.
bool unquote(const char* text, int length, char* copy) {
    char quote = '\0';
    for (const char* const end = text + length; text != end; ++text) {
        if (quote == '\0' && isQuote(*text)) {
            quote = *text;
        } else if (quote != '\0' && *text == quote) {
            quote = '\0';
        } else if (quote == '\0' && *text == '\\' && ++text == end) {
            *copy = '\0';
            return false;
        } else {
            *copy++ = *text;
        }
    }
    *copy = '\0';
    return true;
}

} // namespace

bool CFiExecPipePosix::ParseCommand(const std::string& command) {
    bool found = false;
    for (std::size_t at = 0;;) {
        while (at < command.size() && isBlank(command[at])) {
            ++at;
        }
        if (at == command.size()) {
            return found && AddArgument(nullptr, 0);
        }
        const std::size_t end = endOfArgument(command, at);
        if (end == std::string::npos || end - at > INT_MAX - 1 ||
            !AddArgument(command.data() + at, static_cast<int>(end - at))) {
            return false;
        }
        found = true;
        at = end;
    }
}

bool CFiExecPipePosix::AddArgument(const char* text, int length) {
    ArgumentVector& list = state->arguments;
    if (list.isFull() && !list.grow()) {
        traceTo(traceLog, TRACE_ERROR,
                "CFiExecPipePosix::AddArgument ERROR: realloc(%d) failed, errno %d",
                static_cast<int>(list.grownSize()), errno);
        return false;
    }
    if (length <= 0) {
        list.terminate();
        return true;
    }
    char* const argument = new (std::nothrow) char[static_cast<std::size_t>(length) + 1];
    if (argument == nullptr) {
        traceTo(traceLog, TRACE_ERROR,
                "CFiExecPipePosix::AddArgument() ERROR: new[%d] failed, errno %d", length + 1,
                errno);
        return false;
    }
    list.add(argument);
    return unquote(text, length, argument);
}

char* const* CFiExecPipePosix::arguments() const {
    return state->arguments.get();
}

int CFiExecPipePosix::argumentCount() const {
    return state->arguments.count();
}

} // namespace kzfi_pdk_4_4
