#include "cficredentials.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <type_traits>
#include <vector>

#include "cficonfiguration.h"
#include "kzfi_platform_control.h"
#include "support/temp_dir.h"
#include "support/trace_capture.h"

using namespace kzfi_pdk_4_4;
using kzfi_tests::TempDir;
using kzfi_tests::TraceCapture;
using kzfi_tests::TracedLine;
using kzfi_tests::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using testing::UnorderedElementsAre;

// One trace log, also for an object that is both.
struct ConfiguredParser : CFiConfiguration, CFiCredentialsParser {};
static_assert(std::is_convertible<ConfiguredParser*, CFiTraceable*>::value, "");
static_assert(std::has_virtual_destructor<CFiCredentialsParser>::value, "");
static_assert(!std::is_copy_constructible<CFiCredentialsParser>::value, "");

namespace {

// The first line of every parse; the only line where the host has no text.
const TracedLine PARSING = {6, "CFiCredentialsParser::parse - parsing credentails"};
const TracedLine NO_TEXT = {3, " CFiCredentialsParser::parse - No credentials found."};

std::string shown(const SFiCredential& credential) {
    return std::string(credential.hostname.c_str()) + "|" + credential.username.c_str() + "|" +
           credential.password.c_str() + "|" + std::to_string(credential.port) + "|" +
           credential.data.c_str();
}

std::vector<std::string> shown(const std::vector<SFiCredential>& credentials) {
    std::vector<std::string> texts;
    for (const SFiCredential& credential : credentials) {
        texts.push_back(shown(credential));
    }
    return texts;
}

std::string section(const std::string& arrayType, const std::string& arrayName = "cellar") {
    return "[STORAGE_MANAGEMENT_SERVICE\\" + arrayType + "\\" + arrayName + "]\n";
}

std::string login(const std::string& host, const std::string& user, const std::string& password) {
    return "\"HOSTNAME\"=\"" + host + "\"\n\"USERNAME\"=\"" + user + "\"\n\"PASSWORD\"=\"" +
           password + "\"\n";
}

// A complete section of the array type that the tests ask for, with more lines at its end.
std::string cellar(const std::string& more = "") {
    return section("ACME_BIGDISK") + login("cellar", "admin", "secret") + more;
}

// A section of an open array, with these lines only.
std::string openCellar(const std::string& lines) {
    return section("ACME_BIGDISK_OPENARRAY") + lines;
}

TracedLine adding(const std::string& host, const std::string& user) {
    return {3, "INFO: adding array credentials for: vendor ACME, product BIGDISK, server " + host +
                   ", username " + user};
}

class CFiCredentialsTest : public testing::Test {
  protected:
    CFiCredentialsTest() {
        kzfi_platform_reset();
        parser.registerTraceLog(trace.log());
    }
    ~CFiCredentialsTest() override { kzfi_platform_reset(); }

    // What the parser finds for ACME's BIGDISK, complete credentials of other than open arrays.
    std::vector<std::string> parse(const std::string& text) { return parse(text, false); }
    // The same for open arrays.
    std::vector<std::string> parseOpen(const std::string& text) { return parse(text, true); }
    std::vector<std::string> parse(const std::string& text, bool openArray,
                                   const std::string& vendor = "ACME",
                                   const std::string& product = "BIGDISK") {
        std::vector<SFiCredential> found;
        EXPECT_EQ(0, parser.parse(text, vendor, product, found, openArray));
        return shown(found);
    }
    // The level 2 lines since the last look at the trace.
    std::vector<TracedLine> warnings() {
        std::vector<TracedLine> lines = trace.lines();
        lines.erase(std::remove_if(lines.begin(), lines.end(),
                                   [](const TracedLine& line) { return line.level != 2; }),
                    lines.end());
        return lines;
    }

    static void hostHas(const std::string& text) {
        kzfi_platform_set_credentials(text.data(), text.size());
    }

