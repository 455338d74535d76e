#include "scenario.h"

#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "operations.h"
#include "text_tools.h"

namespace kzfi_simhost {
namespace {

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

bool contains(const std::vector<std::string>& words, const std::string& word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

/// Answers are texts, lists of them, and lists of such lists.
const int DEEPEST_VALUE = 2;

/// Where the document that a parser read last begins, counted from 0; leaves out what is in it.
class DocumentLines : public YAML::EventHandler {
  public:
    int last = 0;

    void OnDocumentStart(const YAML::Mark& mark) override { last = mark.line; }
    void OnDocumentEnd() override {}
    void OnNull(const YAML::Mark&, YAML::anchor_t) override {}
    void OnAlias(const YAML::Mark&, YAML::anchor_t) override {}
    void OnScalar(const YAML::Mark&, const std::string&, YAML::anchor_t,
                  const std::string&) override {}
    void OnSequenceStart(const YAML::Mark&, const std::string&, YAML::anchor_t,
                         YAML::EmitterStyle::value) override {}
    void OnSequenceEnd() override {}
    void OnMapStart(const YAML::Mark&, const std::string&, YAML::anchor_t,
                    YAML::EmitterStyle::value) override {}
    void OnMapEnd() override {}
};

/// Turns YAML into the scenario's values; every complaint carries the line.
class Reader {
  public:
    explicit Reader(const std::string& path) : file(path), folder(parentOf(path)) {}

    Scenario read();
    Scenario readForCheck(const std::string& provider);

  private:
    using Node = YAML::Node;
    using Words = std::vector<std::string>;

    static std::filesystem::path parentOf(const std::string& path) {
        return std::filesystem::absolute(path).parent_path();
    }

    [[noreturn]] void fail(int line, const std::string& reason) const {
        throw CannotRun(file + ":" + std::to_string(line) + ": " + reason);
    }
    [[noreturn]] void fail(const Node& node, const std::string& reason) const {
        fail(lineOf(node), reason);
    }
    static int lineOf(const Node& node) { return node.Mark().line + 1; }

    Node load() const;
    void checkMap(const Node& node, const std::string& what) const;
    void checkKeys(const Node& node, const std::string& what, const Words& known) const;
    const Node& checkList(const Node& node, const std::string& what) const;

    std::string text(const Node& node, const std::string& what) const;
    Json textOrNull(const Node& node, const std::string& what) const;
    std::string path(const Node& node, const std::string& what) const;
    long number(const Node& node, const std::string& what, long least, long most) const;
    double seconds(const Node& node, const std::string& what) const;
    bool flag(const Node& node, const std::string& what) const;
    Words texts(const Node& node, const std::string& what) const;
    Words textOrTexts(const Node& node, const std::string& what) const;
    Json parameters(const Node& node, const std::string& what) const;
    Json expectedValue(const Node& node, const std::string& what, int depth = 0) const;

    void readHead(const Node& root);
    void readSteps(const Node& root, const char* key);
    void readTrace(const Node& node);
    std::vector<ScenarioFile> readFiles(const Node& node, const std::string& what) const;
    std::string pathBelowRoot(const Node& node, const std::string& what) const;
    void readNodes(const Node& list);
    ScenarioNode readNode(const Node& node) const;
    void checkOwners(const Node& list) const;
    std::string knownNode(const Node& node, const std::string& what) const;

    Step readStep(const Node& node) const;
    void readCall(const Node& name, const Node& arguments, Step& step) const;
    Json argument(const Field& field, const Node& node) const;
    Json nodeNames(const Node& node, const std::string& what) const;
    std::string choice(const Field& field, const Node& node) const;
    Expectation readExpectation(const Node& node) const;

    const std::string file;
    const std::filesystem::path folder;
    Scenario scenario;
    bool interposes = false; ///< a step before this one may have brought further nodes
};

YAML::Node Reader::load() const {
    std::error_code none;
    errno = std::filesystem::is_directory(file, none) ? EISDIR : 0;
    std::ifstream stream(file);
    if (errno == EISDIR || !stream) {
        throw CannotRun(file + ": the file cannot be read: " + std::strerror(errno));
    }
    std::stringstream content;
    content << stream.rdbuf();
    try {
        DocumentLines lines;
        YAML::Parser parser(content);
        // Not all of them: of some malformed texts the library makes documents without end.
        if (parser.HandleNextDocument(lines) && parser.HandleNextDocument(lines)) {
            fail(lines.last + 1, "a scenario is one document");
        }
        return YAML::Load(content.str());
    } catch (const YAML::ParserException& e) {
        fail(e.mark.line + 1, "not YAML: " + e.msg);
    }
}

void Reader::checkMap(const Node& node, const std::string& what) const {
    if (!node.IsMap()) {
        fail(node, what + " must be a map");
    }
    Words seen;
    for (const auto& member : node) {
        const std::string key = text(member.first, "a key of " + what);
        if (contains(seen, key)) {
            fail(member.first, what + " holds '" + key + "' twice");
        }
        seen.push_back(key);
    }
}

void Reader::checkKeys(const Node& node, const std::string& what, const Words& known) const {
    checkMap(node, what);
    for (const auto& member : node) {
        const std::string key = member.first.Scalar();
        if (!contains(known, key)) {
            fail(member.first, "unknown key '" + key + "' in " + what +
                                   (known.empty() ? "; it has none" : "; known: " + joined(known)));
        }
    }
}

const YAML::Node& Reader::checkList(const Node& node, const std::string& what) const {
    if (!node.IsSequence()) {
        fail(node, what + " must be a list");
    }
    return node;
}

std::string Reader::text(const Node& node, const std::string& what) const {
    if (!node.IsScalar()) {
        fail(node, what + " must be a text");
    }
    return node.Scalar();
}

Json Reader::textOrNull(const Node& node, const std::string& what) const {
    return node.IsNull() ? Json() : Json(text(node, what));
}

std::string Reader::path(const Node& node, const std::string& what) const {
    const std::string name = text(node, what);
    if (name.empty()) {
        fail(node, what + " must not be empty");
    }
    return (folder / name).lexically_normal().string();
}

long Reader::number(const Node& node, const std::string& what, long least, long most) const {
    const std::string digits = text(node, what);
    char* end = nullptr;
    errno = 0;
    const long value = std::strtol(digits.c_str(), &end, 10);
    if (digits.empty() || *end != '\0' || errno != 0) {
        fail(node, what + " must be a whole number, not '" + digits + "'");
    }
    if (value < least || value > most) {
        fail(node, what + " must be from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return value;
}

double Reader::seconds(const Node& node, const std::string& what) const {
    const std::string digits = text(node, what);
    char* end = nullptr;
    const double value = std::strtod(digits.c_str(), &end);
    if (digits.empty() || *end != '\0' || !std::isfinite(value) || value <= 0) {
        fail(node, what + " must be a number of seconds above 0, not '" + digits + "'");
    }
    return value;
}

bool Reader::flag(const Node& node, const std::string& what) const {
    const std::string word = text(node, what);
    if (word != "true" && word != "false") {
        fail(node, what + " must be true or false, not '" + word + "'");
    }
    return word == "true";
}

Reader::Words Reader::texts(const Node& node, const std::string& what) const {
    Words words;
    for (const Node& item : checkList(node, what)) {
        words.push_back(text(item, "an item of " + what));
    }
    return words;
}

Reader::Words Reader::textOrTexts(const Node& node, const std::string& what) const {
    return node.IsScalar() ? Words{text(node, what)} : texts(node, what);
}

Json Reader::parameters(const Node& node, const std::string& what) const {
    checkMap(node, what);
    Json map = Json::object();
    for (const auto& member : node) {
        const std::string name = member.first.Scalar();
        const std::string value = "parameter '" + name + "'";
        if (member.second.IsSequence()) {
            map[name] = texts(member.second, value);
        } else {
            map[name] = text(member.second, value);
        }
    }
    return map;
}

Json Reader::expectedValue(const Node& node, const std::string& what, int depth) const {
    if (node.IsSequence()) {
        // A list can hold itself.
        if (depth == DEEPEST_VALUE) {
            fail(node, what + " is nested deeper than any answer");
        }
        Json list = Json::array();
        for (const Node& item : node) {
            list.push_back(expectedValue(item, what, depth + 1));
        }
        return list;
    }
    return textOrNull(node, what);
}

Scenario Reader::read() {
    const Node root = load();
    scenario.file = file;
    if (root.IsNull()) {
        fail(1, "the scenario is empty");
    }
    checkKeys(root, "the scenario",
              {"provider", "name", "fimName", "language", "catalogues", "trace", "deadline",
               "credentials", "files", "nodes", "steps"});
    if (!root["provider"]) {
        fail(root, "the scenario names no provider");
    }
    scenario.provider = path(root["provider"], "provider");
    scenario.providerLine = lineOf(root["provider"]);
    readHead(root);
    if (const Node nodes = root["nodes"]) {
        readNodes(nodes);
    }
    readSteps(root, "steps");
    return scenario;
}

Scenario Reader::readForCheck(const std::string& provider) {
    const Node root = load();
    scenario.file = file;
    scenario.provider = provider;
    scenario.deadline = DEFAULT_CHECK_DEADLINE;
    if (root.IsNull()) {
        fail(1, "the configuration is empty");
    }
    checkKeys(root, "the configuration",
              {"name", "fimName", "language", "catalogues", "trace", "deadline", "credentials",
               "files", "nodes", "claims", "decoys", "snapshot", "toolFailure"});
    readHead(root);
    if (!root["nodes"] || root["nodes"].size() == 0) {
        fail(root, "the configuration has no nodes");
    }
    readNodes(root["nodes"]);
    if (const Node claims = root["claims"]) {
        scenario.claims = textOrTexts(claims, "claims");
    }
    if (const Node decoys = root["decoys"]) {
        scenario.decoys = textOrTexts(decoys, "decoys");
    }
    if (const Node files = root["toolFailure"]) {
        scenario.toolFailure = readFiles(files, "toolFailure");
    }
    readSteps(root, "snapshot");
    return scenario;
}

void Reader::readSteps(const Node& root, const char* key) {
    const Node steps = root[key];
    if (!steps) {
        return;
    }
    for (const Node& step : checkList(steps, key)) {
        scenario.steps.push_back(readStep(step));
        interposes = interposes || scenario.steps.back().operation == "interpose";
    }
}

void Reader::readHead(const Node& root) {
    if (const Node name = root["name"]) {
        scenario.name = text(name, "name");
        if (!isFileName(*scenario.name)) {
            fail(name, "name must be a name without a folder; files are called after it");
        }
    }
    if (const Node name = root["fimName"]) {
        scenario.fimName = text(name, "fimName");
    }
    if (const Node language = root["language"]) {
        scenario.language = text(language, "language");
    }
    if (const Node folderOfBundles = root["catalogues"]) {
        scenario.catalogues = path(folderOfBundles, "catalogues");
        scenario.cataloguesLine = lineOf(folderOfBundles);
    }
    if (const Node trace = root["trace"]) {
        readTrace(trace);
    }
    if (const Node deadline = root["deadline"]) {
        scenario.deadline = seconds(deadline, "deadline");
    }
    if (const Node credentials = root["credentials"]) {
        scenario.credentials = text(credentials, "credentials");
    }
    if (const Node files = root["files"]) {
        scenario.files = readFiles(files, "files");
    }
}

void Reader::readTrace(const Node& node) {
    checkKeys(node, "trace", {"level", "file"});
    if (node["level"]) {
        scenario.trace.level = static_cast<int>(number(node["level"], "level", 0, INT_MAX));
    }
    if (node["file"]) {
        scenario.trace.file = text(node["file"], "file");
        if (scenario.trace.file.find('/') != std::string::npos) {
            fail(node["file"], "file must be a name without a folder; traces go below the root");
        }
    }
}

std::vector<ScenarioFile> Reader::readFiles(const Node& node, const std::string& what) const {
    checkMap(node, what);
    std::vector<ScenarioFile> files;
    for (const auto& member : node) {
        const std::string name = member.first.Scalar();
        files.push_back({pathBelowRoot(member.first, what),
                         text(member.second, "file '" + name + "'"), lineOf(member.first)});
    }
    return files;
}

std::string Reader::pathBelowRoot(const Node& node, const std::string& what) const {
    const std::filesystem::path name = text(node, what);
    const bool leaves = std::find(name.begin(), name.end(), "..") != name.end();
    if (name.is_absolute() || leaves || !name.has_filename() || name.filename() == ".") {
        fail(node, what + ": '" + name.string() + "' is no path of a file below the root");
    }
    return name.lexically_normal().string();
}

void Reader::readNodes(const Node& list) {
    for (const Node& item : checkList(list, "nodes")) {
        const ScenarioNode node = readNode(item);
        for (const ScenarioNode& other : scenario.nodes) {
            if (other.name == node.name) {
                fail(item, "there are two nodes '" + node.name + "'");
            }
        }
        scenario.nodes.push_back(node);
    }
    checkOwners(list);
}

ScenarioNode Reader::readNode(const Node& node) const {
    checkKeys(node, "a node", {"name", "type", "owner", "parameters"});
    if (!node["name"]) {
        fail(node, "a node needs a name");
    }
    ScenarioNode result;
    result.name = text(node["name"], "name");
    if (node["type"]) {
        result.type = static_cast<int>(number(node["type"], "type", INT_MIN, INT_MAX));
    }
    if (node["owner"]) {
        result.owner = textOrTexts(node["owner"], "owner");
    }
    if (node["parameters"]) {
        result.parameters = parameters(node["parameters"], "parameters");
    }
    return result;
}

/// An owner may name a node that stands further down, so this comes after all of them.
void Reader::checkOwners(const Node& list) const {
    for (const Node& node : list) {
        const Node owner = node["owner"];
        if (owner && owner.IsSequence()) {
            for (const Node& name : owner) {
                knownNode(name, "owner");
            }
        } else if (owner) {
            knownNode(owner, "owner");
        }
    }
}

std::string Reader::knownNode(const Node& node, const std::string& what) const {
    const std::string name = text(node, what);
    Words known;
    for (const ScenarioNode& candidate : scenario.nodes) {
        known.push_back(candidate.name);
    }
    if (!interposes && !contains(known, name)) {
        fail(node, noSuchNode(what, name, known));
    }
    return name;
}

Step Reader::readStep(const Node& node) const {
    Step step;
    step.line = lineOf(node);
    step.deadline = scenario.deadline;
    if (node.IsScalar()) {
        readCall(node, Node(), step);
        return step;
    }
    checkMap(node, "a step");
    for (const auto& member : node) {
        const std::string key = member.first.Scalar();
        if (key == "expect") {
            step.expect = readExpectation(member.second);
        } else if (key == "deadline") {
            step.deadline = seconds(member.second, key);
        } else if (key == "title") {
            step.title = text(member.second, key);
        } else if (key == "watch") {
            step.watch = pathBelowRoot(member.second, key);
        } else {
            readCall(member.first, member.second, step);
        }
    }
    if (step.operation.empty()) {
        fail(node, "the step names no operation");
    }
    return step;
}

void Reader::readCall(const Node& name, const Node& arguments, Step& step) const {
    const Operation* const operation = findOperation(name.Scalar());
    if (operation == nullptr) {
        fail(name, "unknown operation '" + name.Scalar() +
                       "'; beside its operation a step has: expect, deadline, title, watch");
    }
    if (!step.operation.empty()) {
        fail(name,
             "the step names two operations, '" + step.operation + "' and '" + name.Scalar() + "'");
    }
    step.operation = operation->name;
    const bool none = !arguments || arguments.IsNull();
    Words known;
    for (const Field& field : operation->fields) {
        known.push_back(field.name);
        if (field.kind == FieldKind::PATH &&
            (none || !arguments.IsMap() || !arguments[field.name])) {
            fail(name, operation->name + " needs the field '" + field.name + "'");
        }
    }
    if (none) {
        return;
    }
    checkKeys(arguments, operation->name, known);
    for (const Field& field : operation->fields) {
        if (const Node value = arguments[field.name]) {
            step.arguments[field.name] = argument(field, value);
        }
    }
}

Json Reader::argument(const Field& field, const Node& node) const {
    switch (field.kind) {
    case FieldKind::NODE:
        return node.IsNull() ? Json() : Json(knownNode(node, field.name));
    case FieldKind::NODES:
        return node.IsNull() ? Json() : nodeNames(node, field.name);
    case FieldKind::TEXT:
        return textOrNull(node, field.name);
    case FieldKind::TEXTS:
        return node.IsNull() ? Json() : Json(textOrTexts(node, field.name));
    case FieldKind::NUMBER:
        return field.isLong ? number(node, field.name, LONG_MIN, LONG_MAX)
                            : number(node, field.name, INT_MIN, INT_MAX);
    case FieldKind::FLAG:
        return flag(node, field.name);
    case FieldKind::CHOICE:
        return choice(field, node);
    case FieldKind::PARAMETERS:
        return parameters(node, field.name);
    case FieldKind::PATH:
        return pathBelowRoot(node, field.name);
    }
    return Json();
}

Json Reader::nodeNames(const Node& node, const std::string& what) const {
    Json names = Json::array();
    if (node.IsScalar()) {
        names.push_back(knownNode(node, what));
        return names;
    }
    for (const Node& item : checkList(node, what)) {
        names.push_back(knownNode(item, what));
    }
    return names;
}

std::string Reader::choice(const Field& field, const Node& node) const {
    const std::string word = text(node, field.name);
    if (!contains(field.choices, word)) {
        fail(node,
             field.name + " must be one of: " + joined(field.choices) + "; not '" + word + "'");
    }
    return word;
}

Expectation Reader::readExpectation(const Node& node) const {
    checkKeys(node, "expect", {"status", "text", "contains", "values"});
    Expectation expect;
    if (node["status"]) {
        expect.status = static_cast<int>(number(node["status"], "status", INT_MIN, INT_MAX));
    }
    if (node["text"]) {
        expect.text = textOrNull(node["text"], "text");
    }
    if (node["contains"]) {
        expect.contains = textOrTexts(node["contains"], "contains");
    }
    if (node["values"]) {
        checkMap(node["values"], "values");
        for (const auto& member : node["values"]) {
            expect.values[member.first.Scalar()] =
                expectedValue(member.second, "value '" + member.first.Scalar() + "'");
        }
    }
    return expect;
}

/// A value of a step in its title; empty when it is too long for one, or structured.
std::string shortForm(const Json& value) {
    const std::string text = value.is_string() ? value.get<std::string>() : oneLine(value);
    const bool fits = text.size() <= 24 && text.find('\n') == std::string::npos;
    return fits && !value.is_structured() ? text : std::string();
}

} // namespace

Scenario readScenario(const std::string& path) {
    return Reader(path).read();
}

Scenario readCheckConfig(const std::string& path, const std::string& provider) {
    return Reader(path).readForCheck(provider);
}

std::string noSuchNode(const std::string& field, const std::string& name,
                       const std::vector<std::string>& known) {
    return field + ": there is no node '" + name + "'" +
           (known.empty() ? "; the scenario has none" : "; known: " + joined(known));
}

std::string at(const Scenario& scenario, int line, const std::string& reason) {
    return scenario.file.empty() ? reason
                                 : scenario.file + ":" + std::to_string(line) + ": " + reason;
}

std::string titleOf(const Step& step) {
    if (!step.title.empty()) {
        return step.title;
    }
    std::string title = step.operation;
    for (const auto& argument : step.arguments.items()) {
        const std::string value = shortForm(argument.value());
        const bool speaksForItself = argument.key() == "node" || argument.key() == "mode";
        if (!value.empty()) {
            title += " " + (speaksForItself ? value : argument.key() + "=" + value);
        }
    }
    return title;
}

} // namespace kzfi_simhost
