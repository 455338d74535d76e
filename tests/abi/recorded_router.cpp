// A router as it was built against the recorded release's headers; it runs with the library as it
// is now. See recorded_base.cpp.
#include <string>
#include <vector>

#include "cfiplugininterposer.h"
#include "fenced.h"

using namespace kzfi_pdk_4_4;

namespace {

const char NODE[] = "<recorded_router>UDID##ACME##A9##ENC1##00A3";

/// Keeps one record, whatever the node.
class Records : public CFiPrivateDataFactory {
  public:
    CFiPrivateDataPtr findPrivateData(kfi_domain*) override { return kept; }
    CFiPrivateDataPtr createPrivateData(kfi_domain* node, int) override {
        if (!kept) {
            kept = new CFiPrivateData(node->objid);
        }
        return kept;
    }
    void deletePrivateData(kfi_domain*) override { kept = CFiPrivateDataPtr(); }

  private:
    CFiPrivateDataPtr kept;
};

class RecordedRouter : public CFiPluginInterposer {
  public:
    int init() override {
        setDefaultNodeType(16);
        addIgnoreNodeType(128);
        addFim("##ENC1##", "mirror", "mirror_alt", 4, "");
        addFim("##ENC1##", "copy", "copy_alt", 8, "copies");
        CFiPrivateDataFactoryPtr factory(new Records);
        privateDataManager->registerFactory(factory);
        return KZFI_OK;
    }

    /// Says what it was called with.
    int importNode(tstring name, std::vector<tstring> hosts, bool transportable, bool variant,
                   bool deport, int caller) override {
        const bool named = name.strstr("UDID##ACME") != tstring::npos;
        return 3000 + (named ? 1 : 0) + (transportable ? 2 : 0) + (variant ? 4 : 0) +
               (deport ? 8 : 0) + 16 * caller + 64 * static_cast<int>(hosts.size());
    }

    int objctl(tstring command, CFiObjctlArgs&) override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        const bool whole = command == "registry"  ? registryIsWhole()
                           : command == "methods" ? methodsAreWhole()
                           : command == "numbers" ? numbersAreWhole()
                                                  : false;
        return whole ? KZFI_OK : KZFI_ERR_FAILED;
    }

  private:
    bool registryIsWhole() {
        const SFiGroupInfo& copies = groups.at("copies");
        const std::vector<SFiFimInfo>& found = fims.at("##ENC1##");
        return ignoredNodeTypes == 128 && defaultNodeType == 16 && groups.size() == 2 &&
               copies.groupName == "copies" && copies.claimPattern == "##ENC1##" &&
               copies.groupObjId != nullptr && std::string(copies.groupObjId->name) == "copies" &&
               copies.groupNode == nullptr && groups.at("mirror_FIM_GROUP").groupNode != nullptr &&
               found.size() == 2 && found[1].fimName == "copy";
    }

    bool methodsAreWhole() {
        const std::vector<SFiFimInfo> found = getFims(NODE);
        return found.size() == 2 && found[0].groupName == "mirror_FIM_GROUP" &&
               found[0].fimName == "mirror" && found[0].fimAltName == "mirror_alt" &&
               found[0].typeFlags == 4 && found[1].typeFlags == 8;
    }

    bool numbersAreWhole() {
        lunMap.setLunNumRange(10, 20);
        Fenced<CFiPblmOps> own;
        lunNum* map = nullptr;
        std::vector<std::string> numbers;
        const bool made = lunMap.getNewLunNum("ENC1", numbers) && lunMap.getEnclMap("ENC1", &map);
        return lunMap.getMinLunNum() == 10 && lunMap.getMaxLunNum() == 20 && made &&
               numbers.size() == 11 && numbers[0] == "10" && map->next == nullptr &&
               !map->used.test(10) && map->enclosureId == "ENC1" && own->getMaxLunNum() == 255 &&
               own.isIntact();
    }
};

} // namespace

extern "C" KZFI_PDK_API CFiPluginBase* kzfi_create_provider(void) {
    return new RecordedRouter;
}
