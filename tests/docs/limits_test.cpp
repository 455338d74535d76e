// What the sources keep on purpose, and the list that tells of it.
#include <gmock/gmock.h>

#include <filesystem>
#include <map>
#include <regex>

#include "documents.h"
#include "support/temp_dir.h"

namespace {

using namespace kzfi_tests;
using testing::HasSubstr;

/// Of each source what docs/limits.md says of its "on purpose", in their order.
const std::map<std::string, std::vector<std::string>> TOLD = {
    {"src/config/cficonfigparam.cpp", {"written for `string_list` only"}},
    {"src/config/cfisaxparser.cpp",
     {"such a parser fails with every document", "Errors while a parser is set up are swallowed",
      "Errors while a parser is set up are swallowed"}},
    {"src/config/paramlist.h", {"`auxText` is not cleared"}},
    {"src/diag/cfiicucatalog.cpp",
     {"a message in two languages shares one text", "of two keys with one text the first goes"}},
    {"src/diag/cfiicumessage.cpp",
     {"a date arrives as a double", "any of the word's characters will do"}},
    {"src/diag/cfitracelog.cpp", {"tells standard output \"Failed to lstat\""}},
    {"src/diag/cfitracelogsettings.cpp",
     {"lacked its section or level stays off", "lacked its section or level stays off"}},
    {"src/diag/statusmessage.cpp", {"The resource of a callback message is not escaped"}},
    {"src/diag/tracing.h", {"without a slash is traced as `include/cfitracelog.h`"}},
    {"src/frame/cfipluginbase.cpp", {"`enumerateFims` answers 0 for a null pointer"}},
    {"src/frame/cfipluginbase_config.cpp", {"but not those of the plug-in's"}},
    {"src/frame/cfipluginbase_defaults.cpp", {"answer 4 by default; their neighbours"}},
    {"src/frame/cfipluginbase_nodes.cpp", {"but not the names in it"}},
    {"src/frame/cfipluginbase_owner.cpp", {"when the new owner never shows up"}},
    {"src/frame/cfiplugininterposer.cpp", {"drop the lists that a node comes with"}},
    {"src/frame/cfiplugininterposer_resources.cpp",
     {"traces its entry only", "answers 0 for a request without any known bit"}},
    {"src/frame/cfiprivatedata.cpp", {"its name is part of the name of a value that is there"}},
    {"src/frame/cfiprivatedata_selection.cpp", {"`&amp;` separates groups, too"}},
    {"src/host/cficonfiguration.cpp",
     {"that is damaged is written again at once", "make the section when it is missing",
      "are traced at level 3", "credentails alreadt added"}},
    {"src/host/cficonfigurationpathtool.cpp", {"do not move with the install root"}},
    {"src/host/cficredentials.cpp",
     {"also where they stand in a value", "digits behind `dword:` are decimal",
      "the first character goes, whatever it is"}},
    {"src/host/cfipblm.cpp",
     {"later ones start empty", "\"refreshCache opendir failure\" from `scanCache`",
      "filled from the records in exactly one"}},
    {"src/host/cfistoragestacktool.cpp", {"block and raw paths of one device are the same text"}},
    {"src/util/cfistringtool.cpp",
     {"two bytes for each character and two more", "gives buffers of the host to `free`",
      "`str2uint` reads a signed number", "write a byte from 0x80 on in eight digits"}},
    {"src/util/cfiudid.cpp", {"looks for the `prefix` of the object"}},
    {"src/util/cfiutf8string.cpp",
     {"the last byte of a sequence is not looked at", "has no blank behind it"}},
    {"src/util/threadid.h", {"the low 32 bits"}},
};

/// The text as one line, without the marks of comments.
std::string flat(const std::string& text) {
    static const std::regex lineEnd("\\s*\n\\s*(///?( |$))?");
    return std::regex_replace(text, lineEnd, " ");
}

std::size_t countOf(const std::string& part, const std::string& text) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

TEST(Limits, TellWhatTheSourcesKeepOnPurpose) {
    const std::string list = flat(readFile(inTree("docs/limits.md")));
    std::size_t sources = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(inTree("src"))) {
        const std::string name = entry.path().lexically_relative(inTree("")).string();
        const bool isSource =
            entry.path().extension() == ".cpp" || entry.path().extension() == ".h";
        if (!isSource) {
            continue;
        }
        const auto told = TOLD.find(name);
        const std::size_t expected = told == TOLD.end() ? 0 : told->second.size();
        sources += expected == 0 ? 0 : 1;
        EXPECT_EQ(countOf(" on purpose", flat(readFile(entry.path().string()))), expected)
            << name << ": tell of it in docs/limits.md, and here";
    }
    EXPECT_EQ(sources, TOLD.size()) << "a source of the table is gone";
    for (const auto& source : TOLD) {
        for (const std::string& text : source.second) {
            EXPECT_THAT(list, HasSubstr(text)) << source.first;
        }
    }
}

} // namespace
