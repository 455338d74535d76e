#include "outcome.h"

namespace kzfi_simhost {
namespace {

const char* const NOTHING = "(nothing)";

/// Texts as they are, everything else as JSON writes it; lists and maps with texts for members.
Json asTexts(const Json& value) {
    if (value.is_structured()) {
        Json texts = value;
        for (Json& member : texts) {
            member = asTexts(member);
        }
        return texts;
    }
    return value.is_null() || value.is_string() ? value : Json(oneLine(value));
}

std::string forPeople(const Json& value) {
    return value.is_string() ? value.get<std::string>() : oneLine(value);
}

std::string forPeople(const std::optional<Json>& value) {
    return value ? forPeople(*value) : NOTHING;
}

std::string forPeople(const std::optional<int>& value) {
    return value ? std::to_string(*value) : NOTHING;
}

void compareStatus(const Expectation& expected, const Outcome& outcome,
                   std::vector<Mismatch>& found) {
    const std::optional<int> wanted =
        expected.status || !outcome.status ? expected.status : std::optional<int>(0);
    if (wanted && wanted != outcome.status) {
        found.push_back({"status", forPeople(wanted), forPeople(outcome.status)});
    }
}

void compareText(const Expectation& expected, const Outcome& outcome,
                 std::vector<Mismatch>& found) {
    if (expected.text && expected.text != outcome.text) {
        found.push_back({"text", forPeople(expected.text), forPeople(outcome.text)});
    }
    const bool hasText = outcome.text && outcome.text->is_string();
    for (const std::string& piece : expected.contains) {
        if (!hasText || outcome.text->get<std::string>().find(piece) == std::string::npos) {
            found.push_back({"contains", piece, forPeople(outcome.text)});
        }
    }
}

void compareValues(const Expectation& expected, const Outcome& outcome,
                   std::vector<Mismatch>& found) {
    for (const auto& wanted : expected.values.items()) {
        const auto actual = outcome.values.find(wanted.key());
        if (actual == outcome.values.end()) {
            found.push_back({wanted.key(), forPeople(wanted.value()), NOTHING});
        } else if (asTexts(*actual) != wanted.value()) {
            found.push_back({wanted.key(), forPeople(wanted.value()), forPeople(*actual)});
        }
    }
}

} // namespace

Json Outcome::toJson() const {
    Json json = Json::object();
    if (status) {
        json["status"] = *status;
    }
    if (text) {
        json["text"] = *text;
    }
    json["values"] = values;
    if (!exception.empty()) {
        json["exception"] = exception;
    }
    if (!notCalled.empty()) {
        json["notCalled"] = notCalled;
    }
    return json;
}

Outcome Outcome::fromJson(const Json& json) {
    Outcome outcome;
    if (json.contains("status")) {
        outcome.status = json["status"].get<int>();
    }
    if (json.contains("text")) {
        outcome.text = json["text"];
    }
    outcome.values = json.value("values", Json::object());
    outcome.exception = json.value("exception", "");
    outcome.notCalled = json.value("notCalled", "");
    return outcome;
}

std::vector<Mismatch> compare(const Expectation& expected, const Outcome& outcome) {
    std::vector<Mismatch> found;
    if (!outcome.notCalled.empty()) {
        found.push_back({"call", "a call", "none"});
        return found;
    }
    if (!outcome.exception.empty()) {
        found.push_back({"answer", "an answer", "an exception: " + outcome.exception});
        return found;
    }
    compareStatus(expected, outcome, found);
    compareText(expected, outcome, found);
    compareValues(expected, outcome, found);
    return found;
}

} // namespace kzfi_simhost
