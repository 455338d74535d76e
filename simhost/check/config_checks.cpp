// Configuration requests: what GET, SET, CLEAR and GETPARAM owe to each other.
#include <sys/inotify.h>
#include <unistd.h>

#include <fstream>

#include "context.h"
#include "parameter_values.h"
#include "statuses.h"
#include "text_tools.h"

namespace kzfi_simhost {
namespace {

using namespace kzfi_pdk_4_4;

const char* const BOTH_LISTS[] = {"0", "1"};

/// A node whose configuration can be asked for.
std::string configurable(CheckContext& c) {
    c.start();
    c.call("initNode");
    const Json get = {{"mode", "get"}};
    c.skipUnlessImplemented("config", get);
    if (c.call("config", get).status != KZFI_OK) {
        c.skip(SkipReason::NOT_CONFIGURED, "nodes: one that initNode accepts");
    }
    return c.firstNode();
}

Outcome config(CheckContext& c, const std::string& mode, const std::string& list,
               const Json& more = Json::object()) {
    Json arguments = {{"mode", mode}, {"list", list}};
    arguments.update(more);
    return c.call("config", arguments);
}

Outcome set(CheckContext& c, const ParameterValues& parameters, const char* mode = "set") {
    return config(c, mode, parameters.list, {{"parameters", parameters.values}});
}

Outcome sendText(CheckContext& c, const std::string& list, const std::string& text) {
    return config(c, "set", list, {{"text", text}});
}

Json valuesNow(CheckContext& c, const std::string& list) {
    return config(c, "get", list).values;
}

/// Values that are not the defaults, and that the provider takes.
ParameterValues settable(CheckContext& c, const std::string& node) {
    ParameterValues parameters = otherValues(c, node);
    if (parameters.values.empty()) {
        c.skip(SkipReason::NOT_CONFIGURED, "parameters of " + node);
    }
    if (set(c, parameters).status != KZFI_OK) {
        c.skip(SkipReason::NOT_CONFIGURED, "parameters of " + node + " that config SET accepts");
    }
    return parameters;
}

std::string textIn(const Outcome& outcome) {
    return outcome.text && outcome.text->is_string() ? outcome.text->get<std::string>() : "";
}

std::size_t countOf(const std::string& text, const std::string& piece) {
    std::size_t count = 0;
    for (std::size_t at = text.find(piece); at != std::string::npos;
         at = text.find(piece, at + 1)) {
        ++count;
    }
    return count;
}

// ---- What is handed out

/// Of the form that the kit writes; no text at all stands for no entries.
template <class List>
void judgeText(CheckContext& c, const Outcome& answer, const std::string& mode,
               const std::string& element) {
    const std::string text = textIn(answer);
    if (answer.status != KZFI_OK || text.empty()) {
        c.expect(!answer.text || answer.text->is_null(), "config " + mode + " gave an empty text");
        return;
    }
    List list;
    if (!c.expect(list.parse(text.c_str()) == KZFI_OK,
                  "config " + mode + " gave a text that is not well-formed XML")) {
        return;
    }
    const std::string header = "<?xml version=\"1.0\" standalone=\"yes\" ?>\n";
    c.expect(startsWith(text, header), "config " + mode + " gave a text without the header");
    c.expect(text.find("<" + element + "List>") != std::string::npos,
             "config " + mode + " gave another document than a " + element + "List");
    c.expect(countOf(text, "<" + element + ">") == list.entries().size(),
             "config " + mode + " gave an entry twice, or one of another kind");
    c.expect(list.entries().count("") == 0, "config " + mode + " gave an entry without a key");
}

void getIsWellFormed(CheckContext& c) {
    configurable(c);
    for (const char* const list : BOTH_LISTS) {
        judgeText<CFiConfigParamDataList>(c, config(c, "get", list), "GET", "ConfigValue");
        judgeText<CFiConfigParamInfoList>(c, config(c, "getparam", list), "GETPARAM",
                                          "ConfigParam");
    }
}

void getParamAgreesWithGet(CheckContext& c) {
    configurable(c);
    for (const char* const list : BOTH_LISTS) {
        const Json described = config(c, "getparam", list).values;
        const Json given = valuesNow(c, list);
        for (const auto& parameter : described.items()) {
            const std::string& key = parameter.key();
            if (!given.contains(key)) {
                c.fail("GETPARAM describes '" + key + "', which GET does not give");
            } else if (given[key] != parameter.value()) {
                c.fail("GETPARAM says that '" + key + "' is " + oneLine(parameter.value()) +
                       " when nothing was set, and GET gives " + oneLine(given[key]));
            }
        }
        for (const auto& value : given.items()) {
            c.expect(described.contains(value.key()),
                     "GET gives '" + value.key() + "', which GETPARAM does not describe");
        }
    }
}

// ---- SET

void setAndGetAgree(CheckContext& c) {
    const std::string node = configurable(c);
    const ParameterValues other = otherValues(c, node);
    const Outcome before = config(c, "get", other.values.empty() ? "0" : other.list);
    settable(c, node);
    const Json changed = valuesNow(c, other.list);
    for (const auto& value : other.values.items()) {
        const Json given = changed.contains(value.key()) ? changed[value.key()] : Json();
        c.expect(given == value.value(), "SET " + value.key() + " = " + oneLine(value.value()) +
                                             ", and GET gives " + oneLine(given));
    }
    if (textIn(before).empty()) {
        return;
    }
    c.expect(sendText(c, other.list, textIn(before)).status == KZFI_OK,
             "SET refuses the text that GET gave");
    const Json back = valuesNow(c, other.list);
    c.expect(back == before.values, "SET of what GET gave, " + oneLine(before.values) +
                                        ", and GET gives " + oneLine(back));
}

void settingTwiceIsSettingOnce(CheckContext& c) {
    const ParameterValues parameters = settable(c, configurable(c));
    const Outcome first = set(c, parameters);
    const Json values = valuesNow(c, parameters.list);
    for (const char* const mode : {"set", "set-again"}) {
        const Outcome again = set(c, parameters, mode);
        c.expect(again.toJson() == first.toJson(),
                 std::string("config ") + mode + " answered differently when it was called again");
        const Json now = valuesNow(c, parameters.list);
        c.expect(now == values, std::string("the values after ") + mode +
                                    " of the same once more: " + oneLine(now) +
                                    "; before: " + oneLine(values));
    }
}

// ---- Texts that are refused

/// The kit's own GET hands a text out that was refused before.
void judgeRefusal(CheckContext& c, const ParameterValues& parameters, const Json& values,
                  const std::string& text) {
    const Outcome answer = sendText(c, parameters.list, text);
    const std::string sent = "SET of '" + text.substr(0, 40) + "'";
    if (answer.status == KZFI_OK) {
        c.fail(sent + " answered 0");
        return;
    }
    if (answer.status && answer.status != KZFI_ERR_INVALID) {
        c.warn(sent + " answered " + std::to_string(*answer.status) + ", not 3 (KZFI_ERR_INVALID)");
    }
    const Outcome kept = config(c, "get", parameters.list);
    c.expect(kept.values == values || textIn(kept) == text,
             sent + " was refused, and GET gives " + oneLine(kept.values) + " afterwards");
    set(c, parameters);
    c.expect(valuesNow(c, parameters.list) == values,
             sent + " was refused, and what is set after it does not arrive");
}

void badXmlIsRefused(CheckContext& c) {
    const ParameterValues parameters = settable(c, configurable(c));
    const Json values = valuesNow(c, parameters.list);
    for (const char* const text :
         {"", "retries=5", "<ConfigValueList>", "<ConfigValueList></ConfigParamList>",
          "<ConfigValueList><ConfigValue><value>1 < 2</value></ConfigValue></ConfigValueList>",
          "<ConfigValueList/><ConfigValueList/>",
          "<ConfigValueList><ConfigValue><key>&nothing;</key></ConfigValue></ConfigValueList>"}) {
        judgeRefusal(c, parameters, values, text);
    }
}

/// Notices when a file is opened, where the system tells (works()).
class OpenWatch {
  public:
    explicit OpenWatch(const std::string& file)
        : descriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)),
          watches(inotify_add_watch(descriptor, file.c_str(), IN_OPEN) >= 0) {}
    OpenWatch(const OpenWatch&) = delete;
    OpenWatch& operator=(const OpenWatch&) = delete;
    ~OpenWatch() { close(descriptor); }

