#include "trace_reader.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <limits>

#include "../scenario.h"

namespace kzfi_simhost {
namespace {

const std::int64_t SECOND = 1000000;

/// Walks along a line as long as it is what is asked for.
class Cursor {
  public:
    explicit Cursor(const std::string& line) : text(line) {}

    bool word(const char* expected) {
        const std::size_t length = std::strlen(expected);
        const std::size_t room = text.size() - position;
        if (text.compare(position, length, expected) == 0) {
            position += length;
            return true;
        }
        cutOff = room < length && text.compare(position, room, expected, room) == 0;
        return false;
    }

    /// Exactly width digits.
    bool digits(int width, int& number) {
        number = 0;
        for (; width > 0 && isDigit(); --width) {
            number = number * 10 + (text[position++] - '0');
        }
        cutOff = width > 0 && atEnd();
        return width == 0;
    }

    /// At least one digit.
    template <class Number>
    bool number(Number& value) {
        const std::size_t start = position;
        std::uint64_t sum = 0;
        for (; isDigit() && sum <= (std::numeric_limits<std::uint64_t>::max() - 9) / 10;
             ++position) {
            sum = sum * 10 + static_cast<std::uint64_t>(text[position] - '0');
        }
        value = static_cast<Number>(sum);
        cutOff = atEnd();
        return position > start && value == sum && !isDigit();
    }

    std::string rest() const { return text.substr(position); }
    /// Whether what was asked for last is missing because the line ends.
    bool isCutOff() const { return cutOff; }

  private:
    bool atEnd() const { return position == text.size(); }
    bool isDigit() const { return !atEnd() && text[position] >= '0' && text[position] <= '9'; }

    const std::string& text;
    std::size_t position = 0;
    bool cutOff = false;
};

/// Microseconds of the fields; false when there is no such day or time of day.
bool toTime(struct tm fields, int microseconds, std::int64_t& time) {
    struct tm same = fields;
    const std::time_t seconds = timegm(&same);
    time = static_cast<std::int64_t>(seconds) * SECOND + microseconds;
    return same.tm_mon == fields.tm_mon && same.tm_mday == fields.tm_mday &&
           same.tm_hour == fields.tm_hour && same.tm_min == fields.tm_min &&
           same.tm_sec == fields.tm_sec;
}

bool readStamp(Cursor& cursor, std::int64_t& time) {
    struct tm fields = {};
    int microseconds = 0;
    const bool complete =
        cursor.digits(4, fields.tm_year) && cursor.word("-") && cursor.digits(2, fields.tm_mon) &&
        cursor.word("-") && cursor.digits(2, fields.tm_mday) && cursor.word(" ") &&
        cursor.digits(2, fields.tm_hour) && cursor.word(":") && cursor.digits(2, fields.tm_min) &&
        cursor.word(":") && cursor.digits(2, fields.tm_sec) && cursor.word(".") &&
        cursor.digits(6, microseconds);
    fields.tm_year -= 1900;
    fields.tm_mon -= 1;
    return complete && toTime(fields, microseconds, time);
}

enum class Head {
    NONE,
    COMPLETE,
    DAMAGED, ///< a time, and something else behind it
    CUT_OFF  ///< the line ends within it
};

Head readHead(const std::string& text, TraceLine& line) {
    Cursor cursor(text);
    line.timed = !cursor.word("<time error>");
    if (line.timed && (cursor.isCutOff() || !readStamp(cursor, line.time))) {
        return cursor.isCutOff() ? Head::CUT_OFF : Head::NONE;
    }
    if (cursor.word(" <Pid - ") && cursor.number(line.process) && cursor.word(" / Thread id - ") &&
        cursor.number(line.thread) && cursor.word("> ")) {
        line.text = cursor.rest();
        return Head::COMPLETE;
    }
    return cursor.isCutOff() ? Head::CUT_OFF : Head::DAMAGED;
}

void removeLineEnds(std::string& text) {
    text.erase(text.find_last_not_of("\r\n") + 1);
}

struct tm fieldsOf(std::int64_t time) {
    // Rounded down, also before 1970.
    const std::time_t seconds = (time - (time % SECOND + SECOND) % SECOND) / SECOND;
    struct tm fields = {};
    gmtime_r(&seconds, &fields);
    return fields;
}

} // namespace

TraceReader::TraceReader(const std::string& tracePath)
    : path(tracePath),
      file(tracePath, std::ios::binary) {
    if (!file) {
        throw CannotRun(path + ": the file cannot be read: " + std::strerror(errno));
    }
}

bool TraceReader::readLine() {
    text.clear();
    int byte = EOF;
    try {
        std::streambuf& bytes = *file.rdbuf();
        for (byte = bytes.sbumpc(); byte != EOF && byte != '\n'; byte = bytes.sbumpc()) {
            if (text.size() < LONGEST) {
                text += static_cast<char>(byte);
            }
        }
    } catch (const std::ios_base::failure& failure) {
        throw CannotRun(path + ": the file cannot be read: " + failure.code().message());
    }
    if (byte == EOF && text.empty()) {
        return false;
    }
    ++lineNumber;
    lastHasEnd = byte != EOF;
    return true;
}

bool TraceReader::next(TraceLine& line) {
    while (readLine()) {
        TraceLine head;
        const Head kind = readHead(text, head);
        if (kind == Head::COMPLETE) {
            const bool complete = hasCurrent;
            std::swap(line, current);
            open(head);
            if (complete) {
                removeLineEnds(line.text);
                return true;
            }
            continue;
        }
        const bool damaged = kind == Head::DAMAGED || (kind == Head::CUT_OFF && !lastHasEnd);
        if (hasCurrent && !damaged) {
            add();
        } else if (text.find_first_not_of('\r') != std::string::npos) {
            countStranger();
        }
    }
    const bool complete = hasCurrent;
    hasCurrent = false;
    std::swap(line, current);
    removeLineEnds(line.text);
    return complete;
}

void TraceReader::open(const TraceLine& head) {
    current = head;
    hasCurrent = true;
    if (current.timed) {
        latest = current.time;
    }
    current.time = latest;
    removeLineEnds(current.text);
}

void TraceReader::add() {
    removeLineEnds(text);
    if (current.text.size() + text.size() < LONGEST) {
        current.text.append("\n").append(text);
    }
}

void TraceReader::countStranger() {
    if (strangers++ == 0) {
        firstStranger = lineNumber;
    }
}

std::string dateText(std::int64_t time) {
    char date[32];
    const struct tm fields = fieldsOf(time);
    return std::string(date, std::strftime(date, sizeof date, "%Y-%m-%d", &fields));
}

std::string clockText(std::int64_t time) {
    char clock[32];
    const struct tm fields = fieldsOf(time);
    std::snprintf(clock, sizeof clock, "%02d:%02d:%02d.%06d", fields.tm_hour, fields.tm_min,
                  fields.tm_sec, static_cast<int>((time % SECOND + SECOND) % SECOND));
    return clock;
}

} // namespace kzfi_simhost
