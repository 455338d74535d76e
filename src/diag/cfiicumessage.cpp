#include <unicode/msgfmt.h>

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "cfiicucatalog.h"
#include "cfistringtool.h"
#include "kzfi_portable.h"

namespace kzfi_pdk_4_4 {

namespace {

// Bounds what is formatted; values and closing tags are appended whole.
const std::size_t PIECE_SIZE = 1024;

const char CLOSING_TAG[] = "</ARGVALUE>";

// The elements of a value of array kind; none for any other kind.
const icu::Formattable* elementsOf(const icu::Formattable& array, std::int32_t& count) {
    UErrorCode status = U_ZERO_ERROR;
    count = 0;
    return array.getArray(count, status);
}

// Leaves array as it is when there is no memory.
void setElements(icu::Formattable& array, const std::vector<icu::Formattable>& values) {
    const std::int32_t count = static_cast<std::int32_t>(values.size());
    icu::Formattable* const elements = new icu::Formattable[values.size()];
    if (elements != nullptr) {
        for (std::int32_t i = 0; i < count; ++i) {
            elements[i] = values[static_cast<std::size_t>(i)];
        }
        array.adoptArray(elements, count);
    }
}

std::string valueText(const icu::Formattable& value) {
    switch (value.getType()) {
    case icu::Formattable::kDate:
        return CFiStringTool::double2str(value.getDate());
    case icu::Formattable::kDouble:
        return CFiStringTool::double2str(value.getDouble());
    case icu::Formattable::kLong:
        return CFiStringTool::int2str(static_cast<int>(value.getLong()));
    case icu::Formattable::kString: {
        icu::UnicodeString text = value.getString();
        return CFiStringTool::ustr2str(text);
    }
    default:
        return std::string();
    }
}

// A 64-bit integer, an array and an object have no value text and are left out, as is what is of
// no known type.
void appendValue(std::vector<icu::Formattable>& values, int type, const std::string& text) {
    switch (type) {
    case icu::Formattable::kDate: // comes back as a plain double, on purpose
    case icu::Formattable::kDouble:
        values.emplace_back(CFiStringTool::str2double(text));
        break;
    case icu::Formattable::kLong:
        values.emplace_back(static_cast<std::int32_t>(CFiStringTool::str2int(text)));
        break;
    case icu::Formattable::kString:
        values.emplace_back(CFiStringTool::str2ustr(text));
        break;
    default:
        break;
    }
}

// Reads a tag by the rules of scanf, but only as far as the tag goes: scanf itself measures all
// the text behind it each time, which makes reading quadratic.
class TagReader {
  public:
    explicit TagReader(const char* text) : at(text) {}

    // A blank in expected stands for any run of white space, also none.
    bool literal(const char* expected) {
        for (; *expected != '\0'; ++expected) {
            if (*expected == ' ') {
                skipBlanks();
            } else if (*at == *expected) {
                ++at;
            } else {
                return false;
            }
        }
        return true;
    }

    // As "%1023s".
    bool word(std::string& result) {
        skipBlanks();
        const char* const begin = at;
        while (*at != '\0' && !isBlank(*at) &&
               static_cast<std::size_t>(at - begin) < PIECE_SIZE - 1) {
            ++at;
        }
        result.assign(begin, at);
        return at != begin;
    }

    // As "%d"; a number that is too large is cut to 32 bits.
    bool number(int& result) {
        char* end = nullptr;
        const long value = std::strtol(at, &end, 10);
        if (end == at) {
            return false;
        }
        at = end;
        result = static_cast<int>(static_cast<std::uint32_t>(value));
        return true;
    }

  private:
    static bool isBlank(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }
    void skipBlanks() {
        while (isBlank(*at)) {
            ++at;
        }
    }