    TraceCapture trace;
    CFiCredentialsParser parser;
};

const std::string CELLAR = "cellar|admin|secret|-1|";

TEST_F(CFiCredentialsTest, FreshRecordSaysNothing) {
    EXPECT_EQ("|||-1|", shown(SFiCredential()));
}

// ---- Quotes ----

TEST_F(CFiCredentialsTest, QuotesAreRemovedByPosition) {
    const struct {
        const char* text;
        bool removed;
        const char* result;
    } cases[] = {
        {"\"abc\"", true, "abc"},      {"\"\"", true, ""},
        {"\"abc\" tail", true, "abc"}, {"\"a\"b\"", true, "a\"b"},
        {"abc\"", true, "bc"},         {" \"abc\"", true, "\"abc"},
        {"  \"abc\"", true, " \"abc"}, {"", false, ""},
        {"abc", false, "abc"},         {"\"", false, ""},
        {"\"abc", false, "abc"},
    };
    for (const auto& quoted : cases) {
        std::string text = quoted.text;
        EXPECT_EQ(quoted.removed, parser.removeQuotes(text)) << quoted.text;
        EXPECT_EQ(quoted.result, text) << quoted.text;
    }
    EXPECT_THAT(trace.all(), IsEmpty());
}

// ---- The host's text ----

TEST_F(CFiCredentialsTest, HostWithoutATextIsToldAndNoFailure) {
    std::vector<SFiCredential> found(1);
    EXPECT_EQ(0, parser.parse("ACME", "BIGDISK", found, false));
    EXPECT_THAT(found, SizeIs(1));
    EXPECT_THAT(trace.all(), ElementsAre(NO_TEXT));
    EXPECT_EQ(0u, kzfi_platform_get_counts().given_back);
}

TEST_F(CFiCredentialsTest, HostTextIsParsedAndGivenBack) {
    hostHas(cellar());
    std::vector<SFiCredential> found;
    EXPECT_EQ(0, parser.parse("ACME", "BIGDISK", found, false));
    EXPECT_THAT(shown(found), ElementsAre(CELLAR));
    EXPECT_THAT(trace.all(), ElementsAre(PARSING, adding("cellar", "admin")));
    const kzfi_platform_counts counts = kzfi_platform_get_counts();
    EXPECT_EQ(1u, counts.taken);
    EXPECT_EQ(1u, counts.given_back);
    EXPECT_EQ(0u, counts.wrong_size);
}

TEST_F(CFiCredentialsTest, HostTextIsAskedForTheRightKind) {
    hostHas(cellar() + openCellar(login("open", "o", "p")));
    std::vector<SFiCredential> found;
    parser.parse("ACME", "BIGDISK", found, true);
    EXPECT_THAT(shown(found), ElementsAre("open|o|p|-1|"));
}

TEST_F(CFiCredentialsTest, HostTextEndsAtItsFirstNul) {
    hostHas(cellar() + std::string(1, '\0') + "\n" + cellar());
    std::vector<SFiCredential> found;
    parser.parse("ACME", "BIGDISK", found, false);
    EXPECT_THAT(found, SizeIs(1));
}

TEST_F(CFiCredentialsTest, EmptyHostTextIsParsed) {
    hostHas("");
    std::vector<SFiCredential> found;
    EXPECT_EQ(0, parser.parse("ACME", "BIGDISK", found, false));
    EXPECT_THAT(found, IsEmpty());
    EXPECT_THAT(trace.all(), ElementsAre(PARSING));
}

TEST_F(CFiCredentialsTest, HostWithoutMemoryHasNoText) {
    hostHas(cellar());
    kzfi_platform_fail_alloc(1);
    std::vector<SFiCredential> found;
    EXPECT_EQ(0, parser.parse("ACME", "BIGDISK", found, false));
    EXPECT_THAT(found, IsEmpty());
}

// ---- Sections ----

TEST_F(CFiCredentialsTest, CompleteSectionIsFound) {
    EXPECT_THAT(parse(cellar("\"PORT\"=dword:00000016\n\"DATA\"=\"site 2\"\n")),
                ElementsAre("cellar|admin|secret|16|site 2"));
    EXPECT_THAT(trace.all(), ElementsAre(PARSING, adding("cellar", "admin")));
}

TEST_F(CFiCredentialsTest, FoundCredentialsAreAppended) {
    std::vector<SFiCredential> found(1);
    EXPECT_EQ(0, parser.parse(cellar(), "ACME", "BIGDISK", found, false));
    EXPECT_THAT(shown(found), ElementsAre("|||-1|", CELLAR));
}

TEST_F(CFiCredentialsTest, SectionLineHasExactlyThreeParts) {
    const struct {
        const char* line;
        bool accepted;
    } cases[] = {
        {"[STORAGE_MANAGEMENT_SERVICE\\ACME_BIGDISK\\cellar]", true},
        {"[storage_Management_SERVICE\\ACME_BIGDISK\\cellar]", true},
        {"[STORAGE_MANAGEMENT_SERVICE\\ACME_BIGDISK\\cellar]\r", true},
        {" \t[STORAGE_MANAGEMENT_SERVICE\\\\ACME_BIGDISK\\cellar] ", true},
        {"STORAGE_MANAGEMENT_SERVICE ACME_BIGDISK\tcellar[]", true},
        {"]STORAGE_MANAGEMENT_SERVICE[ACME_BIGDISK\\cellar", true},
        {"[STORAGE_MANAGEMENT_SERVICE\\ACME_BIGDISK]", false},
        {"[STORAGE_MANAGEMENT_SERVICE\\ACME_BIGDISK\\cellar\\2]", false},
        {"[STORAGE_MANAGEMENT_SERVICE\\ACME_BIGDISK\\my cellar]", false},
        {"[STORAGE_MANAGEMENT_SERVICE\\ACME BIGDISK\\cellar]", false},
        {"[STORAGE_MANAGEMENT\\ACME_BIGDISK\\cellar]", false},
        {"[STORAGE_MANAGEMENT_SERVICES\\ACME_BIGDISK\\cellar]", false},
        {"[]", false},
        {"STORAGE_MANAGEMENT_SERVICE\\ACME_BIGDISK\\cellar", false},
        {"[STORAGE_MANAGEMENT_SERVICE\\ACME_BIGDISK\\cellar", false},
    };
    for (const auto& line : cases) {
        const std::string text = std::string(line.line) + "\n" + login("h", "u", "p");
        EXPECT_THAT(parse(text), SizeIs(line.accepted ? 1 : 0)) << line.line;
        EXPECT_THAT(warnings(), IsEmpty()) << line.line;
    }
}

TEST_F(CFiCredentialsTest, TwoPartSectionIsIgnoredWithItsValues) {
    EXPECT_THAT(parse("[STORAGE_MANAGEMENT_SERVICE\\ACME_BIGDISK]\n" + login("h", "u", "p")),
                IsEmpty());
    EXPECT_THAT(trace.all(), ElementsAre(PARSING));
    EXPECT_THAT(
        parseOpen("[STORAGE_MANAGEMENT_SERVICE\\ACME_BIGDISK_OPENARRAY]\n" + login("h", "u", "p")),
        IsEmpty());
    EXPECT_THAT(trace.all(), ElementsAre(PARSING));
}

TEST_F(CFiCredentialsTest, ArrayTypeHoldsVendorAndProduct) {
    const struct {
        const char* vendor;
        const char* product;
        bool accepted;
    } cases[] = {
        {"ACME", "BIGDISK", true},    {"CM", "DISK", true},          {"BIGDISK", "ACME", true},
        {"ACME_BIGDISK", "", true},   {"", "BIGDISK", true},         {"", "", true},
        {"acme", "BIGDISK", false},   {"ACME", "bigdisk", false},    {"OTHER", "BIGDISK", false},
        {"ACME", "SMALLDISK", false}, {"STORAGE", "BIGDISK", false}, {"ACME", "cellar", false},
    };
    for (const auto& asked : cases) {
        EXPECT_THAT(parse(cellar(), false, asked.vendor, asked.product),
                    SizeIs(asked.accepted ? 1 : 0))
            << asked.vendor << " " << asked.product;
    }
}

TEST_F(CFiCredentialsTest, OpenArraysAreSkippedUnlessAskedFor) {
    EXPECT_THAT(parse(openCellar(login("h", "u", "p"))), IsEmpty());
    EXPECT_THAT(trace.all(), ElementsAre(PARSING, TracedLine{3, "INFO: Skipping OPENARRAY "
                                                                "credentials section "
                                                                "'[STORAGE_MANAGEMENT_SERVICE\\"
                                                                "ACME_BIGDISK_OPENARRAY\\"
                                                                "cellar]'"}));
}

TEST_F(CFiCredentialsTest, OthersAreSkippedWhenOpenArraysAreAskedFor) {
    EXPECT_THAT(parseOpen(cellar()), IsEmpty());
    EXPECT_THAT(trace.all(), ElementsAre(PARSING, TracedLine{3, "INFO: Skipping non OPENARRAY "
                                                                "credentials section "
                                                                "'[STORAGE_MANAGEMENT_SERVICE\\"
                                                                "ACME_BIGDISK\\cellar]'"}));
}

TEST_F(CFiCredentialsTest, OpenArrayIsALiteralPartOfTheArrayType) {
    EXPECT_THAT(parse(section("ACME_BIGDISK_OpenArray") + login("h", "u", "p")), SizeIs(1));
    EXPECT_THAT(parse(section("ACME_BIGDISK", "OPENARRAY") + login("h", "u", "p")), SizeIs(1));
    EXPECT_THAT(parse(section("ACMEOPENARRAYBIGDISK") + login("h", "u", "p")), IsEmpty());
}

TEST_F(CFiCredentialsTest, KindIsLookedAtAfterVendorAndProduct) {
    parse(section("OTHER_BIGDISK_OPENARRAY"));
    parse(section("ACME_OTHER_OPENARRAY"));
    EXPECT_THAT(trace.all(), ElementsAre(PARSING, PARSING));
}

TEST_F(CFiCredentialsTest, IncompleteSectionIsNotFoundAndNamesTheVendor) {
    const TracedLine skipping = {2, "WARNING: skipping invalid credentials for vendor ACME"};
    const char* const incomplete[] = {
        "",
        "\"USERNAME\"=\"u\"\n\"PASSWORD\"=\"p\"\n",
        "\"HOSTNAME\"=\"h\"\n\"PASSWORD\"=\"p\"\n",
        "\"HOSTNAME\"=\"h\"\n\"USERNAME\"=\"u\"\n",
        "\"HOSTNAME\"=\"h\"\n\"USERNAME\"=\"u\"\n\"PASSWORD\"=\"\"\n",
    };
    for (const char* lines : incomplete) {
        EXPECT_THAT(parse(section("ACME_BIGDISK") + lines), IsEmpty()) << lines;
        EXPECT_THAT(trace.all(), ElementsAre(PARSING, skipping)) << lines;
    }
}

TEST_F(CFiCredentialsTest, IncompleteOpenArrayIsFound) {
    EXPECT_THAT(parseOpen(openCellar("")), ElementsAre("|||-1|"));
    EXPECT_THAT(trace.all(), ElementsAre(PARSING, adding("", "")));
    EXPECT_THAT(parseOpen(openCellar("\"DATA\"=\"d\"\n")), ElementsAre("|||-1|d"));
}

TEST_F(CFiCredentialsTest, EverySectionStartsAfresh) {
    const std::string ported = "\"PORT\"=dword:00000016\n\"DATA\"=\"d\"\n";
    EXPECT_THAT(parse(cellar(ported) + cellar()), ElementsAre("cellar|admin|secret|16|d", CELLAR));
    EXPECT_THAT(parse(cellar() + section("ACME_BIGDISK")), ElementsAre(CELLAR));
}

TEST_F(CFiCredentialsTest, RefusedSectionEndsTheOneBefore) {
    EXPECT_THAT(parse(cellar() + section("OTHER") + login("h", "u", "p")), ElementsAre(CELLAR));
    EXPECT_THAT(parse(section("OTHER") + login("h", "u", "p") + cellar()), ElementsAre(CELLAR));
    EXPECT_THAT(parse(section("ACME_BIGDISK") + section("OTHER") + login("h", "u", "p")),
                IsEmpty());
}

TEST_F(CFiCredentialsTest, RefusedSectionIsNotTakenForAnEmptyOne) {
    EXPECT_THAT(parseOpen(section("OTHER") + openCellar("")), ElementsAre("|||-1|"));
    EXPECT_THAT(parse(section("OTHER")), IsEmpty());
    EXPECT_THAT(warnings(), IsEmpty());
}

TEST_F(CFiCredentialsTest, SameArrayTwiceIsFoundTwice) {
    EXPECT_THAT(parse(cellar() + cellar()), ElementsAre(CELLAR, CELLAR));
}

TEST_F(CFiCredentialsTest, BracketsInAValueEndTheSection) {
    EXPECT_THAT(parse(cellar("\"DATA\"=\"a[1]\"\n\"PORT\"=dword:00000016\n")), ElementsAre(CELLAR));
    EXPECT_THAT(warnings(), IsEmpty());
}

TEST_F(CFiCredentialsTest, OneBracketInAValueIsPartOfIt) {
    EXPECT_THAT(parse(cellar("\"DATA\"=\"a[1\"\n")), ElementsAre("cellar|admin|secret|-1|a[1"));
    EXPECT_THAT(parse(cellar("\"DATA\"=\"a]1\"\n")), ElementsAre("cellar|admin|secret|-1|a]1"));
}

// ---- Lines ----

TEST_F(CFiCredentialsTest, TextWithoutSectionsHasNoCredentials) {
    for (const char* text : {"", "\n", "\n\n\n", "no such thing", "\"HOSTNAME\"=\"h\"\n", "=\n"}) {
        EXPECT_THAT(parse(text), IsEmpty()) << text;
        EXPECT_THAT(parseOpen(text), IsEmpty()) << text;
        EXPECT_THAT(trace.all(), ElementsAre(PARSING, PARSING)) << text;
    }
}

TEST_F(CFiCredentialsTest, EmptyLinesAndLinesWithoutEqualsAreIgnored) {
    EXPECT_THAT(parse("\n\n" + section("ACME_BIGDISK") + "\nwords\n\"PASSWORD\"\n\n" +
                      login("cellar", "admin", "secret") + "\n"),
                ElementsAre(CELLAR));
    EXPECT_THAT(warnings(), IsEmpty());
}

TEST_F(CFiCredentialsTest, LastLineNeedsNoNewline) {
    const std::string text = cellar();
    EXPECT_THAT(parse(text.substr(0, text.size() - 1)), ElementsAre(CELLAR));
}

TEST_F(CFiCredentialsTest, CarriageReturnsDoNotHurtQuotedValues) {
    std::string text = cellar();
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += 2) {
        text.insert(at, "\r");
    }
    EXPECT_THAT(parse(text), ElementsAre(CELLAR));
    EXPECT_THAT(warnings(), IsEmpty());
}

