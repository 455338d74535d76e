// How a provider's shared object comes and goes.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

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

std::size_t mappings() {
    std::ifstream maps("/proc/self/maps");
    return static_cast<std::size_t>(
        std::count(std::istreambuf_iterator<char>(maps), std::istreambuf_iterator<char>(), '\n'));
}

/// One life of a provider that is never initialised; whether the library went away.
bool loadAndUnload(CheckContext& c) {
    c.doing("load and unload");
    ProviderLibrary library(c.config().provider);
    library.create();
    return library.unload();
}

void comesAndGoesWithoutGrowth(CheckContext& c) {
    if (!loadAndUnload(c)) {
        c.warn("the dynamic linker keeps the library; built with -fno-gnu-unique and without "
               "other users it can be unloaded");
        return;
    }
    const std::size_t before = mappings();
    const Turns turns = {9, 40};
    int done = 0;
    const std::size_t kept = keptPerTurn(turns, [&] {
        loadAndUnload(c);
        ++done;
    });
    c.expect(kept == 0,
             "each turn of loading and unloading keeps " + std::to_string(kept) + " bytes");
    const std::size_t mapped = mappings();
    c.expect(mapped <= before + static_cast<std::size_t>(done) / 2,
             std::to_string(done) + " turns of loading and unloading left " +
                 std::to_string(mapped - before) + " mappings");
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