    bool works() const { return watches; }
    bool wasOpened() const {
        char event[1024];
        return read(descriptor, event, sizeof event) > 0;
    }

  private:
    const int descriptor;
    const bool watches;
};

/// The most memory that this process ever held, in MiB; the count begins anew where that is
/// allowed.
std::size_t peak(bool anew) {
    if (anew) {
        std::ofstream("/proc/self/clear_refs") << 5;
    }
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        std::size_t size = 0;
        if (word == "VmHWM:" && status >> size) {
            return size / 1024;
        }
    }
    return 0;
}

std::string valueList(const std::string& key, const std::string& value) {
    return "<ConfigValueList><ConfigValue><key>" + key + "</key><value>" + value +
           "</value></ConfigValue></ConfigValueList>";
}

/// Unfolds to 100 MB.
std::string bomb(const std::string& key) {
    std::string entities = "<!ENTITY e0 \"0123456789\">";
    for (int level = 1; level <= 7; ++level) {
        entities += "<!ENTITY e" + std::to_string(level) + " \"";
        for (int i = 0; i < 10; ++i) {
            entities += "&e" + std::to_string(level - 1) + ";";
        }
        entities += "\">";
    }
    return "<!DOCTYPE ConfigValueList [" + entities + "]>" + valueList(key, "&e7;");
}