TEST_F(CFiCredentialsTest, ValuesAreReadAsTheyStand) {
    const struct {
        const char* line;
        const char* record;
    } cases[] = {
        {"\"HOSTNAME\"=\"h\"", "h|||-1|"},
        {"\"USERNAME\"=\"u\"", "|u||-1|"},
        {"\"PASSWORD\"=\"p\"", "||p|-1|"},
        {"\"DATA\"=\"d\"", "|||-1|d"},
        {"\"PASSWORD\"=\"a=b\"", "||a=b|-1|"},
        {"\"PASSWORD\"=\"a\"b\"", "||a\"b|-1|"},
        {"\"PASSWORD\"=\" \"", "|| |-1|"},
        {"\"PASSWORD\"=\"\"", "|||-1|"},
        {"\"PASSWORD\"= \"p\"", "||\"p|-1|"},
        {"\"PASSWORD\"=\"one dword:two\"", "||two\"|-1|"},
        {"\"PASSWORD\"=\"one dword:two dword:\"", "||two dword:\"|-1|"},
        {"\"PASSWORD\"=dword:", "|||-1|"},
        {"\"HOSTNAME\"=dword:000001ff", "000001ff|||-1|"},
        {"\"PASSWORD\" =\"p\"", "||p|-1|"},
        {"x\"PASSWORD\"=\"p\"", "|||-1|"},
        {" \"PASSWORD\"=\"p\"", "|||-1|"},
        {"\"password\"=\"p\"", "|||-1|"},
        {"\"Hostname\"=\"h\"", "|||-1|"},
        {"\"PASSWORDS\"=\"p\"", "|||-1|"},
        {"\"COLOUR\"=\"blue\"", "|||-1|"},
        {"\"COLOUR\"=dword:blue", "|||-1|"},
        {"\"\"=\"\"", "|||-1|"},
    };
    for (const auto& value : cases) {
        EXPECT_THAT(parseOpen(openCellar(std::string(value.line) + "\n")),
                    ElementsAre(value.record))
            << value.line;
        EXPECT_THAT(warnings(), IsEmpty()) << value.line;
    }
}

