// The JSON values of the simulated host: arguments, answers, events and reports.
#ifndef KZFI_SIMHOST_JSON_H
#define KZFI_SIMHOST_JSON_H

#include <nlohmann/json.hpp>

#include <string>

namespace kzfi_simhost {

/// Keeps the order in which members were added.
using Json = nlohmann::ordered_json;

/// One line; bytes that are not UTF-8 become U+FFFD, so that no text of a provider can fail here.
inline std::string oneLine(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace kzfi_simhost

#endif
