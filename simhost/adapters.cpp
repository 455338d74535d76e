#include "adapters.h"

#include <cstring>

namespace kzfi_simhost {

Outcome answered(int status) {
    Outcome outcome;
    outcome.status = status;
    return outcome;
}

Outcome answered(int status, const std::string& name, Json value) {
    Outcome outcome = answered(status);
    outcome.values[name] = std::move(value);
    return outcome;
}

Json namesOf(kzfi_objid** list, long count) {
    Json names = Json::array();
    for (long i = 0; list != nullptr && i < count; ++i) {
        names.push_back(nameOf(list[i]));
    }
    return names;
}

Json takeNames(kzfi_objid** list, long count) {
    Json names = namesOf(list, count);
    if (list != nullptr && count > 0) {
        kzfi_free_buf(list, static_cast<std::size_t>(count) * sizeof(*list));
    }
    return names;
}

Json takeText(const Call& call, char* text) {
    Json said = textOf(text);
    if (text != nullptr && !call.handedIn(text)) {
        kzfi_free_buf(text, std::strlen(text) + 1);
    }
    return said;
}

Json takeTexts(const Call& call, char** list, long count) {
    if (list == nullptr || count <= 0) {
        return Json::array();
    }
    const Json texts = takeTextsIn(call, {list, list + count});
    kzfi_free_buf(list, static_cast<std::size_t>(count) * sizeof(*list));
    return texts;
}

Json takeTextsIn(const Call& call, const std::vector<char*>& list) {
    Json texts = Json::array();
    for (char* const text : list) {
        texts.push_back(takeText(call, text));
    }
    return texts;
}

int integer(const Call& call, const std::string& field) {
    return static_cast<int>(call.number(field));
}

namespace fields {

Field node(const char* name) {
    return {name, FieldKind::NODE};
}

Field nodes(const char* name) {
    return {name, FieldKind::NODES};
}

Field text(const char* name) {
    return {name, FieldKind::TEXT};
}

Field texts(const char* name) {
    return {name, FieldKind::TEXTS};
}

Field number(const char* name) {
    return {name, FieldKind::NUMBER};
}

Field longNumber(const char* name) {
    return {name, FieldKind::NUMBER, {}, true};
}

Field flag(const char* name) {
    return {name, FieldKind::FLAG};
}

Field choice(const char* name, std::vector<std::string> choices) {
    return {name, FieldKind::CHOICE, std::move(choices)};
}

Field parameters(const char* name) {
    return {name, FieldKind::PARAMETERS};
}

} // namespace fields

} // namespace kzfi_simhost