TEST_F(CFiCredentialsTest, PortIsADecimalNumber) {
    const struct {
        const char* value;
        int port;
    } cases[] = {
        {"dword:00000016", 16}, {"dword:0", 0},        {"dword:2147483647", 2147483647},
        {"\"22\"", 22},         {"\"\"", -1},          {"dword:", -1},
        {"\"dword:22", 22},     {"junk dword:22", 22},
    };
    for (const auto& value : cases) {
        EXPECT_THAT(parse(cellar(std::string("\"PORT\"=") + value.value + "\n")),
                    ElementsAre("cellar|admin|secret|" + std::to_string(value.port) + "|"))
            << value.value;
        EXPECT_THAT(warnings(), IsEmpty()) << value.value;
    }
}

TEST_F(CFiCredentialsTest, PortOfOtherThanDigitsIsWarnedOf) {
    const struct {
        const char* value;
        const char* shown;
    } cases[] = {
        {"dword:0000001f", "0000001f"},
        {"dword:0000000a", "0000000a"},
        {"dword:00000016\r", "00000016\r"},
        {"dword:16 ", "16 "},
        {"dword:-1", "-1"},
        {"\"ssh\"", "ssh"},
        {"\"dword:22\"", "22\""},
    };
    for (const auto& value : cases) {
        EXPECT_THAT(parse(cellar(std::string("\"PORT\"=") + value.value + "\n")),
                    ElementsAre(CELLAR))
            << value.value;
        EXPECT_THAT(warnings(),
                    ElementsAre(TracedLine{2, std::string("WARNING: Invalid dword value '") +
                                                  value.shown + "' for key section 'PORT'"}));
    }
}

