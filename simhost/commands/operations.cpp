#include "../operations.h"

#include <iostream>
#include <vector>

#include "commands.h"

namespace kzfi_simhost {
namespace {

const char* wordFor(const Field& field) {
    switch (field.kind) {
    case FieldKind::NODE:
        return "node";
    case FieldKind::NODES:
        return "nodes";
    case FieldKind::TEXT:
        return "text";
    case FieldKind::TEXTS:
        return "texts";
    case FieldKind::NUMBER:
        return field.isLong ? "long number" : "number";
    case FieldKind::FLAG:
        return "true or false";
    case FieldKind::PARAMETERS:
        return "parameters";
    case FieldKind::PATH:
        return "path below the root";
    case FieldKind::CHOICE:
        break;
    }
    return "";
}

int listOperations() {
    std::vector<Operation> all = operations();
    all.insert(all.end(), hostSteps().begin(), hostSteps().end());
    for (const Operation& operation : all) {
        if (operation.call == nullptr) {
            continue;
        }
        std::cout << operation.name << "\n";
        for (const Field& field : operation.fields) {
            std::cout << "  " << field.name << ": " << wordFor(field);
            for (const std::string& choice : field.choices) {
                std::cout << (&choice == &field.choices.front() ? "" : " | ") << choice;
            }
            std::cout << "\n";
        }
    }
    return AS_EXPECTED;
}

} // namespace

void addOperationsCommand(CLI::App& app, Action& action) {
    app.add_subcommand("operations", "Lists the operations that a step can name and their fields")
        ->callback([&action] { action = listOperations; });
}

} // namespace kzfi_simhost
