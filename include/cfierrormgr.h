// Errors: the exception type, the localisable message, who receives messages, and the manager that
// keeps the last one of every thread.
#ifndef CFIERRORMGR_H
#define CFIERRORMGR_H

#include <atomic>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "cfismartptr.h"
#include "kzfi_framework.h"
#include "kzfi_pdk.h"
#include "scf_statusmsg.h"

namespace kzfi_pdk_4_4 {

/// What went wrong, and where: the kit's general exception type, thrown by value and caught by
/// reference. A class that records its failures instead of throwing them has it as a base.
///
/// Threads: a plain record; not guarded.
/// Errors: copying does not throw. A text is an ACE string, which without memory keeps what it was
/// when assigned to; a new one then has a null text.
class KZFI_PDK_API CFiError {
  public:
    /// No error yet: code and line 0, empty texts.
    CFiError();
    CFiError(int code, tstring text, tstring file, int line, tstring function);
    CFiError(const CFiError&) = default;
    CFiError& operator=(const CFiError&) = default;
    virtual ~CFiError();

    /// The catalogue key of the error, for example "MSG_ERROR_ABC_0003" for prefix "abc", offset
    /// 1000 and code 1003. A code at or below offset is not shifted; kept so on purpose.
    virtual std::string getMessageId(const std::string& prefix, int offset) const;

    /// The message text, valid as long as the object is unchanged. Null only when there was no
    /// memory to copy it.
    virtual const char* what() const;

    /// What the constructor was given.
    int errorCode;
    tstring message;
    tstring sourceFile;
    int lineNumber;
    tstring functionName;
};

/// A localisable message: a catalogue key, a severity and, in the derived class, arguments.
///
/// Made with new, handed to a CFiMessagePtr at once and pushed:
///     errorManager->pushError(CFiMessagePtr(new CFiIcuMessage(key, severity, file, line, args)));
///
/// Threads: the count is guarded, the message is not: it is filled before it is pushed.
/// Ownership: shared by smart pointers.
class KZFI_PDK_API CFiMessage : public CFiRefCount {
  public:
    /// Without a key, or with all but the arguments.
    CFiMessage();
    CFiMessage(const std::string& id, kfi_eseverity newSeverity, const std::string& file, int line);
    CFiMessage(const CFiMessage&) = delete;
    CFiMessage& operator=(const CFiMessage&) = delete;
    ~CFiMessage() override;

    /// The message as text for the other side of the plug-in boundary. The record and its text are
    /// the message's own, valid until the next serialize() or the end of the message.
    virtual kfi_msg_info* serialize() = 0;
    /// Takes over what the other side serialized.
    virtual void deserialize(const kfi_msg_info* info) = 0;

    /// What the constructor was given, or what deserialize read.
    virtual kfi_eseverity getSeverity();
    virtual int getLineNumber();
    virtual std::string getFileName();
    virtual std::string getMessageId();

    /// pattern, a text of a message catalogue, filled with the message's arguments.
    virtual tstring formatMessage(tstring pattern) = 0;

  protected:
    /// What the getters above answer.
    std::string messageId;
    kfi_eseverity severity;
    std::string fileName;
    int lineNumber;
};

using CFiMessagePtr = CFiSmartPtr<CFiMessage, CFiNullAllocator<CFiMessage>>;

/// Receives what is pushed to an error manager; a plug-in or the host implements it and registers
/// it with CFiErrorManager::registerHandler().
///
/// Threads: called on the thread that pushes, from several threads at once if several push. No lock
/// of the manager is held: a handler may push and register handlers itself; one that is registered
/// meanwhile, on whatever thread, is called for what is being pushed too.
/// Ownership: stays with whoever registered it, who keeps it until the manager is gone; a message
/// that dies with the manager may still push.
/// Errors: an exception passes to whoever pushed; the handlers behind are then not called.
class KZFI_PDK_API CFiErrorHandlerBase {
  public:
    CFiErrorHandlerBase() {}
    CFiErrorHandlerBase(const CFiErrorHandlerBase&) = delete;
    CFiErrorHandlerBase& operator=(const CFiErrorHandlerBase&) = delete;
    virtual ~CFiErrorHandlerBase();