TEST_F(CFiCredentialsTest, LastGoodValueCounts) {
    EXPECT_THAT(parse(cellar("\"USERNAME\"=\"root\"\n\"PORT\"=\"1\"\n\"PORT\"=\"2\"\n"
                             "\"PORT\"=\"three\"\n")),
                ElementsAre("cellar|root|secret|2|"));
}

TEST_F(CFiCredentialsTest, NameWithoutQuotesIsWarnedOf) {
    for (const char* line : {"HOSTNAME=\"h\"", "=", "\"HOSTNAME=\"h\"", "\"=\"", "a = b = c"}) {
        EXPECT_THAT(parse(cellar(std::string(line) + "\n")), ElementsAre(CELLAR)) << line;
        EXPECT_THAT(warnings(),
                    ElementsAre(TracedLine{2, std::string("WARNING: Invalid credentials section "
                                                          "'") +
                                                  line + "'"}));
    }
}

TEST_F(CFiCredentialsTest, ValueWithoutQuotesIsWarnedOf) {
    const struct {
        const char* line;
        const char* warning;
    } cases[] = {
        {"\"HOSTNAME\"=h", "WARNING: Invalid value 'h' for key section 'HOSTNAME'"},
        {"\"HOSTNAME\"=", "WARNING: Invalid value '' for key section 'HOSTNAME'"},
        {"\"PORT\"=22", "WARNING: Invalid value '22' for key section 'PORT'"},
        {"\"PORT\"=DWORD:22", "WARNING: Invalid value 'DWORD:22' for key section 'PORT'"},
        {"\"COLOUR\"=blue", "WARNING: Invalid value 'blue' for key section 'COLOUR'"},
        // The opening quote is gone already.
        {"\"HOSTNAME\"=\"h", "WARNING: Invalid value 'h' for key section 'HOSTNAME'"},
    };
    for (const auto& bad : cases) {
        EXPECT_THAT(parse(cellar(std::string(bad.line) + "\n")), ElementsAre(CELLAR)) << bad.line;
        EXPECT_THAT(warnings(), ElementsAre(TracedLine{2, bad.warning})) << bad.line;
    }
}

TEST_F(CFiCredentialsTest, SectionGoesOnBehindABadLine) {
    EXPECT_THAT(parse(section("ACME_BIGDISK") + "bad=\n\"DATA\"=bad\n\"PORT\"=\"bad\"\n" +
                      login("cellar", "admin", "secret")),
                ElementsAre(CELLAR));
    EXPECT_THAT(warnings(), SizeIs(3));
}

TEST_F(CFiCredentialsTest, LinesOfRefusedSectionsAreNotLookedAt) {
    EXPECT_THAT(parse("bad=\n" + section("OTHER") + "bad=\n\"PORT\"=bad\n"), IsEmpty());
    EXPECT_THAT(trace.all(), ElementsAre(PARSING));
}

TEST_F(CFiCredentialsTest, PercentSignsAreNoFormats) {
    EXPECT_THAT(parse(section("ACME_BIGDISK") + "%s%n=\n" + login("%s", "%n", "%d")),
                ElementsAre("%s|%n|%d|-1|"));
    EXPECT_THAT(trace.all(),
                ElementsAre(PARSING, TracedLine{2, "WARNING: Invalid credentials section '%s%n='"},
                            adding("%s", "%n")));
}

TEST_F(CFiCredentialsTest, PasswordsOfGoodTextsAreNotTraced) {
    parse(cellar());
    for (const TracedLine& line : trace.all()) {
        EXPECT_EQ(std::string::npos, line.text.find("secret")) << line.text;
    }
}

TEST_F(CFiCredentialsTest, AnyBytesAreTaken) {
    std::string bytes;
    for (int i = 0; i < 256; ++i) {
        bytes += static_cast<char>(i);
    }
    EXPECT_THAT(parse(bytes + "\n" + cellar() + bytes + "=" + bytes), SizeIs(1));
}

