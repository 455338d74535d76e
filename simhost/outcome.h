// What an operation answered, what was expected of it, and where the two differ.
#ifndef KZFI_SIMHOST_OUTCOME_H
#define KZFI_SIMHOST_OUTCOME_H

#include <optional>
#include <string>
#include <vector>

#include "json.h"

namespace kzfi_simhost {

/// The answer of one operation. What it does not give is absent: a void operation has no status.
struct Outcome {
    std::optional<int> status;
    /// A text, or null where the provider gave a null pointer.
    std::optional<Json> text;
    /// Everything else by name: texts, numbers, true and false, null, or lists of these.
    Json values = Json::object();
    /// The exception that left the operation, for people; empty without.
    std::string exception;
    /// Why the step was not done at all, for people; empty when it was.
    std::string notCalled;

    Json toJson() const;
    static Outcome fromJson(const Json& json);
};

/// What a step says about the answer; what is absent or empty is not looked at.
struct Expectation {
    std::optional<int> status;
    /// A text, or null for a null pointer.
    std::optional<Json> text;
    /// Pieces that the text must hold.
    std::vector<std::string> contains;
    /// Values by name, each as a text, null, or a list of these; numbers are compared as texts.
    Json values = Json::object();
};

/// One difference, in words for people.
struct Mismatch {
    std::string what;
    std::string expected;
    std::string actual;
};

/// Where outcome is not as expected; empty when it is. Without an expected status a status other
/// than 0 is a difference; an exception, and that there was no call, always are.
std::vector<Mismatch> compare(const Expectation& expected, const Outcome& outcome);

} // namespace kzfi_simhost

#endif
