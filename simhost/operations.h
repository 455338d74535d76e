// The operations of the plug-in base as the simulated host knows them: one entry each, with the
// fields that a scenario may give it and the adapter that calls it.
#ifndef KZFI_SIMHOST_OPERATIONS_H
#define KZFI_SIMHOST_OPERATIONS_H

#include <string>
#include <vector>

#include "outcome.h"

namespace kzfi_simhost {

class Call;

/// What a field of a step holds, and so how the scenario's reader checks it.
enum class FieldKind {
    NODE,       ///< name of one of the scenario's nodes, or null
    NODES,      ///< list of such names
    TEXT,       ///< a text, or null
    TEXTS,      ///< list of texts
    NUMBER,     ///< a whole number
    FLAG,       ///< true or false
    CHOICE,     ///< one of the field's choices
    PARAMETERS, ///< map from parameter names to a text or a list of texts
    PATH        ///< path of a file or folder below the root; it cannot be left out
};

struct Field {
    std::string name;
    FieldKind kind;
    std::vector<std::string> choices = {};
    bool isLong = false; ///< of a number: 64 bits and not 32
};

/// One operation, or a step of the host's own. The adapter builds the framework's records from the
/// step's fields (each of them optional, harmless when left out), calls the provider, and turns the
/// answer into an Outcome.
struct Operation {
    int number; ///< place in the plug-in base's order, from 1; 0: the host's own
    std::string name;
    std::vector<Field> fields;
    /// Null for the destructor, which is never called as an operation.
    Outcome (*call)(Call& call);
};

/// All of them, in the plug-in base's order.
const std::vector<Operation>& operations();

/// What the host does itself between the operations: it fills, compares and lists files.
const std::vector<Operation>& hostSteps();

/// The operation or the host's step of this name that can be called, or null.
const Operation* findOperation(const std::string& name);

} // namespace kzfi_simhost

#endif
