#include "operations.h"

#include <algorithm>

#include "adapters.h"

namespace kzfi_simhost {
namespace {

/// All families, in the order of the plug-in base.
std::vector<Operation> table() {
    std::vector<Operation> all;
    for (const auto family : {providerOperations, configOperations, messageOperations,
                              nodeOperations, treeOperations, snapshotOperations, takenOperations,
                              enumerationOperations, resourceOperations, requestOperations}) {
        const std::vector<Operation> some = family();
        all.insert(all.end(), some.begin(), some.end());
    }
    std::sort(all.begin(), all.end(), [](const Operation& one, const Operation& other) {
        return one.number < other.number;
    });
    return all;
}

} // namespace

const std::vector<Operation>& operations() {
    static const std::vector<Operation> all = table();
    return all;
}

const Operation* findOperation(const std::string& name) {
    for (const std::vector<Operation>* const list : {&operations(), &hostSteps()}) {
        for (const Operation& operation : *list) {
            if (operation.name == name && operation.call != nullptr) {
                return &operation;
            }
        }
    }
    return nullptr;
}

} // namespace kzfi_simhost
