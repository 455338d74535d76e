// Eight threads, each with a node of its own.
#include <set>
#include <thread>

#include "context.h"
#include "parameter_values.h"

namespace kzfi_simhost {
namespace {

const int THREADS = 8;

struct Answer {
    std::string call;
    std::string status;
    Json whole; ///< with all that was handed out
};

/// What one thread is answered, in order.
using Answers = std::vector<Answer>;
using Work = std::function<Answers(int thread)>;

std::string nodeOf(CheckContext& c, int thread) {
    return c.firstNode() + " (thread " + std::to_string(thread) + ")";
}

std::vector<Answers> oneAfterTheOther(const Work& work) {
    std::vector<Answers> all(THREADS);
    for (int i = 0; i < THREADS; ++i) {
        all[static_cast<std::size_t>(i)] = work(i);
    }
    return all;
}

std::vector<Answers> allAtOnce(const Work& work) {
    std::vector<Answers> all(THREADS);
    std::vector<std::thread> threads;
    threads.reserve(THREADS);
    for (int i = 0; i < THREADS; ++i) {
        threads.emplace_back([&, i] { all[static_cast<std::size_t>(i)] = work(i); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return all;
}

std::string inWords(const std::optional<int>& status) {
    return status ? std::to_string(*status) : "nothing";
}

void compare(CheckContext& c, int thread, const Answer& alone, const Answer& together) {
    const std::string call = "thread " + std::to_string(thread) + ": " + alone.call + " answered ";
    if (alone.status != together.status) {
        c.fail(call + together.status + ", and alone " + alone.status);
    } else if (alone.whole != together.whole) {
        c.fail(call + alone.status + ", with something else than alone");
    }
}

/// The first time does not count: some providers answer otherwise once.
void compare(CheckContext& c, const Work& work) {
    oneAfterTheOther(work);
    const std::vector<Answers> alone = oneAfterTheOther(work);
    const std::vector<Answers> together = allAtOnce(work);
    for (int i = 0; i < THREADS; ++i) {
        const Answers& expected = alone[static_cast<std::size_t>(i)];
        const Answers& answers = together[static_cast<std::size_t>(i)];
        for (std::size_t k = 0; k < expected.size() && k < answers.size(); ++k) {
            compare(c, i, expected[k], answers[k]);
        }
    }
}

// ---- Every operation

/// delayedInit is no node's; callers that share texts of messages take turns.
bool isForOneThread(const std::string& operation) {
    static const std::set<std::string> all = {"delayedInit", "errMsg", "getLocaleMessage",
                                              "delLocaleMessage"};
    return all.count(operation) != 0;
}

Answer answerOf(CheckContext& c, const Probe& probe, const ProbeRequest& request) {
    const auto answer = c.ask(probe, request, " among " + std::to_string(THREADS) + " threads");
    return {probe.operation, answer ? inWords(answer->status) : "an exception", {}};
}

void everyOperation(CheckContext& c) {
    c.start();
    std::vector<ProbeRequest> requests(THREADS);
    for (int i = 0; i < THREADS; ++i) {
        ProbeRequest& request = requests[static_cast<std::size_t>(i)];
        request.node = c.stranger(nodeOf(c, i));
        request.alternate = c.stranger(nodeOf(c, i) + " (alternate)");
    }
    compare(c, [&](int thread) {
        Answers answers;
        for (const Probe& probe : probes()) {
            if (!isForOneThread(probe.operation)) {
                answers.push_back(answerOf(c, probe, requests[static_cast<std::size_t>(thread)]));
            }
        }
        return answers;
    });
}

// ---- Nodes and their values

Answer answerOf(CheckContext& c, const std::string& operation, const Json& arguments) {
    const Outcome outcome = c.call(operation, arguments);
    const std::string mode = arguments.contains("mode") ? " " + arguments.value("mode", "") : "";
    return {operation + mode, inWords(outcome.status), outcome.toJson()};
}

/// Each second thread sets values, which the others must not see.
Answers lifeOf(CheckContext& c, const ParameterValues& other, int thread) {
    const Json node = {{"node", nodeOf(c, thread)}};
    const auto config = [&](const char* mode) {
        Json arguments = node;
        arguments.update({{"mode", mode}, {"list", other.list.empty() ? "0" : other.list}});
        if (mode == std::string("set")) {
            arguments["parameters"] = other.values;
        }
        return answerOf(c, "config", arguments);
    };
    Answers answers = {answerOf(c, "initNode", node), config("getparam"), config("get")};
    if (thread % 2 == 0 && !other.values.empty()) {
        answers.push_back(config("set"));
    }
    answers.push_back(config("get"));
    answers.push_back(config("clear"));
    answers.push_back(answerOf(c, "deInitNode", node));
    return answers;
}

void nodesComeAndGo(CheckContext& c) {
    HostContext& host = c.start();
    c.call("initNode");
    const ParameterValues other = otherValues(c, c.firstNode());
    for (int i = 0; i < THREADS; ++i) {
        host.nodes().findOrMake(nodeOf(c, i));
    }
    compare(c, [&](int thread) {
        const int turns = 5;
        Answers answers;
        for (int i = 0; i < turns; ++i) {
            for (const Answer& answer : lifeOf(c, other, thread)) {
                answers.push_back(answer);
            }
        }
        return answers;
    });
}

} // namespace

void addThreadsChecks(std::vector<Check>& all) {
    all.push_back({"threads.operations",
                   "Eight threads that call all operations on nodes of their own are answered as "
                   "each alone.",
                   "Guard what operations share with objectLock, and keep what belongs to a call "
                   "in local variables.",
                   Needs::STARTED, everyOperation});
    all.push_back({"threads.nodes",
                   "Eight threads that begin, configure and end nodes of their own are answered "
                   "as each alone.",
                   "Guard the map of records in the private-data factory with a lock of its own, "
                   "and hand records out by smart pointer.",
                   Needs::STARTED, nodesComeAndGo});
}

} // namespace kzfi_simhost
