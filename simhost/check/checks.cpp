#include "check.h"

namespace kzfi_simhost {

const std::vector<Check>& checks() {
    static const std::vector<Check> all = [] {
        std::vector<Check> list;
        addLoadChecks(list);
        addOperationsChecks(list);
        addLifeChecks(list);
        addClaimChecks(list);
        addNodesChecks(list);
        addErrorsChecks(list);
        addThreadsChecks(list);
        addConfigChecks(list);
        addWalkChecks(list);
        addSnapshotChecks(list);
        addWatchChecks(list);
        return list;
    }();
    return all;
}

const char* wordFor(Verdict verdict) {
    switch (verdict) {
    case Verdict::PASS:
        return "pass";
    case Verdict::WARN:
        return "warn";
    case Verdict::FAIL:
        return "fail";
    case Verdict::CRASH:
        return "crash";
    case Verdict::HANG:
        return "hang";
    case Verdict::EXIT:
        return "exit";
    case Verdict::EXCEPTION:
        return "exception";
    case Verdict::SKIP:
        return "skip";
    }
    return "";
}

bool isGreen(Verdict verdict) {
    return verdict == Verdict::PASS || verdict == Verdict::WARN || verdict == Verdict::SKIP;
}

const char* wordFor(SkipReason reason) {
    switch (reason) {
    case SkipReason::NOT_IMPLEMENTED:
        return "not implemented";
    case SkipReason::NOT_CONFIGURED:
        return "not configured";
    case SkipReason::NEEDS_PLATFORM:
        return "not possible here";
    case SkipReason::UNUSABLE:
        return "provider unusable";
    }
    return "";
}

} // namespace kzfi_simhost
