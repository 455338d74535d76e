// How a provider's shared object comes and goes.
#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "context.h"
#include "heap.h"

namespace kzfi_simhost {
namespace {

void allSymbolsAreBound(CheckContext& c) {
    c.load();
}

void entryIsThere(CheckContext& c) {
    ProviderLibrary& library = c.load();
    c.guarded("kzfi_create_provider", [&] {
        try {
            library.create();
        } catch (const NotAProvider& e) {
            c.fail(e.what());
        }
    });
}

/// Loading is nobody's business but the linker's: the process looks the same afterwards.
void loadingIsQuiet(CheckContext& c) {
    const Surroundings before;
    c.load();
    std::fflush(nullptr);
    std::error_code error;
    const auto printed = std::filesystem::file_size(c.root().outputFile(), error);
    c.expect(error || printed == 0, "loading it printed " + std::to_string(printed) + " bytes");
    for (const Finding& change : before.changes()) {
        c.fail("loading it: " + change.text);
    }
}

const int WARM_UP_TURNS = 10;
const int TURNS = 50;
// What a turn may leave in the C library's own books; a provider object alone is larger.
const std::size_t LEFT_PER_TURN = 64;

std::size_t mappings() {
    std::ifstream maps("/proc/self/maps");
    return static_cast<std::size_t>(
        std::count(std::istreambuf_iterator<char>(maps), std::istreambuf_iterator<char>(), '\n'));
}

/// One life of a provider that is never initialised; whether the library went away.
bool comeAndGo(CheckContext& c) {
    ProviderLibrary library(c.config().provider);
    library.create();
    return library.unload();
}

void comesAndGoesWithoutGrowth(CheckContext& c) {
    for (int i = 0; i < WARM_UP_TURNS; ++i) {
        c.doing("load and unload, turn " + std::to_string(i + 1));
        if (!comeAndGo(c)) {
            c.warn("the dynamic linker keeps the library; built with -fno-gnu-unique and without "
                   "other users it can be unloaded");
            return;
        }
    }
    const std::size_t usedBefore = heapInUse();
    const std::size_t mappedBefore = mappings();
    for (int i = WARM_UP_TURNS; i < TURNS; ++i) {
        c.doing("load and unload, turn " + std::to_string(i + 1));
        comeAndGo(c);
    }
    const std::size_t turns = TURNS - WARM_UP_TURNS;
    const std::size_t used = heapInUse();
    c.expect(used <= usedBefore + turns * LEFT_PER_TURN,
             std::to_string(turns) + " turns of loading and unloading took " +
                 std::to_string(used - usedBefore) + " bytes of memory");
    const std::size_t mapped = mappings();
    c.expect(mapped <= mappedBefore + turns / 2,
             std::to_string(turns) + " turns of loading and unloading left " +
                 std::to_string(mapped - mappedBefore) + " mappings");
}

} // namespace

void addLoadChecks(std::vector<Check>& all) {
    all.push_back({"load.symbols", "The provider can be loaded with all its symbols bound.",
                   "Link the provider with every library that it uses; -Wl,-z,defs finds what is "
                   "missing when it is linked.",
                   Needs::NOTHING, allSymbolsAreBound});
    all.push_back({"load.entry", "The entry kzfi_create_provider is there and gives a provider.",
                   "Export extern \"C\" kzfi_create_provider and let it return a new provider, "
                   "whatever happens.",
                   Needs::LIBRARY, entryIsThere});
    all.push_back({"load.quiet",
                   "Loading the provider prints nothing, and changes nothing in the process.",
                   "Move what static objects do (print, open, start threads, set the environment) "
                   "into init, and undo it in fini.",
                   Needs::PROVIDER, loadingIsQuiet});
    all.push_back({"load.repeat",
                   "The provider can be loaded and unloaded 50 times, and takes no more memory.",
                   "Free in destructors of static objects what their constructors take, and build "
                   "with -fno-gnu-unique so that the library can be unloaded.",
                   Needs::PROVIDER, comesAndGoesWithoutGrowth});
}

} // namespace kzfi_simhost