TEST_F(CFiCredentialsTest, WorksWithoutATraceLog) {
    CFiCredentialsParser silent;
    std::vector<SFiCredential> found;
    EXPECT_EQ(0, silent.parse("ACME", "BIGDISK", found, false));
    EXPECT_EQ(0, silent.parse(cellar("bad=\n"), "ACME", "BIGDISK", found, false));
    EXPECT_THAT(shown(found), ElementsAre(CELLAR));
    EXPECT_THAT(trace.all(), IsEmpty());
}

// ---- The configuration store ----

class ImportCredentialsTest : public CFiCredentialsTest {
  protected:
    ImportCredentialsTest() { store.registerTraceLog(trace.log()); }

    // Writes values of the sub-section CREDENTIALS\name; null ones are left out.
    void storeHas(const std::string& name, const char* host, const char* user,
                  const char* password) {
        ACE_Configuration_Section_Key key;
        ASSERT_EQ(0, store.openSection(("CREDENTIALS\\" + name).c_str(), key, 1));
        set("HOSTNAME", host);
        set("USERNAME", user);
        set("PASSWORD", password);
    }
    void set(const char* name, const char* value) {
        if (value != nullptr) {
            ASSERT_EQ(0, store.setStringValue(name, value));
        }
    }

    std::vector<std::string> import(bool openArray = false, const char* from = "CREDENTIALS") {
        return shown(store.importCredentials("ACME", "BIGDISK", from, openArray));
    }
    // The trace without that of the host's text.
    std::vector<TracedLine> storeLines() {
        std::vector<TracedLine> lines = trace.lines();
        const auto isOfTheText = [](const TracedLine& line) {
            return line.text.find("CFiCredentialsParser::parse") != std::string::npos;
        };
        lines.erase(std::remove_if(lines.begin(), lines.end(), isOfTheText), lines.end());
        return lines;
    }

    CFiConfiguration store;
};

const TracedLine INSIDE = {3, "CFiConfiguration::importCredentials - inside opensection"};
const TracedLine NONE = {2, "WARNING: No credentials found for ACME BIGDISK."};

TracedLine found(int subsections) {
    return {3, "CFiConfiguration::importCredentials - found [" + std::to_string(subsections) +
                   "] subsections."};
}
TracedLine opening(const std::string& name) {
    return {3, "CFiConfiguration::importCredentials - opening subsection [" + name + "]."};
}
TracedLine insideOpen(const std::string& name) {
    return {3, "CFiConfiguration::importCredentials -inside open subsection [" + name + "]."};
}

TEST_F(ImportCredentialsTest, NothingAnywhere) {
    EXPECT_THAT(import(), IsEmpty());
    EXPECT_THAT(trace.lines(), ElementsAre(NO_TEXT, INSIDE, found(0), NONE));
}

TEST_F(ImportCredentialsTest, EntryAndExitAreTraced) {
    import();
    const std::vector<TracedLine> lines = trace.all();
    ASSERT_LT(2u, lines.size());
    EXPECT_EQ(6, lines.front().level);
    EXPECT_THAT(lines.front().text, StartsWith("Entering Function importCredentials"));
    EXPECT_EQ(6, lines.back().level);
    EXPECT_THAT(lines.back().text, StartsWith("Exiting Function importCredentials"));
}

TEST_F(ImportCredentialsTest, MissingSectionIsCreated) {
    import();
    ACE_Configuration_Section_Key key;
    EXPECT_EQ(0, store.openSection("CREDENTIALS", key, 0));
}

TEST_F(ImportCredentialsTest, CredentialsOfTheTextAreEnough) {
    hostHas(cellar());
    EXPECT_THAT(import(), ElementsAre(CELLAR));
    EXPECT_THAT(trace.lines(),
                ElementsAre(PARSING, adding("cellar", "admin"), INSIDE, found(0),
                            TracedLine{3, "INFO: 1 credentials found for ACME BIGDISK."}));
}

TEST_F(ImportCredentialsTest, SubsectionIsImportedStepByStep) {
    storeHas("attic", "host", "user", "word");
    EXPECT_THAT(import(), ElementsAre("host|user|word|-1|"));
    EXPECT_THAT(trace.lines(),
                ElementsAre(NO_TEXT, INSIDE, found(1), opening("attic"), insideOpen("attic"),
                            TracedLine{3, "Importing credentials section [attic]"},
                            TracedLine{3, "Found cred.password as [word]."},
                            TracedLine{3, "Found cred.username as [user]."},
                            TracedLine{3, "Found cred.hostname as [host]."},
                            TracedLine{3, "Checking if credentails alreadt added for [user]"},
                            TracedLine{3, "INFO: 1 credentials found for ACME BIGDISK."}));
}

TEST_F(ImportCredentialsTest, TextComesFirstAndTheStoreAdds) {
    hostHas(cellar("\"PORT\"=dword:00000016\n"));
    storeHas("attic", "host", "user", "word");
    EXPECT_THAT(import(), ElementsAre("cellar|admin|secret|16|", "host|user|word|-1|"));
    EXPECT_EQ((TracedLine{3, "INFO: 2 credentials found for ACME BIGDISK."}), trace.lines().back());
}