std::string deep() {
    std::string text = "<ConfigValueList>";
    const int levels = 20000;
    for (int i = 0; i < levels; ++i) {
        text += "<a>";
    }
    for (int i = 0; i < levels; ++i) {
        text += "</a>";
    }
    return text + "</ConfigValueList>";
}

const char SECRET[] = "a file of somebody else's";
const std::size_t MOST_MEMORY = 64;

/// Whether it is taken or refused, nothing bad comes of it.
void sendHostile(CheckContext& c, const std::string& list, const std::string& what,
                 const std::string& text) {
    const OpenWatch watch(c.root().inside("secret.txt"));
    const std::size_t before = peak(true);
    const Outcome answer = sendText(c, list, text);
    const Outcome now = config(c, "get", list);
    const std::size_t after = peak(false);
    c.expect(after <= before + MOST_MEMORY,
             "SET of " + what + " took " + std::to_string(after - before) + " MiB of memory");
    const bool told = textIn(answer).find(SECRET) != std::string::npos ||
                      textIn(now).find(SECRET) != std::string::npos;
    c.expect(!told, "SET of " + what + " told what is in the file");
    c.expect(told || !watch.wasOpened(), "SET of " + what + " opened the file");
}

void hostileXmlIsHarmless(CheckContext& c) {
    const ParameterValues parameters = settable(c, configurable(c));
    const Json values = valuesNow(c, parameters.list);
    const std::string key = parameters.values.begin().key();
    c.root().placeFile("secret.txt", SECRET);
    const std::string address = "\"file://" + c.root().inside("secret.txt") + "\"";
    const std::pair<const char*, std::string> texts[] = {
        {"an external entity",
         "<!DOCTYPE ConfigValueList [<!ENTITY e SYSTEM " + address + ">]>" + valueList(key, "&e;")},
        {"an external DTD",
         "<!DOCTYPE ConfigValueList SYSTEM " + address + ">" + valueList(key, "x")},
        {"a parameter entity", "<!DOCTYPE ConfigValueList [<!ENTITY % e SYSTEM " + address +
                                   "> %e;]>" + valueList(key, "x")},
        {"entities that unfold to 100 MB", bomb(key)},
        {"20000 elements in each other", deep()}};
    for (const auto& [what, text] : texts) {
        sendHostile(c, parameters.list, what, text);
        set(c, parameters);
        c.expect(valuesNow(c, parameters.list) == values,
                 std::string("after SET of ") + what + " what is set does not arrive");
    }
    if (!OpenWatch(c.root().inside("secret.txt")).works()) {
        c.skip(SkipReason::NEEDS_PLATFORM, "to be told of opened files (inotify)");
    }
}

// ---- CLEAR

/// The kit's own GET gives no text after it, and the next SET completes with the defaults.
void clearForgets(CheckContext& c) {
    const std::string node = configurable(c);
    const ParameterValues parameters = otherValues(c, node);
    const Json defaults = valuesNow(c, parameters.values.empty() ? "0" : parameters.list);
    settable(c, node);
    const Outcome cleared = config(c, "clear", parameters.list);
    if (!c.expect(cleared.status == KZFI_OK,
                  "config CLEAR answered " + std::to_string(cleared.status.value_or(-1)))) {
        return;
    }
    const Outcome now = config(c, "get", parameters.list);
    c.expect(textIn(now).empty() || now.values == defaults,
             "GET after CLEAR gives " + oneLine(now.values) + ", not the defaults, " +
                 oneLine(defaults));
    sendText(c, parameters.list, "<ConfigValueList></ConfigValueList>");
    const Json completed = valuesNow(c, parameters.list);
    c.expect(completed == defaults, "a SET without values after CLEAR gives " + oneLine(completed) +
                                        ", not the defaults, " + oneLine(defaults));
}

