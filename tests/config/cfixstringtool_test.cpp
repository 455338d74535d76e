// Conversions between the reader's strings and byte strings.
#include <gmock/gmock.h>

#include <cstdlib>
#include <memory>
#include <string>

#include <xercesc/util/XMLString.hpp>

#include "cfisaxparser.h"

namespace {

using namespace kzfi_pdk_4_4;

struct Free {
    void operator()(char* text) const { std::free(text); }
};
using Bytes = std::unique_ptr<char, Free>;

std::string ascii(const std::u16string& text) {
    const Bytes form(CFiXStringTool::asciiForm(text.c_str()));
    return form == nullptr ? "null" : form.get();
}

std::u16string unicode(const char* text) {
    XMLCh* form = CFiXStringTool::unicodeForm(text);
    const std::u16string result(form);
    xercesc::XMLString::release(&form);
    return result;
}

TEST(XStringTool, GivesTextToTheReader) {
    EXPECT_EQ(unicode(""), u"");
    EXPECT_EQ(unicode("abc"), u"abc");
    EXPECT_EQ(unicode("\xC3\xA4\xF0\x9F\x98\x80"), u"\u00E4\U0001F600");
}

TEST(XStringTool, GivesNullForNull) {
    EXPECT_EQ(CFiXStringTool::unicodeForm(nullptr), nullptr);
}

TEST(XStringTool, TakesTextFromTheReaderAsUtf8) {
    EXPECT_EQ(ascii(u""), "");
    EXPECT_EQ(ascii(u"abc"), "abc");
    EXPECT_EQ(ascii(u"\u00E4\u20AC\U0001F600"), "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(ascii(std::u16string(u"ab\0cd", 5)), "ab");
}

TEST(XStringTool, TakesNullForAnEmptyText) {
    const Bytes form(CFiXStringTool::asciiForm(nullptr));
    ASSERT_NE(form, nullptr);
    EXPECT_STREQ(form.get(), "");
}

TEST(XStringTool, TakesHalfACharacterForAnEmptyText) {
    EXPECT_EQ(ascii({u'a', 0xD800, u'b'}), "");
    EXPECT_EQ(ascii({0xDC00}), "");
}

TEST(XStringTool, TakesLongTexts) {
    EXPECT_EQ(ascii(std::u16string(100000, u'\u00E4')).size(), 200000u);
    EXPECT_EQ(unicode(std::string(100000, 'x').c_str()).size(), 100000u);
}

} // namespace
