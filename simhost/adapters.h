// What the adapters of all operations share. Internal to operations.
#ifndef KZFI_SIMHOST_ADAPTERS_H
#define KZFI_SIMHOST_ADAPTERS_H

#include <string>
#include <vector>

#include "call.h"
#include "operations.h"
#include "outcome.h"

namespace kzfi_simhost {

/// The outcome of an operation that answers a status.
Outcome answered(int status);

/// The same with one value.
Outcome answered(int status, const std::string& name, Json value);

/// The names of object ids that a provider gave; the list goes back to it when it is the host's to
/// give back.
Json namesOf(kzfi_objid** list, long count);
Json takeNames(kzfi_objid** list, long count);

/// Texts that a provider gave and that are the host's now: what they say, and the memory goes back.
/// A text that the call itself handed in stays. Of a list without a count nothing is known.
Json takeText(const Call& call, char* text);
Json takeTexts(const Call& call, char** list, long count);
/// The same for texts in a list of the host's own.
Json takeTextsIn(const Call& call, const std::vector<char*>& list);

/// A NUMBER field where the operation takes an int.
int integer(const Call& call, const std::string& field);

/// Fields of operations by what they hold.
namespace fields {

Field node(const char* name);
Field nodes(const char* name);
Field text(const char* name);
Field texts(const char* name);
Field number(const char* name);
Field longNumber(const char* name);
Field flag(const char* name);
Field choice(const char* name, std::vector<std::string> choices);
Field parameters(const char* name);

} // namespace fields

// The families of operations, one a file: the adapters and their entries. Records that only the
// framework knows are null pointers in all of them.
std::vector<Operation> providerOperations();    ///< the provider as a whole
std::vector<Operation> configOperations();      ///< its parameters
std::vector<Operation> messageOperations();     ///< errors and messages
std::vector<Operation> nodeOperations();        ///< single nodes
std::vector<Operation> treeOperations();        ///< trees of nodes
std::vector<Operation> snapshotOperations();    ///< up to taking snapshots
std::vector<Operation> takenOperations();       ///< snapshots that are there
std::vector<Operation> enumerationOperations(); ///< what the provider knows of
std::vector<Operation> resourceOperations();    ///< resources of the host
std::vector<Operation> requestOperations();     ///< requests as a whole

} // namespace kzfi_simhost

#endif
