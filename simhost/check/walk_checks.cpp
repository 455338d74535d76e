// A random walk over the operations, written down as a scenario so that what it finds can be seen
// again.
#include <climits>
#include <fstream>
#include <random>
#include <set>

#include "context.h"
#include "operations.h"

namespace kzfi_simhost {
namespace {

/// Every operation comes up as often as this, each time in a new order.
const int ROUNDS = 5;

/// The walk's steps on file: each is there before it is called, so that the last one is what ended
/// the process.
class Replay {
  public:
    Replay(const std::string& path, const Scenario& scenario) : file(path) {
        file << "# What walk.random of kzfi-simhost check called, seed " << scenario.seed
             << ". To see it again: kzfi-simhost run " << path << "\n";
        const Json head = headOf(scenario);
        for (const auto& member : head.items()) {
            file << member.key() << ": " << oneLine(member.value()) << "\n";
        }
        file << "steps:\n" << std::flush;
    }

    void add(const std::string& operation, const Json& arguments) {
        file << "  - " << operation << ": " << oneLine(arguments) << "\n" << std::flush;
    }

    /// What the step came to, for the run to expect.
    void answered(const Outcome& outcome) {
        if (outcome.status) {
            file << "    expect: {status: " << *outcome.status << "}\n" << std::flush;
        }
    }

  private:
    static Json headOf(const Scenario& scenario) {
        Json head;
        head["provider"] = scenario.provider;
        head["language"] = scenario.language;
        head["deadline"] = scenario.deadline;
        head["trace"]["level"] = scenario.trace.level;
        for (const auto& [key, text] : {std::pair{"name", scenario.name},
                                        {"fimName", scenario.fimName},
                                        {"credentials", scenario.credentials}}) {
            if (text) {
                head[key] = *text;
            }
        }
        if (!scenario.catalogues.empty()) {
            head["catalogues"] = scenario.catalogues;
        }
        for (const ScenarioFile& each : scenario.files) {
            head["files"][each.path] = each.content;
        }
        head["nodes"] = Json::array();
        for (const ScenarioNode& node : scenario.nodes) {
            head["nodes"].push_back(descriptionOf(node));
        }
        return head;
    }

    static Json descriptionOf(const ScenarioNode& node) {
        Json description = {
            {"name", node.name}, {"type", node.type}, {"parameters", node.parameters}};
        if (!node.owner.empty()) {
            description["owner"] = node.owner;
        }
        return description;
    }

    std::ofstream file;
};

/// The same for the same seed, wherever it runs.
class Dice {
  public:
    explicit Dice(std::uint64_t seed) : random(seed) {}

    /// From 0 up to, and without, end.
    std::size_t below(std::size_t end) { return static_cast<std::size_t>(random() % end); }
    bool oneIn(std::size_t count) { return below(count) == 0; }

    template <class T>
    const T& oneOf(const std::vector<T>& list) {
        return list[below(list.size())];
    }

    template <class T>
    void shuffle(std::vector<T>& list) {
        for (std::size_t i = list.size(); i > 1; --i) {
            std::swap(list[i - 1], list[below(i)]);
        }
    }

  private:
    std::mt19937_64 random;
};

class Walk {
  public:
    explicit Walk(CheckContext& context)
        : c(context),
          dice(context.config().seed),
          replayFile(context.root().path() + "/replay.yaml"),
          replay(replayFile, context.config()) {
        for (const ScenarioNode& node : c.config().nodes) {
            nodes.push_back(node.name);
        }
    }

    void go() {
        std::vector<const Operation*> order = operationsToCall();
        for (int round = 0; round < ROUNDS; ++round) {
            dice.shuffle(order);
            for (const Operation* const operation : order) {
                call(*operation);
                askForMessage(operation->name);
            }
        }
    }

