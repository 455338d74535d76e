#include "../simhost/scenario.h"

#include "fuzzing.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path = kzfi_fuzz::folder().path("a.yaml");
    kzfi_tests::writeFile(path, kzfi_fuzz::textOf(data, size));
    try {
        const kzfi_simhost::Scenario scenario = kzfi_simhost::readScenario(path);
        for (const kzfi_simhost::Step& step : scenario.steps) {
            kzfi_simhost::titleOf(step);
        }
    } catch (const kzfi_simhost::CannotRun& refused) {
        kzfi_fuzz::require(std::string(refused.what()).rfind(path, 0) == 0,
                           "a complaint begins with the file");
    }
    return 0;
}
