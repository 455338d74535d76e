// Small text jobs: conversions between the string types, numbers, hexadecimal, trimming, XML.
#ifndef CFISTRINGTOOL_H
#define CFISTRINGTOOL_H

#include <unicode/unistr.h>

#include <string>
#include <vector>

#include "kzfi_pdk.h"

namespace kzfi_pdk_4_4 {

/// Static operations on the four string types that meet in the kit: std::string, std::wstring,
/// tstring and ICU's UnicodeString. ICU texts travel as UTF-8; conversions between bytes and wide
/// characters, classes of characters, letter case and the decimal point follow the C locale that
/// the process has set.
///
/// Results are new strings. A NUL inside a text ends it for conversions to another type, also those
/// inside wstr2binary() and wstr2uid(), for tstrdup(), the readers of numbers, tokenize(),
/// isIpAddress() and the XML escaping both ways; it ends the result of searchreplace(). Everything
/// else works on the whole length. C strings as arguments end at their NUL.
///
/// Threads: no state; any thread may call while none changes the locale.
/// Ownership: C buffers that are handed out belong to the caller.
/// Errors: nothing is thrown but std::bad_alloc. A conversion that fails gives an empty text, also
/// where kzfi_alloc_buf() has no memory; the duplicators then give null.
class KZFI_PDK_API CFiStringTool {
  public:
    CFiStringTool() = delete;

    // ---- Between string types ----

    /// Bytes to wide characters.
    static std::wstring str2wstr(const std::string& text);
    static std::wstring mbs2wcs(const std::string& text);
    static std::wstring str2wstr(const std::wstring& text);

    /// Wide characters to bytes: at most two bytes for each character of text plus two, cut there
    /// at a whole character.
    static std::string wstr2str(const std::wstring& text);
    static std::string wcs2mbs(const std::wstring& text);
    static std::string wstr2str(const std::string& text);

    /// Up to the first NUL; to and from wide characters as above.
    static std::string tstr2str(const tstring& text);
    static tstring str2tstr(const std::string& text);
    static std::wstring tstr2wstr(const tstring& text);
    static tstring wstr2tstr(const std::wstring& text);

    /// ICU to UTF-8; the text is NUL-terminated in place. Empty for an unpaired surrogate.
    static std::string ustr2str(icu::UnicodeString& text);
    static tstring ustr2tstr(icu::UnicodeString& text);

    /// UTF-8 to ICU; empty for bytes that are not UTF-8.
    static icu::UnicodeString str2ustr(const std::string& text);
    static icu::UnicodeString tstr2ustr(const tstring& text);

    // ---- C buffers ----

    /// A copy with its NUL in a buffer of kzfi_alloc_buf(); null without memory. The caller gives
    /// it back with kzfi_free_buf() and its size, length + 1 bytes or, wide, 4 x length + 4, or
    /// with free(). The length is that of the whole text, in tstrdup() that up to the first NUL.
    static char* strdup(const std::string& text);
    static wchar_t* wstrdup(const std::wstring& text);
    static char* tstrdup(const tstring& text);

    /// A NULL-terminated array, from malloc(), of copies made by tstrdup(); null without memory.
    static char** tstrduplist(const std::vector<tstring>& texts);

    /// Releases such an array and its elements, all with free(), and sets list to null; a null list
    /// is left alone.
    static void tstrfreelist(char**& list);

    // ---- Numbers ----

    /// As decimal numbers.
    static std::string int2str(int number);
    static std::string int2str(long number);
    static std::string uint2str(unsigned int number);
    static std::string uint2str(unsigned long number);
    static std::wstring int2wstr(int number);
    static std::wstring int2wstr(long number);
    static std::wstring uint2wstr(unsigned int number);
    static std::wstring uint2wstr(unsigned long number);
    /// As "%g", as "%f".
    static std::string double2str(double number);
    static std::string float2str(float number);
    static std::string bool2str(bool value);

