// The tables of docs/reports.md, beside reports of real runs.
#include <gmock/gmock.h>

#include <map>
#include <regex>
#include <set>

#include "documents.h"
#include "json.h"
#include "support/fixed_paths.h"
#include "support/temp_dir.h"
#include "workshop.h"

namespace {

using namespace kzfi_tests;
using kzfi_simhost::Json;
using testing::SizeIs;

// ---- What the page tells

using Row = std::vector<std::string>;

Row cellsOf(const std::string& line) {
    Row cells;
    for (std::size_t at = 1, end; (end = line.find(" |", at)) != line.npos; at = end + 2) {
        cells.push_back(line.substr(std::min(at + 1, end), end - std::min(at + 1, end)));
    }
    return cells;
}

/// The rows of the table below a heading, without its head.
std::vector<Row> tableOf(const std::string& heading) {
    std::vector<Row> rows;
    std::string part;
    for (const std::string& line : proseOf("docs/reports.md")) {
        part = line.rfind("## ", 0) == 0 ? line.substr(3) : part;
        if (part == heading && line.rfind("| `", 0) == 0) {
            rows.push_back(cellsOf(line));
        }
    }
    return rows;
}

/// What a cell has between backticks.
std::vector<std::string> codeIn(const std::string& cell) {
    static const std::regex code("`([^`]*)`");
    std::vector<std::string> found;
    for (std::sregex_iterator at(cell.begin(), cell.end(), code), end; at != end; ++at) {
        found.push_back((*at)[1]);
    }
    return found;
}

// ---- The fields of a report

const std::string OPEN = ".*";

/// Counts the fields of values by their paths, and what they could be in.
class Fields {
  public:
    /// toldOpen: paths with ".*"; what lies below them is not looked at.
    explicit Fields(std::set<std::string> toldOpen) : open(std::move(toldOpen)) {}

    void add(const Json& value, const std::string& path = "") {
        if (value.is_object()) {
            ++holders[path];
            for (const auto& member : value.items()) {
                addField(path.empty() ? member.key() : path + "." + member.key(), member.value());
            }
        } else if (value.is_array()) {
            for (const Json& member : value) {
                add(member, path + "[]");
            }
        }
    }

    /// Of each path whether the field is there always.
    std::map<std::string, bool> found() const {
        std::map<std::string, bool> all;
        for (const auto& [path, count] : fields) {
            const std::string name = path.substr(0, path.size() - (open.count(path) * OPEN.size()));
            const std::size_t dot = name.rfind('.');
            all[path] = count == holders.at(dot == name.npos ? "" : name.substr(0, dot));
        }
        return all;
    }

  private:
    void addField(const std::string& path, const Json& value) {
        if (open.count(path + OPEN) != 0) {
            ++fields[path + OPEN];
        } else {
            ++fields[path];
            add(value, path);
        }
    }

    const std::set<std::string> open;
    std::map<std::string, std::size_t> fields;
    std::map<std::string, std::size_t> holders;
};

void expectToldFields(const std::string& heading, const std::vector<Json>& reports) {
    std::map<std::string, bool> told;
    std::set<std::string> open;
    for (const Row& row : tableOf(heading)) {
        ASSERT_THAT(row, SizeIs(3)) << heading << ": " << row.front();
        const std::string path = codeIn(row[0]).front();
        EXPECT_TRUE(told.emplace(path, row[2] == "always").second) << path << " has two lines";
        if (path.size() > OPEN.size() && path.substr(path.size() - OPEN.size()) == OPEN) {
            open.insert(path);
        }
    }
    Fields fields(open);
    for (const Json& report : reports) {
        fields.add(report);
    }
    const std::map<std::string, bool> found = fields.found();
    for (const auto& [path, always] : found) {
        const auto line = told.find(path);
        if (line == told.end()) {
            ADD_FAILURE() << heading << ": the field " << path << " has no line";
        } else {
            EXPECT_EQ(line->second, always)
                << heading << ": whether " << path << " is always there";
        }
    }
    for (const auto& line : told) {
        EXPECT_EQ(found.count(line.first), 1u)
            << heading << ": the line " << line.first << " has no field";
    }
}

// ---- The elements of a JUnit file

/// What a word of a result becomes, as "error type message".
using Elements = std::map<std::string, std::set<std::string>>;

const std::string NOTHING = "nothing";

Elements toldElements(const std::string& heading) {
    Elements told;
    for (const Row& row : tableOf(heading)) {
        const std::vector<std::string> element = codeIn(row.at(1));
        for (const std::string& word : codeIn(row[0])) {
            told[word].insert(element.empty() ? row[1] : element.front());
        }
    }
    return told;
}

/// An element's name and those of its attributes.
std::string inShort(const std::string& tag) {
    static const std::regex value("=\"[^\"]*\"");
    const std::string names = std::regex_replace(tag, value, "");
    return names.empty() ? NOTHING : names;
}

/// Adds what each of the entries, which have their result under this key, became in the file.
void addElements(const Json& entries, const char* key, const std::string& junit, Elements& found) {
    static const std::regex testcase("<testcase [^>]*>(<([^/>]([^/>\"]|\"[^\"]*\")*)/?>)?");
    std::size_t count = 0;
    for (std::sregex_iterator at(junit.begin(), junit.end(), testcase), end; at != end; ++at) {
        ASSERT_LT(count, entries.size());
        found[entries[count++][key].get<std::string>()].insert(inShort((*at)[2]));
    }
    EXPECT_EQ(count, entries.size());
}

// ---- The runs

const std::string PROVIDERS = KZFI_BUILD "/tests/simhost/";
const std::string HELLO = KZFI_BUILD "/samples/hello/hello";

/// All that can happen to a step, but for an end of the process.
const std::string FAILURES = "steps:\n"
                             "  - objctl: {command: unheard of}\n"
                             "  - objctl: {command: throw}\n"
                             "  - host compare: {path: none, with: none}\n";

class Reports : public testing::Test {
  protected:
    /// Else no report could say that it was there.
    void SetUp() override { KZFI_NEEDS_PRIVATE_USR(); }

