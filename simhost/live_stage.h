// What a terminal shows of a stage while it runs.
#ifndef KZFI_SIMHOST_LIVE_STAGE_H
#define KZFI_SIMHOST_LIVE_STAGE_H

#include <cstdint>
#include <ostream>
#include <string>

#include "run.h"

namespace kzfi_simhost {

/// What the files take that a path or glob below the root names, folders with all that lies in
/// them: bytes that are really there, so that a file whose length is set first is seen to grow.
/// Links are not followed; what vanishes meanwhile does not count.
std::uintmax_t sizeBelow(const HostRoot& root, const std::string& pattern);

/// A line that is rewritten in place: title, time, deadline, and the size of what the step watches.
/// Stages that end soon are never seen. Before anything else is written to the terminal the line
/// must be erased; the destructor does so as well.
class LiveStage {
  public:
    /// out leads to the descriptor terminal.
    LiveStage(std::ostream& out, int terminal, const HostRoot& hostRoot);
    LiveStage(const LiveStage&) = delete;
    LiveStage& operator=(const LiveStage&) = delete;
    ~LiveStage();

    void show(const Stage& stage, double seconds);
    void erase();

  private:
    /// The columns that can be used: the last one would make the terminal go to the next line.
    std::size_t columns() const;
    std::string stateOf(const Stage& stage, double seconds) const;

    std::ostream& stream;
    const int descriptor;
    const HostRoot& root;
    std::size_t shown = 0; ///< columns
};

} // namespace kzfi_simhost

#endif
