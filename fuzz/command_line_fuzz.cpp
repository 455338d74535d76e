#include <cstring>

#include "cfiexecpipe.h"
#include "fuzzing.h"

using namespace kzfi_pdk_4_4;

namespace {

/// Parses, and never starts anything.
class Parser : public CFiExecPipePosix {
  public:
    Parser() : CFiExecPipePosix(0) {}
    using CFiExecPipePosix::argumentCount;
    using CFiExecPipePosix::arguments;
    using CFiExecPipePosix::ParseCommand;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string command = kzfi_fuzz::textOf(data, size);
    Parser parser;
    if (!parser.ParseCommand(command)) {
        return 0;
    }
    std::size_t bytes = 0;
    int count = 0;
    for (char* const* argument = parser.arguments(); *argument != nullptr; ++argument) {
        bytes += std::strlen(*argument);
        ++count;
    }
    kzfi_fuzz::require(count == parser.argumentCount(), "a null ends the arguments");
    kzfi_fuzz::require(bytes <= command.size(), "arguments come from the command");
    return 0;
}
