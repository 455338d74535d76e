// What holds for every answer of an operation, whatever it was asked.
#ifndef KZFI_SIMHOST_CHECK_ANSWER_WATCH_H
#define KZFI_SIMHOST_CHECK_ANSWER_WATCH_H

#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "finding.h"
#include "outcome.h"
#include "probe.h"

namespace kzfi_simhost {

/// Looks at statuses and, where an operation failed, at outputs. Threads: any.
class AnswerWatch {
  public:
    AnswerWatch() = default;
    AnswerWatch(const AnswerWatch&) = delete;
    AnswerWatch& operator=(const AnswerWatch&) = delete;

    /// What is wrong with the answer, and was not found before. offset: the provider's message
    /// index offset.
    std::vector<Finding> look(const std::string& operation, const ProbeAnswer& answer, int offset);
    /// The same for the answer to a step.
    std::vector<Finding> look(const std::string& operation, const Outcome& outcome, int offset);

  private:
    std::mutex lock;
    std::set<std::string> known;
};

} // namespace kzfi_simhost

#endif