// ---- Limits

/// Values that the description rules out.
std::vector<std::string> outside(const CFiConfigParamInfo& description) {
    if (!description.selectionList.empty()) {
        return {"none of the choices"};
    }
    std::vector<std::string> values;
    const bool ranged = description.rangeMin != -1 || description.rangeMax != -1;
    if (description.dataType == FI_DATA_INT && ranged) {
        values.push_back(std::to_string(static_cast<long>(description.rangeMin) - 1));
        values.push_back(std::to_string(static_cast<long>(description.rangeMax) + 1));
        values.push_back("many");
    }
    return values;
}

void judgeLimit(CheckContext& c, const ParameterValues& parameters) {
    const Json before = valuesNow(c, parameters.list);
    const Outcome answer = set(c, parameters);
    const Json after = valuesNow(c, parameters.list);
    const std::string& key = parameters.values.begin().key();
    const std::string value = parameters.values.begin().value().get<std::string>();
    if (answer.status && isFailure("config", *answer.status)) {
        c.expect(after == before, "SET " + key + " = " + value + " was refused, and GET gives " +
                                      oneLine(after) + " afterwards");
    } else if (after.contains(key) && after[key] == value) {
        c.warn("SET took " + key + " = " + value + ", which its description rules out");
    }
}

void limitsAreReported(CheckContext& c) {
    configurable(c);
    for (const char* const list : BOTH_LISTS) {
        const CFiConfigParamInfoList known(textIn(config(c, "getparam", list)).c_str());
        for (const auto& entry : known.entries()) {
            for (const std::string& value : outside(entry.second)) {
                judgeLimit(c, {list, {{entry.first, value}}});
            }
        }
    }
}

} // namespace

void addConfigChecks(std::vector<Check>& all) {
    all.push_back({"config.get",
                   "GET and GETPARAM give a list of values and one of descriptions, as the kit "
                   "writes them.",
                   "Write the texts with updateXML() of CFiConfigParamDataList and "
                   "CFiConfigParamInfoList, and hand out a copy.",
                   Needs::STARTED, getIsWellFormed});
    all.push_back({"config.getparam",
                   "Every parameter that GETPARAM describes has its default in GET, and no other "
                   "is there.",
                   "Describe the parameters once, in globalConfigInfo[0] and, for nodes that lead "
                   "their owner, in globalConfigInfo[1] alike.",
                   Needs::STARTED, getParamAgreesWithGet});
    all.push_back({"config.round_trip", "GET gives what SET took, and SET takes what GET gave.",
                   "Keep the values as they came, and look at the parameter named here.",
                   Needs::STARTED, setAndGetAgree});
    all.push_back({"config.set_twice", "The same SET again changes nothing.",
                   "Let SET replace the values, not add to them.", Needs::STARTED,
                   settingTwiceIsSettingOnce});
    all.push_back({"config.bad_xml",
                   "A text that is not well-formed is refused with 3, and the values stay.",
                   "Parse the text into a list of its own, answer 3 (KZFI_ERR_INVALID) when that "
                   "fails, and take the values over only when it does not.",
                   Needs::STARTED, badXmlIsRefused});
    all.push_back({"config.hostile_xml",
                   "A hostile text neither reads a file nor takes much memory, and the next SET "
                   "works.",
                   "Read XML with the kit's lists or CFiSaxParser, which refuse external entities "
                   "and texts that unfold to far more than their size.",
                   Needs::STARTED, hostileXmlIsHarmless});
    all.push_back({"config.clear", "CLEAR forgets what was set.",
                   "Empty the node's values on CLEAR; GET gives no text then, or the defaults.",
                   Needs::STARTED, clearForgets});
    all.push_back({"config.limits", "SET refuses a value that its description rules out.",
                   "Override config, compare what SET brings with range and choices, and answer 3 "
                   "(KZFI_ERR_INVALID): the kit's own does not.",
                   Needs::STARTED, limitsAreReported});
}

} // namespace kzfi_simhost
