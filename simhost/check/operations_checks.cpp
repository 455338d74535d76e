// What holds for every operation of the plug-in base.
#include <climits>

#include "context.h"
#include "kzfi_platform_control.h"

namespace kzfi_simhost {
namespace {

/// The nodes that a sweep over all operations uses: one that the provider was given by initNode,
/// and another one.
ProbeRequest harmlessRequest(CheckContext& c) {
    HostContext& host = c.start();
    c.call("initNode");
    ProbeRequest request;
    request.node = host.nodes().first();
    request.alternate = c.stranger("another node");
    return request;
}

// ---- Once

void everyOperationOnce(CheckContext& c) {
    c.start();
    for (const Step& step : c.harmlessCalls()) {
        c.call(step.operation, step.arguments);
    }
}

// ---- Null pointers

/// Pointers that the kit's own defaults count on.
bool isNeverNull(const std::string& operation, const std::string& pointer) {
    return operation == "getLastError" && pointer == "info";
}

void everyNullPointer(CheckContext& c) {
    ProbeRequest request = harmlessRequest(c);
    for (const Probe& probe : probes()) {
        for (std::size_t i = 0; i < probe.pointers.size(); ++i) {
            if (!isNeverNull(probe.operation, probe.pointers[i])) {
                request.null = static_cast<int>(i);
                c.ask(probe, request, "(" + probe.pointers[i] + " = null)");
            }
        }
    }
}

// ---- Unknown nodes

std::string configurationOf(CheckContext& c) {
    return c.call("config", {{"mode", "get"}}).toJson().dump();
}

/// Nobody has ever called initNode for it, and what is asked of it is no other node's business.
void unknownNode(CheckContext& c) {
    ProbeRequest request = harmlessRequest(c);
    const std::string before = configurationOf(c);
    request.node = c.stranger("/no/such/node");
    request.alternate = c.stranger("/no/such/node/either");
    for (const Probe& probe : probes()) {
        if (probe.operation != "initNode") {
            c.ask(probe, request, "(an unknown node)");
        }
    }
    c.expect(configurationOf(c) == before, "the configuration of " + c.firstNode() +
                                               " is another one after calls for unknown nodes");
}

// ---- Statuses

void notImplementedIsStable(CheckContext& c) {
    ProbeRequest request = harmlessRequest(c);
    const int again = 3;
    for (const Probe& probe : probes()) {
        request.text.clear();
        const auto first = c.ask(probe, request);
        if (!first || first->status != KZFI_ERR_NOT_IMPLEMENTED) {
            continue;
        }
        for (int i = 0; i < again; ++i) {
            request.text = "again " + std::to_string(i);
            const auto answer = c.ask(probe, request, " once more");
            if (answer && answer->status != KZFI_ERR_NOT_IMPLEMENTED) {
                c.fail(probe.operation + " answered 4 (not implemented), and then " +
                       std::to_string(answer->status.value_or(0)));
                break;
            }
        }
    }
}

void statusesAreKnown(CheckContext& c) {
    ProbeRequest request = harmlessRequest(c);
    for (const char* const text : {"", "status"}) {
        request.text = text;
        for (const Probe& probe : probes()) {
            c.ask(probe, request);
        }
        c.call("initNode");
    }
}

// ---- Outputs

void outputsStayOnError(CheckContext& c) {
    ProbeRequest request = harmlessRequest(c);
    request.text = "outputs";
    request.marked = true;
    kfi_domain* const known = request.node;
    const std::pair<const char*, kfi_domain*> nodes[] = {
        {"", known}, {"(an unknown node)", c.stranger("/no/such/node")}, {"(no node)", nullptr}};
    for (const auto& [how, node] : nodes) {
        request.node = node;
        for (const Probe& probe : probes()) {
            c.ask(probe, request, how);
        }
    }
}

// ---- Exceptions

/// Texts and numbers that an operation may meet, however little it likes them.
void validInput(CheckContext& c, ProbeRequest request) {
    const std::string texts[] = {
        std::string(70000, 'x'), "Gr\xC3\xB6\xC3\x9Fte", "<a>&amp;</b>", "%s%n%d", "\xFF\xFE",
        "UDID##A##B##C"};
    for (const std::string& text : texts) {
        request.text = text;
        for (const Probe& probe : probes()) {
            if (probe.operation != "getLocaleMessage") {
                c.ask(probe, request, "(session and other texts: " + text.substr(0, 12) + ")");
            }
        }
        c.call("initNode");
    }
    request.text.clear();
    for (const int number : {-1, INT_MAX, INT_MIN}) {
        request.number = number;
        for (const Probe& probe : probes()) {
            c.ask(probe, request, "(options and other numbers: " + std::to_string(number) + ")");
        }
        c.call("initNode");
    }
}

/// Where the kit says itself that an exception passes, it is only worth a look.
void warnOf(CheckContext& c, const Probe& probe, const ProbeRequest& request,
            const std::string& how) {
    const std::string thrown =
        c.thrownBy(probe.operation + how, [&] { probe.call(c.create().provider(), request); });
    if (!thrown.empty()) {
        c.warn(probe.operation + how + " let out " + thrown);
    }
}

void noExceptionComesOut(CheckContext& c) {
    ProbeRequest request = harmlessRequest(c);
    validInput(c, request);
    c.keepExceptions(false);
    for (const Probe& probe : probes()) {
        request.text.clear();
        kzfi_platform_fail_alloc(1);
        warnOf(c, probe, request, "(the host has no memory)");
        kzfi_platform_fail_alloc(0);
        if (probe.operation == "getLocaleMessage") {
            request.text = "<Message><Id>MSG";
            warnOf(c, probe, request, "(a malformed message)");
        }
    }
    c.keepExceptions(true);
}

} // namespace

void addOperationsChecks(std::vector<Check>& all) {
    all.push_back({"operations.once", "Every operation can be called once on harmless arguments.",
                   "Look at the operation named here: it gets one node, empty texts and lists, and "
                   "zeros, and must come back with a status.",
                   Needs::PROVIDER, everyOperationOnce});
    all.push_back({"operations.null", "Every pointer argument may be null.",
                   "Test the argument named here for null and answer 3 (KZFI_ERR_INVALID) where "
                   "the operation cannot do without it.",
                   Needs::STARTED, everyNullPointer});
    all.push_back({"operations.unknown_node",
                   "A node that initNode was never called for is refused, and changes nothing.",
                   "Look the node's record up in the private-data factory and answer 3 when there "
                   "is none, before anything else is done.",
                   Needs::STARTED, unknownNode});
    all.push_back({"operations.not_implemented_stable",
                   "An operation that answers 4 (not implemented) answers 4 always.",
                   "Answer 4 only from operations that the provider never implements, and another "
                   "status where it only cannot do it now.",
                   Needs::STARTED, notImplementedIsStable});
    all.push_back({"operations.statuses",
                   "Every status is one of the framework's, or one of the provider's own above "
                   "its message index offset.",
                   "Answer one of the statuses of kzfi_framework.h, or the message index offset "
                   "plus the number of a message.",
                   Needs::STARTED, statusesAreKnown});
    all.push_back({"operations.outputs_on_error",
                   "An operation that fails leaves its outputs alone, or null.",
                   "Write to the outputs last, when nothing can fail any more: the framework "
                   "neither reads nor frees them after a failure.",
                   Needs::STARTED, outputsStayOnError});
    all.push_back({"operations.exceptions", "No exception leaves an operation.",
                   "Catch what the operation's own code can throw and answer 6 "
                   "(KZFI_ERR_FAILED), or a status of the provider's own, with an error pushed.",
                   Needs::STARTED, noExceptionComesOut});
}

} // namespace kzfi_simhost