    /// Read the decimal number that text begins with, after blanks; a text without one gives 0,
    /// what follows is ignored. Return 0, or -1 for an empty text, which leaves number alone.
    ///
    /// str2int() and str2uint() both read a long, which stops at its limits, and keep its lower 32
    /// bits: 4294967297 gives 1. That the unsigned form reads a signed number is kept on purpose.
    /// str2uint64() stops at the greatest number, and a minus wraps: -1 is the greatest number.
    /// str2double() reads what strtod() does.
    static int str2int(const std::string& text, int& number);
    static int str2uint(const std::string& text, unsigned int& number);
    static int str2uint64(const std::string& text, unsigned long& number);
    static int str2double(const std::string& text, double& number);

    /// The same, returning the number; 0 for an empty text.
    static int str2int(const std::string& text);
    static unsigned int str2uint(const std::string& text);
    static double str2double(const std::string& text);

    // ---- Hexadecimal ----

    /// Two lower-case digits for each byte; empty for a length below 1.
    static std::string binary2str(unsigned char* data, int length);
    static std::wstring binary2wstr(unsigned char* data, int length);

    /// Bytes from pairs of digits; an odd last digit is ignored, a pair that is no number gives
    /// what strtol reads in it. *outLength is the room in out and becomes the number of bytes
    /// written. Returns 0, or -1 and changes nothing when the room is too small; a text without a
    /// pair needs none. The bool is not used.
    static int str2binary(unsigned char* out, int* outLength, const std::string& hex);
    static int wstr2binary(unsigned char* out, int* outLength, std::wstring hex, bool unused);

    /// prefix in at least four digits, then the bytes in hexadecimal. The two forms that take a
    /// text write a byte of 0x80 and above sign-extended, in eight digits.
    static std::wstring binary2uid(unsigned int prefix, unsigned char* data, int length);
    static std::string str2uid(unsigned int prefix, const std::string& text);
    static std::string wstr2uid(unsigned int prefix, const std::wstring& text);

    // ---- Editing ----

    /// Without the leading, the trailing, both runs of characters of delims; null delims: a copy.
    static std::string ltrim(const std::string& text, const char* delims = " \n\t\r");
    static std::string rtrim(const std::string& text, const char* delims = " \n\t\r");
    static std::string trim(const std::string& text, const char* delims = " \n\t\r");

    /// source with every search, from left to right and without overlap, replaced. An empty search
    /// replaces nothing.
    static std::string searchreplace(const std::string& source, const std::string& search,
                                     const std::string& replace);

    /// In upper or lower case.
    static std::string tostrupper(const std::string& text);
    static std::wstring tostrupper(const std::wstring& text);
    static std::string tostrlower(const std::string& text);
    static std::wstring tostrlower(const std::wstring& text);

    // ---- Tests and searches ----

    /// Nothing but the digits 0 to 9; true for an empty text.
    static bool isDigit(const std::string& text);

    /// Equal but for the case of letters.
    static bool CompareNoCase(const std::string& a, const std::string& b);
    static bool CompareNoCase(const std::wstring& a, const std::wstring& b);

    /// Four numbers between dots; neither their range nor empty parts are checked.
    static bool isIpAddress(const std::string& text);

    /// The parts of text between characters of delims, without empty ones.
    static std::vector<std::string> tokenize(const std::string& text, const std::string& delims);

    /// The first element from index on that holds needle, looked at without its trailing blanks
    /// when trimmed. Returns the position of needle in it and sets index to the element; -1 when
    /// there is none, with index set to the size of the list unless it was beyond already. A null
    /// needle is in no element.
    static long find(const std::vector<std::string>& list, const char* needle, unsigned long& index,
                     bool trimmed);

    // ---- XML ----

    /// The tag of name, which is not escaped: an opening or a closing one, and a newline on demand.
    static std::string xmlBracket(std::string name, bool open, bool newline);

    /// A tab, the escaped value between its two tags and a newline.
    static std::string xmlBracketValue(std::string name, std::string value);

    /// & < > " ' to &amp; &lt; &gt; &quot; &#39; and back; no other entity is read.
    static std::string convertToXmlSpecialCharacters(const std::string& text);
    static std::string convertFromXmlSpecialCharacters(const std::string& text);
};

} // namespace kzfi_pdk_4_4

#endif
