#include "cfiprivatedata.h"
#include "fuzzing.h"

using namespace kzfi_pdk_4_4;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    char name[] = "UDID##ACME##ARRAY7##ENC1##00A3";
    kzfi_objid id = {name, sizeof name, 0};
    CFiPrivateData node(&id);
    CFiConfigParamData& value = node.configDataList(1)->entries()["snapshot_resource_spec"];
    value.key = "snapshot_resource_spec";
    value.value = kzfi_fuzz::textOf(data, size);
    const int status = node.selectTargetFromConfigData();
    kzfi_fuzz::require(status == KZFI_OK || status == KZFI_ERR_FAILED, "one of two answers");
    kzfi_fuzz::require((status == KZFI_OK) == !node.getConfiguredTarget().empty(),
                       "a target exactly when the answer says so");
    kzfi_fuzz::require(status != KZFI_OK || !node.getTargets().empty(), "it is a candidate");
    return 0;
}
