// Takes a block whenever it is initialised, too large for the heap.
#include <cstdlib>
#include <vector>

#include "twin.h"

namespace {

class Twin : public Sound {
  public:
    ~Twin() override {
        for (void* const block : blocks) {
            std::free(block);
        }
    }

    int init() override {
        blocks.push_back(std::malloc(1 << 20));
        return Sound::init();
    }

  private:
    std::vector<void*> blocks;
};

} // namespace

KZFI_TWIN(Twin)