    /// A message was pushed, or an empty pointer; keeping a copy of the pointer keeps the message.
    virtual void handleMessage(CFiMessagePtr message) = 0;
    /// A plain text was pushed, for example a copy of a trace line; text is the caller's, null if
    /// that was pushed.
    virtual void handleText(const char* text, kfi_eseverity severity) = 0;
};

/// Keeps the last message of every thread and passes all that is pushed on to its handlers.
///
/// One manager per plug-in context. After a failed operation the host asks, on the same thread:
///     kfi_msg_info* info = manager->getLastError();
///     ... // read the text
///     manager->deleteLastError(&info);
///
/// Threads: all operations may be called from several threads. Threads are told apart by their id
/// cut to 32 bits. The system uses ids again, so a new thread may find the message of one that has
/// ended; two threads whose ids differ only above those bits share one message.
/// Ownership: shares the messages, does not own the handlers. An entry, once made, stays until the
/// manager ends. A message may call the manager from its destructor, also at the manager's end.
/// Errors: reports none itself; what handlers and messages throw passes through, as does
/// std::bad_alloc.
class KZFI_PDK_API CFiErrorManager : public virtual CFiRefCount {
  public:
    CFiErrorManager();
    CFiErrorManager(const CFiErrorManager&) = delete;
    CFiErrorManager& operator=(const CFiErrorManager&) = delete;
    ~CFiErrorManager() override;

    /// Appends handler. One that is registered twice is called twice, a null one is kept and passed
    /// over; none can be removed.
    void registerHandler(CFiErrorHandlerBase* handler);
    /// Whether there is any handler; takes no lock, so that tracing may ask on every line.
    bool hasHandlers() const { return handlerCount.load(std::memory_order_acquire) > 0; }

    /// Makes message the calling thread's last one in place of the one before, then hands it to
    /// every handler in the order of registration.
    void pushError(CFiMessagePtr message);
    /// Hands text, also a null one, to every handler in the order of registration; nothing is kept.
    void pushError(const char* text, kfi_eseverity severity);

    /// Wraps a status message and the name of the resource that it is about into one line of XML,
    /// a "CallbackMsg" document, and pushes that as plain text of severity 5. Without a message
    /// held, and for a null resource, the part is left out. The message is percent-encoded,
    /// resource is not even escaped: it has to be a plain name.
    /// Throws std::bad_alloc when memory runs out and std::ios::failure when the host's library
    /// breaks off writing; its own exceptions pass. Nothing is pushed then, never a part of the
    /// text. Handlers' exceptions pass as from pushError().
    void reportStatusMsg(
        Orvanta::Stoneleaf::Scf::AutoDereference<Orvanta::Stoneleaf::Scf::StatusMsg>& message,
        const char* resource);

    /// The calling thread's last message, serialized; null when there is none. The record lives in
    /// the message, which the manager holds until the next push or delete on this thread.
    kfi_msg_info* getLastError();
    /// Lets go of the calling thread's last message, and with it of the record that getLastError()
    /// gave. info is not used.
    void deleteLastError(kfi_msg_info** info);

  private:
    void keep(const CFiMessagePtr& message);
    bool handlerAt(std::size_t index, CFiErrorHandlerBase*& handler) const;

    std::map<unsigned int, CFiMessagePtr> lastErrors;
    std::vector<CFiErrorHandlerBase*> handlers;
    std::atomic<std::size_t> handlerCount;
    // Guards the map and the list. Never held while a handler is called or a message does more than
    // change its count, so that both may call the manager.
    mutable std::mutex mutex;
};

using CFiErrorManagerPtr =
    CFiSmartPtr<CFiErrorManager, CFiContextSingletonAllocator<CFiErrorManager>>;

} // namespace kzfi_pdk_4_4

#endif
