// Takes memory whenever it is loaded, and keeps it.
#include <cstdlib>
#include <cstring>

#include "twin.h"

namespace {

const std::size_t SIZE = 10000;

char* takeMemory() {
    char* const memory = static_cast<char*>(std::malloc(SIZE));
    std::memset(memory, 1, SIZE);
    return memory;
}

char* const memory = takeMemory();

class Twin : public Sound {
  public:
    int delayedInit() override { return memory == nullptr ? KZFI_ERR_FAILED : KZFI_OK; }
};

} // namespace

KZFI_TWIN(Twin)