TEST_F(ImportCredentialsTest, VendorAndProductAreOfNoInterestInTheStore) {
    storeHas("OTHER_SMALLDISK", "host", "user", "word");
    EXPECT_THAT(import(), SizeIs(1));
}

TEST_F(ImportCredentialsTest, AllSubsectionsAreImported) {
    std::vector<std::string> expected;
    for (const std::string name : {"a", "b", "c", "d", "e"}) {
        storeHas(name, ("host-" + name).c_str(), "user", "word");
        expected.push_back("host-" + name + "|user|word|-1|");
    }
    EXPECT_THAT(import(), testing::UnorderedElementsAreArray(expected));
    const std::vector<TracedLine> lines = trace.lines();
    EXPECT_THAT(lines, testing::Contains(found(5)));
    EXPECT_EQ((TracedLine{3, "INFO: 5 credentials found for ACME BIGDISK."}), lines.back());
}

TEST_F(ImportCredentialsTest, OnlyDirectSubsectionsOfTheSectionCount) {
    storeHas("attic\\shelf", "host", "user", "word");
    ACE_Configuration_Section_Key key;
    ASSERT_EQ(0, store.openSection("CREDENTIALS", key, 0));
    set("HOSTNAME", "h");
    set("USERNAME", "u");
    set("PASSWORD", "p");
    EXPECT_THAT(import(), IsEmpty());
}

TEST_F(ImportCredentialsTest, DeeperSectionCanBeNamed) {
    storeHas("attic\\shelf", "host", "user", "word");
    EXPECT_THAT(import(false, "CREDENTIALS\\attic"), SizeIs(1));
}

TEST_F(ImportCredentialsTest, OpenArraysAreKeptApart) {
    storeHas("OPENARRAY", "host", "user", "word");
    EXPECT_THAT(import(false), IsEmpty());
    EXPECT_THAT(storeLines(),
                ElementsAre(INSIDE, found(1), opening("OPENARRAY"), insideOpen("OPENARRAY"),
                            TracedLine{3, "Skipping credentials section [OPENARRAY]"}, NONE));
    EXPECT_THAT(import(true), ElementsAre("host|user|word|-1|"));
}

TEST_F(ImportCredentialsTest, OthersAreKeptApartFromOpenArrays) {
    storeHas("openarray", "host", "user", "word");
    EXPECT_THAT(import(true), IsEmpty());
    EXPECT_THAT(storeLines(),
                ElementsAre(INSIDE, found(1), opening("openarray"), insideOpen("openarray"),
                            TracedLine{3, "Skipping credentials section [openarray]"}, NONE));
    EXPECT_THAT(import(false), ElementsAre("host|user|word|-1|"));
}

TEST_F(ImportCredentialsTest, OpenArrayMayStandAnywhereInTheName) {
    storeHas("MY_OPENARRAY_2", "host", "user", "word");
    EXPECT_THAT(import(true), SizeIs(1));
}

TEST_F(ImportCredentialsTest, KindIsAskedOfTheTextToo) {
    hostHas(cellar() + openCellar(login("open", "o", "p")));
    EXPECT_THAT(import(true), ElementsAre("open|o|p|-1|"));
    EXPECT_THAT(import(false), ElementsAre(CELLAR));
}

TEST_F(ImportCredentialsTest, IncompleteSubsectionIsSkipped) {
    const struct {
        const char* name;
        const char* host;
        const char* user;
        const char* password;
    } cases[] = {
        {"a_OPENARRAY", nullptr, "user", "word"}, {"b_OPENARRAY", "host", nullptr, "word"},
        {"c_OPENARRAY", "host", "user", nullptr}, {"d_OPENARRAY", "", "user", "word"},
        {"e_OPENARRAY", "host", "", "word"},      {"f_OPENARRAY", "host", "user", ""},
    };
    for (const auto& incomplete : cases) {
        storeHas(incomplete.name, incomplete.host, incomplete.user, incomplete.password);
    }
    // One that is complete must not lend its values to the others.
    storeHas("g_OPENARRAY", "good", "good", "good");
    EXPECT_THAT(import(true), ElementsAre("good|good|good|-1|"));
}

TEST_F(ImportCredentialsTest, IncompleteSubsectionIsShownWithoutAWarning) {
    storeHas("attic", "host", nullptr, "word");
    import();
    EXPECT_THAT(storeLines(), ElementsAre(INSIDE, found(1), opening("attic"), insideOpen("attic"),
                                          TracedLine{3, "Importing credentials section [attic]"},
                                          TracedLine{3, "Found cred.password as [word]."},
                                          TracedLine{3, "Found cred.username as []."},
                                          TracedLine{3, "Found cred.hostname as [host]."}, NONE));
}

TEST_F(ImportCredentialsTest, IntegerIsNoText) {
    storeHas("attic", nullptr, "user", "word");
    ASSERT_EQ(0, store.setIntegerValue("HOSTNAME", 5));
    EXPECT_THAT(import(), IsEmpty());
}

TEST_F(ImportCredentialsTest, NamesOfStoredValuesHaveNoCase) {
    ACE_Configuration_Section_Key key;
    ASSERT_EQ(0, store.openSection("CREDENTIALS\\attic", key, 1));
    set("hostname", "host");
    set("UserName", "user");
    set("password", "word");
    EXPECT_THAT(import(), ElementsAre("host|user|word|-1|"));
}