  private:
    /// The life of the provider is not the walk's business, and what the operations on messages
    /// hand out is valid only up to the next error: they are called in their order.
    static std::vector<const Operation*> operationsToCall() {
        static const std::set<std::string> others = {"init", "fini", "getLocaleMessage",
                                                     "delLocaleMessage", "delLastError"};
        std::vector<const Operation*> list;
        for (const Operation& operation : operations()) {
            if (operation.call != nullptr && others.count(operation.name) == 0) {
                list.push_back(&operation);
            }
        }
        return list;
    }

    void askForMessage(const std::string& operation) {
        if (operation == "getLastError") {
            call(*findOperation("getLocaleMessage"));
            call(*findOperation("delLocaleMessage"));
            call(*findOperation("delLastError"));
        } else if (operation == "errMsg") {
            call(*findOperation("delLocaleMessage"));
        }
    }

    void call(const Operation& operation) {
        Json arguments = Json::object();
        for (const Field& field : operation.fields) {
            if (!dice.oneIn(4)) {
                arguments[field.name] = valueFor(field);
            }
        }
        replay.add(operation.name, arguments);
        const std::string what = operation.name + " " + oneLine(arguments) + ", call " +
                                 std::to_string(++calls) + " of the walk with seed " +
                                 std::to_string(c.config().seed) + "; replay: kzfi-simhost run " +
                                 replayFile;
        replay.answered(c.callAs(what, operation.name, arguments));
        c.lookAtBuffers(what);
    }

    Json valueFor(const Field& field) {
        switch (field.kind) {
        case FieldKind::NODE:
            return dice.oneIn(10) ? Json() : Json(dice.oneOf(nodes));
        case FieldKind::NODES:
            return severalOf([&] { return dice.oneOf(nodes); });
        case FieldKind::TEXT:
            return dice.oneIn(10) ? Json() : Json(text());
        case FieldKind::TEXTS:
            return severalOf([&] { return text(); });
        case FieldKind::NUMBER:
            return field.name == "count" ? static_cast<int>(dice.below(2)) : number();
        case FieldKind::FLAG:
            return dice.oneIn(2);
        case FieldKind::CHOICE:
            return dice.oneOf(field.choices);
        case FieldKind::PARAMETERS:
            return parameters();
        case FieldKind::PATH:
            break;
        }
        return Json();
    }

    template <class Make>
    Json severalOf(const Make& make) {
        Json list = Json::array();
        for (std::size_t i = dice.below(4); i > 0; --i) {
            list.push_back(make());
        }
        return list;
    }

    std::string text() {
        static const std::vector<std::string> texts = {"",
                                                       "x",
                                                       "any",
                                                       "copy",
                                                       "native",
                                                       "de",
                                                       "no/such",
                                                       "a b",
                                                       "<a>&b;",
                                                       "%s%n%d",
                                                       std::string(300, 'x'),
                                                       "[A##B;C##D]"};
        return dice.oneIn(3) ? dice.oneOf(nodes) : dice.oneOf(texts);
    }

    int number() {
        static const std::vector<int> edges = {0, 1, -1, INT_MAX, INT_MIN};
        return dice.oneIn(2) ? dice.oneOf(edges) : static_cast<int>(2 + dice.below(100));
    }

    Json parameters() {
        const Json& known = c.config().nodes[dice.below(nodes.size())].parameters;
        return known.empty() || dice.oneIn(3) ? Json{{text(), text()}} : known;
    }

    CheckContext& c;
    Dice dice;
    std::vector<std::string> nodes;
    const std::string replayFile;
    Replay replay;
    int calls = 0;
};

void walkAtRandom(CheckContext& c) {
    c.start();
    Walk(c).go();
}

} // namespace

void addWalkChecks(std::vector<Check>& all) {
    all.push_back({"walk.random",
                   "The operations can be called in any order, with whatever the configuration has "
                   "to offer.",
                   "Run the replay that is named here; it makes the same calls up to the one that "
                   "went wrong.",
                   Needs::STARTED, walkAtRandom});
}

} // namespace kzfi_simhost
