#include "cficredentials.h"
#include "fuzzing.h"

using namespace kzfi_pdk_4_4;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text = kzfi_fuzz::textOf(data, size);
    for (const bool openArray : {false, true}) {
        CFiCredentialsParser parser;
        std::vector<SFiCredential> found;
        parser.parse(text, "ACME", "BIGDISK", found, openArray);
        for (const SFiCredential& credential : found) {
            const bool complete = !credential.hostname.empty() && !credential.username.empty() &&
                                  !credential.password.empty();
            kzfi_fuzz::require(openArray || complete, "incomplete credentials are left out");
        }
    }
    return 0;
}
