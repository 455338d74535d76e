#include "cfierrormgr.h"

#include <cstdint>

#include "cfistringtool.h"
#include "kzfi_portable.h"
#include "util/threadid.h"

namespace kzfi_pdk_4_4 {

CFiError::CFiError() : errorCode(0), lineNumber(0) {}

CFiError::CFiError(int code, tstring text, tstring file, int line, tstring function)
    : errorCode(code),
      message(text),
      sourceFile(file),
      lineNumber(line),
      functionName(function) {}

CFiError::~CFiError() = default;

std::string CFiError::getMessageId(const std::string& prefix, int offset) const {
    std::int64_t number = errorCode;
    if (errorCode > offset) {
        number -= offset;
    }
    char digits[16];
    K_snprintf(digits, sizeof digits, "%04d", static_cast<int>(static_cast<std::uint32_t>(number)));
    return "MSG_ERROR_" + CFiStringTool::tostrupper(prefix) + "_" + digits;
}

const char* CFiError::what() const {
    return message.c_str();
}

CFiMessage::CFiMessage() : severity(0), lineNumber(0) {}

CFiMessage::CFiMessage(const std::string& id, kfi_eseverity newSeverity, const std::string& file,
                       int line)
    : messageId(id),
      severity(newSeverity),
      fileName(file),
      lineNumber(line) {}

CFiMessage::~CFiMessage() = default;

kfi_eseverity CFiMessage::getSeverity() {
    return severity;
}

int CFiMessage::getLineNumber() {
    return lineNumber;
}

std::string CFiMessage::getFileName() {
    return fileName;
}

std::string CFiMessage::getMessageId() {
    return messageId;
}

CFiErrorHandlerBase::~CFiErrorHandlerBase() = default;

CFiErrorManager::CFiErrorManager() : handlerCount(0) {}

// The messages die while all members live: their destructors may call the manager, even push.
CFiErrorManager::~CFiErrorManager() {
    std::map<unsigned int, CFiMessagePtr> dying;
    do {
        dying.clear();
        const std::lock_guard<std::mutex> guard(mutex);
        dying.swap(lastErrors);
    } while (!dying.empty());
}

void CFiErrorManager::registerHandler(CFiErrorHandlerBase* handler) {
    const std::lock_guard<std::mutex> guard(mutex);
    handlers.push_back(handler);
    handlerCount.store(handlers.size(), std::memory_order_release);
}

// Asked anew for every index, so that a handler may register another one during the fan-out.
bool CFiErrorManager::handlerAt(std::size_t index, CFiErrorHandlerBase*& handler) const {
    const std::lock_guard<std::mutex> guard(mutex);
    if (index >= handlers.size()) {
        return false;
    }
    handler = handlers[index];
    return true;
}

void CFiErrorManager::pushError(CFiMessagePtr message) {
    keep(message);
    CFiErrorHandlerBase* handler = nullptr;
    for (std::size_t i = 0; handlerAt(i, handler); ++i) {
        if (handler != nullptr) {
            handler->handleMessage(message);
        }
    }
}

void CFiErrorManager::pushError(const char* text, kfi_eseverity severity) {
    CFiErrorHandlerBase* handler = nullptr;
    for (std::size_t i = 0; handlerAt(i, handler); ++i) {
        if (handler != nullptr) {
            handler->handleText(text, severity);
        }
    }
}

void CFiErrorManager::keep(const CFiMessagePtr& message) {
    // Outlives the guard: the last message may die here, and its destructor may call the manager.
    CFiMessagePtr previous;
    const std::lock_guard<std::mutex> guard(mutex);
    CFiMessagePtr& entry = lastErrors[threadId()];
    previous = entry;
    entry = message;
}

kfi_msg_info* CFiErrorManager::getLastError() {
    CFiMessagePtr message;
    {
        const std::lock_guard<std::mutex> guard(mutex);
        const auto entry = lastErrors.find(threadId());
        if (entry != lastErrors.end()) {
            message = entry->second;
        }
    }
    return message ? message->serialize() : nullptr;
}

void CFiErrorManager::deleteLastError(kfi_msg_info** /*info*/) {
    CFiMessagePtr previous;
    const std::lock_guard<std::mutex> guard(mutex);
    const auto entry = lastErrors.find(threadId());
    if (entry != lastErrors.end()) {
        previous = entry->second;
        entry->second = CFiMessagePtr();
    }
}

} // namespace kzfi_pdk_4_4