    /// What a command writes that answers this status.
    Json report(int status, const std::string& command) {
        execute(status, command + " --json r.json");
        return Json::parse(readFile(workshop.path("r.json")));
    }

    /// Likewise, and adds the elements of the JUnit file to found.
    Json reportWith(Elements& found, const char* list, const char* key, int status,
                    const std::string& command) {
        Json json = report(status, command + " --junit r.xml");
        addElements(json[list], key, readFile(workshop.path("r.xml")), found);
        return json;
    }

    Json runOf(int status, const std::string& scenario, const std::string& setting = "") {
        return reportWith(results, "steps", "result", status,
                          setting + "kzfi-simhost run " + scenario);
    }

    /// Runs a scenario on one of the tests' providers.
    Json runOn(int status, const std::string& provider, const std::string& steps) {
        writeFile(workshop.path("s.yaml"), "provider: " + PROVIDERS + provider + ".so\n" + steps);
        return runOf(status, "s.yaml");
    }

    Json descriptionOf(int status, const std::string& provider, const std::string& setting = "") {
        return report(status, setting + "kzfi-simhost describe " + provider);
    }

    Json checkOf(int status, const std::string& provider, const std::string& setting = "") {
        return reportWith(verdicts, "checks", "verdict", status,
                          setting + "kzfi-simhost check " + provider);
    }

    /// A provider whose operations are called once, in this mood.
    Json checkIn(const std::string& mood, int status) {
        return checkOf(status, PROVIDERS + "check/moody.so --only operations.once --deadline 1",
                       "MOOD='" + mood + "' ");
    }

    /// For a command that can have no private /usr beside the one that the tests have.
    std::string withoutPrivateUsr() {
        writeFile(workshop.path("deny.cpp"), "extern \"C\" int unshare(int) { return -1; }\n");
        workshop.run("g++ -shared -fPIC -o deny.so deny.cpp", "deny.cpp");
        return "LD_PRELOAD='" + workshop.path("deny.so") + "' ";
    }

    Workshop workshop;
    Elements results;
    Elements verdicts;

  private:
    void execute(int status, const std::string& command) {
        workshop.run(command + "; test $? = " + std::to_string(status), command);
    }
};

TEST_F(Reports, OfRunsAreAsThePageTells) {
    const std::vector<Json> reports = {
        runOf(0, HELLO + ".yaml"),
        runOf(0, HELLO + ".yaml", withoutPrivateUsr()),
        runOn(1, "rogue", FAILURES),
        runOn(1, "rogue", "steps: [{objctl: {command: abort}}]\n"),
        runOn(1, "rogue", "steps: [{objctl: {command: print and exit}}]\n"),
        runOn(1, "rogue", "steps: [{objctl: {command: hang}, deadline: 0.3}]\n"),
        runOn(0, "pinned", ""),
    };
    expectToldFields("JSON of run", reports);
    EXPECT_EQ(toldElements("JUnit of run"), results);
    EXPECT_EQ(reports[0]["passed"], true);
    EXPECT_EQ(reports[2]["passed"], false);
}

TEST_F(Reports, OfDescriptionsAreAsThePageTells) {
    const std::vector<Json> reports = {
        descriptionOf(0, HELLO + ".so"),
        descriptionOf(0, HELLO + ".so", withoutPrivateUsr()),
        descriptionOf(1, PROVIDERS + "rogue.so", "ROGUE_CRASHES=1 "),
        descriptionOf(1, PROVIDERS + "rogue.so", "ROGUE_HAS_ONE_LIST=1 "),
        descriptionOf(1, PROVIDERS + "init_fails.so"),
    };
    expectToldFields("JSON of describe", reports);
    EXPECT_EQ(reports[0]["complete"], true);
    EXPECT_EQ(reports[2]["complete"], false);
}

TEST_F(Reports, OfChecksAreAsThePageTells) {
    const std::vector<Json> reports = {
        checkOf(0, HELLO + ".so --only 'claim.*'"),
        checkOf(0, HELLO + ".so --only operations.once", withoutPrivateUsr()),
        checkOf(2, PROVIDERS + "entry_null.so --only 'load.*'"),
        checkIn("leak", 0),
        checkIn("overrun", 1),
        checkIn("crash", 1),
        checkIn("exit", 1),
        checkIn("throw", 1),
        checkIn("hang", 1),
    };
    expectToldFields("JSON of check", reports);
    EXPECT_EQ(toldElements("JUnit of check"), verdicts);
    EXPECT_EQ(reports[3]["green"], true);
    EXPECT_EQ(reports[4]["green"], false);
}

} // namespace
