#include "adapters.h"

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

Json textsOf(char** list, long count) {
    Json texts = Json::array();
    for (long i = 0; list != nullptr && i < count; ++i) {
        texts.push_back(textOf(list[i]));
    }
    return texts;
}

} // namespace kzfi_simhost