    const char* at;
};

const int UNKNOWN_TYPE = -1;

int readType(const char* text) {
    TagReader tag(text);
    int index = 0;
    int type = UNKNOWN_TYPE;
    if (tag.literal("<ARGVALUE INDEX=") && tag.number(index) && tag.literal(" TYPE=")) {
        tag.number(type);
    }
    return type;
}

// The position, unless the text ends before it.
std::size_t within(const std::string& text, std::size_t position) {
    if (position > text.size()) {
        throw std::out_of_range("basic_string::substr");
    }
    return position;
}

// Reads the arguments in the order of the text, the first one at position. Their indices do not
// count.
std::vector<icu::Formattable> readArguments(const std::string& text, std::size_t position) {
    std::vector<icu::Formattable> values;
    while (position != std::string::npos) {
        const int type = readType(text.c_str() + position);
        const std::size_t begin = within(text, text.find('>', position)) + 1;
        const std::size_t end = within(text, text.find('<', begin));
        // Whatever stands there counts as the closing tag.
        const std::size_t next = within(text, end + sizeof CLOSING_TAG - 1);
        appendValue(values, type, text.substr(begin, end - begin));
        position = text.find("<ARGVALUE", next);
    }
    return values;
}

} // namespace

CFiIcuMessage::CFiIcuMessage() : msgInfo() {
    setElements(arguments, {});
}

CFiIcuMessage::CFiIcuMessage(const std::string& id, kfi_eseverity newSeverity,
                             const std::string& file, int line,
                             const std::vector<icu::Formattable>& newArguments)
    : CFiMessage(id, newSeverity, file, line),
      msgInfo() {
    setElements(arguments, newArguments);
}

CFiIcuMessage::~CFiIcuMessage() = default;

kfi_msg_info* CFiIcuMessage::serialize() {
    std::int32_t count = 0;
    const icu::Formattable* const values = elementsOf(arguments, count);
    serializedText.clear();
    if (count > 0) {
        char piece[PIECE_SIZE];
        K_snprintf(piece, sizeof piece, "<SERIALIZED_MESSAGE MSGID=%s SEVERITY=%d>\n",
                   messageId.c_str(), severity);
        serializedText += piece;
        for (std::int32_t i = 0; i < count; ++i) {
            K_snprintf(piece, sizeof piece, "\t<ARGVALUE INDEX=%d TYPE=%d>", i,
                       static_cast<int>(values[i].getType()));
            serializedText += piece;
            serializedText += valueText(values[i]);
            serializedText += CLOSING_TAG;
            serializedText += '\n';
        }
        serializedText += "</SERIALIZED_MESSAGE>\n";
    }
    msgInfo.text = serializedText.c_str();
    msgInfo.length = static_cast<std::uint32_t>(serializedText.size());
    return &msgInfo;
}

void CFiIcuMessage::deserialize(const kfi_msg_info* info) {
    if (info == nullptr || info->text == nullptr) {
        return;
    }
    // Both searches go for any one character of the set, not for the word; kept so on purpose.
    const char* const header = std::strpbrk(info->text, "<SERIALIZED_MESSAGE");
    if (header == nullptr) {
        return;
    }
    const std::string text(header);
    std::string key;
    TagReader tag(text.c_str());
    if (tag.literal("<SERIALIZED_MESSAGE MSGID=") && tag.word(key) && tag.literal(" SEVERITY=")) {
        tag.number(severity);
    }
    messageId = key;
    setElements(arguments, readArguments(text, text.find_first_of("<ARGVALUE", text.find('>'))));
}

tstring CFiIcuMessage::formatMessage(tstring pattern) {
    std::int32_t count = 0;
    const icu::Formattable* const values = elementsOf(arguments, count);
    icu::UnicodeString result;
    UErrorCode status = U_ZERO_ERROR;
    icu::MessageFormat::format(CFiStringTool::tstr2ustr(pattern), values, count, result, status);
    if (U_FAILURE(status) && result.isEmpty()) {
        return pattern;
    }
    return CFiStringTool::ustr2tstr(result);
}

} // namespace kzfi_pdk_4_4
