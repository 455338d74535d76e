#include <stdexcept>

#include "adapters.h"
#include "cfiicucatalog.h"
#include "cfistringtool.h"

namespace kzfi_simhost {
namespace {

using namespace kzfi_pdk_4_4;

Json argumentOf(const icu::Formattable& argument) {
    switch (argument.getType()) {
    case icu::Formattable::kString: {
        icu::UnicodeString text = argument.getString();
        return CFiStringTool::ustr2str(text);
    }
    case icu::Formattable::kLong:
        return argument.getLong();
    case icu::Formattable::kDouble:
        return argument.getDouble();
    default:
        return Json();
    }
}

Json argumentsOf(const CFiIcuMessage& message) {
    UErrorCode status = U_ZERO_ERROR;
    int32_t count = 0;
    const icu::Formattable* const list = message.getArguments().getArray(count, status);
    Json arguments = Json::array();
    for (int32_t i = 0; U_SUCCESS(status) && i < count; ++i) {
        arguments.push_back(argumentOf(list[i]));
    }
    return arguments;
}

/// What the serialized text says; a text that ends too early says nothing.
Json contentOf(const kfi_msg_info* info) {
    Json content = Json::object();
    CFiIcuMessage message;
    try {
        message.deserialize(info);
    } catch (const std::out_of_range&) {
        return content;
    }
    content["id"] = message.getMessageId();
    content["severity"] = message.getSeverity();
    content["arguments"] = argumentsOf(message);
    return content;
}

Outcome callErrMsg(Call& call) {
    const char* text = nullptr;
    if (call.has("language")) {
        call.host.setNativeLanguage(call.text("language"));
    }
    const int status = call.provider().errMsg(static_cast<int>(call.number("code")), &text);
    call.host.setNativeLanguage(call.host.language().c_str());
    call.host.localeText = const_cast<char*>(text);
    Outcome outcome = answered(status);
    outcome.text = textOf(text);
    return outcome;
}

Outcome callGetLastError(Call& call) {
    kfi_msg_info* info = nullptr;
    Outcome outcome = answered(call.provider().getLastError(&info));
    call.host.lastError = info;
    call.host.lastErrorText = info != nullptr && info->text != nullptr ? info->text : "";
    outcome.text = textOf(info != nullptr ? info->text : nullptr);
    if (info != nullptr) {
        outcome.values = contentOf(info);
    }
    return outcome;
}

Outcome callDelLastError(Call& call) {
    const Outcome outcome = answered(call.provider().delLastError(&call.host.lastError));
    call.host.lastError = nullptr;
    return outcome;
}

Outcome callGetLocaleMessage(Call& call) {
    const std::string& serialized = call.host.lastErrorText;
    kfi_msg_info info = {serialized.c_str(), static_cast<uint32_t>(serialized.size())};
    const char* const language = call.has("language") ? call.text("language") : "native";
    int messageStatus = 0;
    char* text = nullptr;
    Outcome outcome =
        answered(call.provider().getLocaleMessage(&messageStatus, &info, language, &text));
    call.host.localeText = text;
    outcome.text = textOf(text);
    return outcome;
}

Outcome callDelLocaleMessage(Call& call) {
    const Outcome outcome = answered(call.provider().delLocaleMessage(&call.host.localeText));
    call.host.localeText = nullptr;
    return outcome;
}

} // namespace

std::vector<Operation> messageOperations() {
    using namespace fields;
    return {
        {19, "errMsg", {number("code"), text("language")}, callErrMsg},
        {45, "getLastError", {}, callGetLastError},
        {46, "delLastError", {}, callDelLastError},
        {47, "getLocaleMessage", {text("language")}, callGetLocaleMessage},
        {48, "delLocaleMessage", {}, callDelLocaleMessage},
    };
}

} // namespace kzfi_simhost
