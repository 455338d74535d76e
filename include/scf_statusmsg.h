// The host's status-message library, as far as the kit uses it. The host defines what is declared
// here; on a developer's machine the stand-in does.
#ifndef SCF_STATUSMSG_H
#define SCF_STATUSMSG_H

#include <atomic>
#include <cstddef>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "kzfi_framework.h"

namespace Orvanta {
namespace Stoneleaf {
namespace Scf {

/// A structured status message: code, severity, text and named arguments in the order added.
///
/// Made with new, which gives the maker one reference; the last dereference() deletes it.
///
/// Threads: only the references are guarded.
class KZFI_HOST_API StatusMsg {
  public:
    StatusMsg();
    StatusMsg(const StatusMsg&) = delete;
    StatusMsg& operator=(const StatusMsg&) = delete;

    /// What the message says.
    void setCode(int newCode);
    void setSeverity(int newSeverity);
    void setText(const std::string& newText);
    void addArgument(const std::string& name, const std::string& value);

    /// What was set.
    int getCode() const;
    int getSeverity() const;
    const std::string& getText() const;
    const std::vector<std::pair<std::string, std::string>>& getArguments() const;

    /// One reference more, or one less.
    void reference();
    void dereference();

  private:
    ~StatusMsg();

    std::atomic<int> references;
    int code;
    int severity;
    std::string text;
    std::vector<std::pair<std::string, std::string>> arguments;
};

/// Holds one reference of an object and gives it back at its end; may be empty.
template <class T>
class AutoDereference {
  public:
    AutoDereference() : held(nullptr) {}
    /// Takes over the caller's reference of object, which may be null.
    explicit AutoDereference(T* object) : held(object) {}
    AutoDereference(const AutoDereference&) = delete;
    AutoDereference& operator=(const AutoDereference&) = delete;
    ~AutoDereference() {
        if (held != nullptr) {
            held->dereference();
        }
    }

    /// The object, and whether there is one.
    T* get() const { return held; }
    T* operator->() const { return held; }
    explicit operator bool() const { return held != nullptr; }

  private:
    T* held;
};

/// How XML text is encoded.
struct XmlStr {
    /// UTF-8 is the only one.
    enum Encoding { UTF_8 = 1 };
};

/// The XML form of a status message.
class KZFI_HOST_API StatusMsgXmlDoc {
  public:
    /// statusMessage is not null, stays the caller's and outlives the document.
    explicit StatusMsgXmlDoc(StatusMsg* statusMessage);
    StatusMsgXmlDoc(const StatusMsgXmlDoc&) = delete;
    StatusMsgXmlDoc& operator=(const StatusMsgXmlDoc&) = delete;
    ~StatusMsgXmlDoc();

    /// Appends the XML text to stream; a failure shows in the state of stream.
    void writeXml(std::ostream& stream, XmlStr::Encoding encoding);

  private:
    StatusMsg* message;
};

/// A percent-encoded copy of the length bytes of text, NUL-terminated, that the caller gives to
/// free(); null when there is no memory. flags is 0.
KZFI_HOST_API char* pathToURIEncoded(const char* text, std::size_t length, int flags);

} // namespace Scf
} // namespace Stoneleaf
} // namespace Orvanta

#endif
