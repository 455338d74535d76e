// What can go wrong in this provider: a message's number and what fills it.
#ifndef DISKIMAGE_FAILURE_H
#define DISKIMAGE_FAILURE_H

#include <stdexcept>
#include <string>
#include <vector>

namespace diskimage {

/// Numbers of messages: "MSG_ERROR_DISKIMAGE_0011" and so on. The texts in messages/ say which
/// arguments each takes.
enum Reason {
    NO_IDENTIFIER = 11,
    NO_CREDENTIALS = 12,
    NO_IMAGE = 13,
    NEEDS_OTHER_FILES = 14,
    DAMAGED = 15,
    BAD_PARAMETER = 16,
    NO_TARGET = 17,
    TARGET_IN_USE = 18,
    NO_ROOM = 19,
    TOOL_FAILED = 20,
    TOO_SLOW = 21,
    ABORTED = 22,
    UNDER_WAY = 23,
    FILE_FAILED = 24,
    NOT_ITS_TARGET = 25,
    NO_TOOL = 26
};

/// Why a device cannot be worked on. what() is for the trace log.
class Failure : public std::runtime_error {
  public:
    Failure(Reason why, const std::vector<std::string>& values)
        : std::runtime_error(inWords(why, values)),
          reason(why),
          arguments(values) {}

    Reason reason;
    std::vector<std::string> arguments;

  private:
    static std::string inWords(Reason why, const std::vector<std::string>& values) {
        std::string text = "failure " + std::to_string(why);
        for (const std::string& value : values) {
            text += (&value == &values.front() ? ": " : "; ") + value;
        }
        return text;
    }
};

} // namespace diskimage

#endif
