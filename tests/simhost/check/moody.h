// Checks of the tests' own on the provider "moody".
#ifndef KZFI_TESTS_CHECK_MOODY_H
#define KZFI_TESTS_CHECK_MOODY_H

#include <cstdlib>
#include <string>

#include "check/check_config.h"
#include "check/check_run.h"
#include "check/context.h"
#include "support/temp_dir.h"

namespace kzfi_tests {

inline void callOnce(kzfi_simhost::CheckContext& c) {
    c.start();
    c.call("prePrepare");
}

/// Runs one check on moody in this mood, whose prePrepare then does what it says.
class Moody {
  public:
    kzfi_simhost::CheckResult operator()(const std::string& mood,
                                         void (*run)(kzfi_simhost::CheckContext&) = callOnce,
                                         double deadline = 10) {
        setenv("MOOD", mood.c_str(), 1);
        const kzfi_simhost::Check check = {"test.check", "The rule.", "The advice.",
                                           kzfi_simhost::Needs::NOTHING, run};
        kzfi_simhost::Scenario configuration =
            kzfi_simhost::defaultCheckConfig(KZFI_PROVIDERS "/moody.so");
        configuration.deadline = deadline;
        const kzfi_simhost::CheckListener silent = {
            [](const kzfi_simhost::Check&, std::size_t, std::size_t) {},
            [](const kzfi_simhost::CheckResult&) {}};
        kzfi_simhost::CheckReport report = kzfi_simhost::runChecks(
            {&check}, configuration, kzfi_simhost::HostRoot(folder.path("root")), silent);
        unsetenv("MOOD");
        // The check is gone when this returns.
        report.results.front().check = nullptr;
        return report.results.front();
    }

  private:
    TempDir folder;
};

} // namespace kzfi_tests

#endif