TEST_F(ImportCredentialsTest, PortAndDataAreNotReadFromTheStore) {
    storeHas("attic", "host", "user", "word");
    set("DATA", "d");
    ASSERT_EQ(0, store.setIntegerValue("PORT", 22));
    EXPECT_THAT(import(), ElementsAre("host|user|word|-1|"));
}

TEST_F(ImportCredentialsTest, SameArrayInTextAndStoreIsReturnedOnce) {
    hostHas(cellar("\"PORT\"=dword:00000016\n"));
    storeHas("attic", "CELLAR", "Admin", "other");
    EXPECT_THAT(import(), ElementsAre("cellar|admin|secret|16|"));
    EXPECT_THAT(storeLines(), testing::Contains(TracedLine{
                                  3, "Checking if credentails alreadt added for [Admin]"}));
}

TEST_F(ImportCredentialsTest, SameArrayTwiceInTheStoreIsReturnedOnce) {
    storeHas("a", "host", "user", "word");
    storeHas("b", "HOST", "USER", "word");
    EXPECT_THAT(import(), SizeIs(1));
}

TEST_F(ImportCredentialsTest, OtherUserOrOtherHostIsAnotherArray) {
    hostHas(cellar());
    storeHas("a", "cellar", "guest", "word");
    storeHas("b", "attic", "admin", "word");
    EXPECT_THAT(import(),
                UnorderedElementsAre(CELLAR, "cellar|guest|word|-1|", "attic|admin|word|-1|"));
}

TEST_F(ImportCredentialsTest, StoreIsComparedWithAllOfTheText) {
    hostHas(section("ACME_BIGDISK") + login("first", "u", "p") + cellar());
    storeHas("attic", "cellar", "admin", "secret");
    EXPECT_THAT(import(), SizeIs(2));
}

TEST_F(ImportCredentialsTest, SameArrayTwiceInTheTextStaysTwice) {
    hostHas(cellar() + cellar());
    storeHas("attic", "cellar", "admin", "secret");
    EXPECT_THAT(import(), ElementsAre(CELLAR, CELLAR));
}

TEST_F(ImportCredentialsTest, SectionThatCannotBeOpenedLeavesTheText) {
    hostHas(cellar());
    storeHas("attic", "host", "user", "word");
    const std::string unusable(300, 'x');
    EXPECT_THAT(import(false, unusable.c_str()), ElementsAre(CELLAR));
    EXPECT_THAT(trace.lines(), ElementsAre(PARSING, adding("cellar", "admin")));
}

// A subsection that is removed between its listing and its opening.
CFiConfiguration* theStore;
std::vector<TracedLine>* theLines;

void removeAtticWhenOpening(const char* line, int level) {
    const std::string text = line;
    theLines->push_back({level, text.substr(text.find("> ") + 2)});
    if (theLines->back() == opening("attic")) {
        ACE_Configuration_Heap& heap = theStore->configHeap();
        ACE_Configuration_Section_Key key;
        EXPECT_EQ(0, heap.open_section(heap.root_section(), "CREDENTIALS", 0, key));
        EXPECT_EQ(0, heap.remove_section(key, "attic", true));
    }
}

TEST_F(ImportCredentialsTest, SubsectionThatCannotBeOpenedIsTold) {
    storeHas("attic", "host", "user", "word");
    std::vector<TracedLine> lines;
    theStore = &store;
    theLines = &lines;
    const CFiTraceLogPtr log(new CFiTraceLog);
    log->registerLogHandler(removeAtticWhenOpening, 3);
    store.registerTraceLog(log);
    EXPECT_THAT(import(), IsEmpty());
    EXPECT_THAT(lines, ElementsAre(NO_TEXT, INSIDE, found(1), opening("attic"),
                                   TracedLine{1, "ERROR: [CREDENTIALS] Importing section [attic] "
                                                 "failed."},
                                   NONE));
}

TEST_F(ImportCredentialsTest, NextSubsectionFollowsOneThatCannotBeOpened) {
    for (const char* name : {"a", "attic", "b", "c"}) {
        storeHas(name, name, "user", "word");
    }
    std::vector<TracedLine> lines;
    theStore = &store;
    theLines = &lines;
    const CFiTraceLogPtr log(new CFiTraceLog);
    log->registerLogHandler(removeAtticWhenOpening, 3);
    store.registerTraceLog(log);
    EXPECT_THAT(import(),
                UnorderedElementsAre("a|user|word|-1|", "b|user|word|-1|", "c|user|word|-1|"));
}

TEST_F(ImportCredentialsTest, ImportedFileIsReadToo) {
    TempDir temp;
    writeFile(temp.path("plugin.conf"),
              "[CREDENTIALS\\attic]\n\"HOSTNAME\"=\"host\"\n\"USERNAME\"=\"user\"\n"
              "\"PASSWORD\"=\"word\"\n");
    ASSERT_EQ(0, store.importConfig((temp.path() + "/").c_str(), "plugin.conf"));
    EXPECT_THAT(import(), ElementsAre("host|user|word|-1|"));
}

TEST_F(ImportCredentialsTest, StoreWithoutATraceLogTracesNothing) {
    hostHas(cellar());
    CFiConfiguration silent;
    EXPECT_THAT(shown(silent.importCredentials("ACME", "BIGDISK", "CREDENTIALS", false)),
                ElementsAre(CELLAR));
    EXPECT_THAT(trace.all(), IsEmpty());
}

} // namespace
