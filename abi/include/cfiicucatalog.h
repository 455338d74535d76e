// Localised messages: the message with ICU arguments, message catalogues kept as ICU resource
// bundles, and the manager that hands out texts in the wanted language.
#ifndef CFIICUCATALOG_H
#define CFIICUCATALOG_H

#include <unicode/fmtable.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "cfierrormgr.h"

U_NAMESPACE_BEGIN
class ResourceBundle;
U_NAMESPACE_END

namespace kzfi_pdk_4_4 {

/// A message whose arguments are ICU values; argument i fills {i} of the catalogue's pattern.
///
/// It travels as a small tagged text, one line for the key and the severity, one for each argument
/// and one to close:
///     <SERIALIZED_MESSAGE MSGID=MSG_ERROR_ABC_0003 SEVERITY=3>
///         <ARGVALUE INDEX=0 TYPE=3>disk1</ARGVALUE>
///         <ARGVALUE INDEX=1 TYPE=2>42</ARGVALUE>
///     </SERIALIZED_MESSAGE>
/// TYPE is ICU's own number of the kind. Nothing in it is escaped: a key must be free of white
/// space and shorter than 900 characters, and a value ends at its first "<"; take that character
/// out of texts that come from outside, or they can forge arguments.
///
/// Doubles and dates travel with six significant digits, and a date comes back as a double. A
/// 64-bit integer, an array or an object travels without its value and is missing on the other
/// side, so that the arguments behind it move up. All this is kept so on purpose, as both sides of
/// the boundary must agree.
///
/// Threads: a message is used by one thread at a time.
/// Errors: only deserialize() fails, as told there.
class KZFI_PDK_API CFiIcuMessage : public CFiMessage {
  public:
    /// An empty key, severity 0, no arguments: a message to deserialize into.
    CFiIcuMessage();
    /// newArguments is copied.
    CFiIcuMessage(const std::string& id, kfi_eseverity newSeverity, const std::string& file,
                  int line, const std::vector<icu::Formattable>& newArguments);
    CFiIcuMessage(const CFiIcuMessage&) = delete;
    CFiIcuMessage& operator=(const CFiIcuMessage&) = delete;
    ~CFiIcuMessage() override;

    /// Every call gives the same record, filled anew. A message without arguments gives an empty
    /// text, without its key and severity, on purpose: give a message that travels an argument.
    kfi_msg_info* serialize() override;

    /// Sets key, severity and arguments from the NUL-terminated text of info; file and line stay,
    /// and info's length is not read. A null info or text changes nothing, nor does a text without
    /// any of the characters of the header's opening, "<SERIALIZED_MESSAGE"; other foreign text
    /// clears the key and replaces the arguments or throws.
    /// Throws std::out_of_range ("basic_string::substr") when the text ends within an argument or
    /// holds none before its closing line; key and severity are then set, the arguments unchanged.
    void deserialize(const kfi_msg_info* info) override;

    /// pattern filled with the arguments, or pattern itself when ICU cannot make anything of it.
    /// Numbers are worded as in the default locale of the process.
    tstring formatMessage(tstring pattern) override;

    /// The arguments: a value of array kind.
    const icu::Formattable& getArguments() const { return arguments; }

  private:
    icu::Formattable arguments;
    kfi_msg_info msgInfo;
    std::string serializedText;
};

/// The messages of one language.
///
/// Threads: init() is called once before the catalogue is shared; getMessage() may be called from
/// several threads.
/// Ownership: shared by smart pointers.
class KZFI_PDK_API CFiMessageCatalog : public virtual CFiRefCount {
  public:
    CFiMessageCatalog() {}
    CFiMessageCatalog(const CFiMessageCatalog&) = delete;
    CFiMessageCatalog& operator=(const CFiMessageCatalog&) = delete;

    /// Makes the catalogue ready; 0 when it can be used.
    virtual int init();
    /// The text of id; without one, defaultText unless it is null, else a placeholder.
    virtual tstring getMessage(const std::string& id, const char* defaultText) const = 0;

    // Last, as the order of the virtual operations is part of the interface.
    ~CFiMessageCatalog() override;
};

using CFiMessageCatalogPtr = CFiSmartPtr<CFiMessageCatalog, CFiNullAllocator<CFiMessageCatalog>>;

/// A catalogue in an ICU resource bundle: the table of strings that genrb compiled into
/// <install root>/resources/lib<catalogue name>/<language>.res.
///
/// Threads: as CFiMessageCatalog.
/// Errors: statuses; a missing text shows up as a placeholder.
class KZFI_PDK_API CFiIcuMessageCatalog : public CFiMessageCatalog {
  public:
    /// newLanguage is an ICU locale name, copied; null counts as empty, the root bundle.
    CFiIcuMessageCatalog(const char* newLanguage, const tstring& newCatalogName);
    CFiIcuMessageCatalog(const CFiIcuMessageCatalog&) = delete;
    CFiIcuMessageCatalog& operator=(const CFiIcuMessageCatalog&) = delete;
    ~CFiIcuMessageCatalog() override;

    /// Opens the bundle, anew each time: 0, or 3 when the language is refused or has no bundle or
    /// memory runs out. Refused are languages that hold "/" or ".." or more than 157 characters. A
    /// bundle that is there only for the parent locale (de for de_AT) counts as missing too,
    /// stricter than ICU, on purpose; the root bundle, which stands in for any language, does not.
    /// ICU remembers for the life of the process that a bundle was missing.
    int init() override;

    /// "NAME: TEXT" with the catalogue's name; without a text, defaultText as it is or, when it is
    /// null, "NAME: <ID>".
    tstring getMessage(const std::string& id, const char* defaultText) const override;

  private:
    const char* language;
    tstring bundlePath;
    tstring catalogName;
    std::unique_ptr<icu::ResourceBundle> bundle;
    std::string ownLanguage;
};

/// Makes a plug-in's catalogues and messages; the plug-in implements it and registers it with
/// CFiMessageCatalogManager::registerFactory().
///
/// Threads: called from every thread that asks the manager for a text, never under its lock.
/// Ownership: stays with the plug-in, which keeps it until the manager is gone.
/// Errors: an empty pointer says that there is none; an exception passes to whoever asked.
class KZFI_PDK_API CFiMessageCatalogFactory {
  public:
    CFiMessageCatalogFactory() {}
    CFiMessageCatalogFactory(const CFiMessageCatalogFactory&) = delete;
    CFiMessageCatalogFactory& operator=(const CFiMessageCatalogFactory&) = delete;
    virtual ~CFiMessageCatalogFactory();

    /// A new catalogue of the language; the manager calls its init().
    virtual CFiMessageCatalogPtr createCatalog(std::string language) = 0;
    /// The language for whoever names none, and for languages that have no catalogue.
    virtual std::string getDefaultLanguage() = 0;
    /// A new message with what info holds; info may be null.
    virtual CFiMessagePtr createMessage(kfi_msg_info* info) = 0;
};

/// Finds message texts in the wanted language and keeps those that it handed out as C strings.
///
/// One manager per plug-in context. The provider registers its factory in its init(); the host sets
/// the native language, asks for texts and gives them back:
///     char* text = nullptr;
///     manager->getLocalizedMessage(info, "native", &text);
///     ... // show it
///     manager->deleteLocalizedMessage(&text);
///
/// Languages, in every form of getLocalizedMessage(): "native" stands for the native language, null
/// and "" for the factory's default. A language without a catalogue falls back to the default; a
/// catalogue without the text does not.
///
/// Threads: all operations may be called from several threads. A text that was handed out dies when
/// any thread localises the same key again, whatever the language, and when any thread gives back
/// an equal text while this one's key is the first that has it: callers that share keys or texts
/// take turns.
/// Ownership: shares the catalogues until it ends, does not own the factory. A catalogue may call
/// the manager from its destructor; at the manager's end there is no factory any more.
/// Errors: a missing text shows up as a placeholder, "<KEY>". Exceptions of the factory, a
/// catalogue or a message pass, as does std::bad_alloc; *result then stays as it was.
class KZFI_PDK_API CFiMessageCatalogManager : public virtual CFiRefCount {
  public:
    CFiMessageCatalogManager();
    CFiMessageCatalogManager(const CFiMessageCatalogManager&) = delete;
    CFiMessageCatalogManager& operator=(const CFiMessageCatalogManager&) = delete;
    ~CFiMessageCatalogManager() override;

    /// From now on newFactory makes the catalogues, first of all that of its default language.
    /// Catalogues that are there stay, also for languages that newFactory knows. Null: no factory.
    /// newFactory stays registered when one of its operations throws here.
    void registerFactory(CFiMessageCatalogFactory* newFactory);

    /// Makes sure that language has a catalogue if it can have one. A catalogue whose init() fails
    /// is dropped, and the next call tries again.
    void activateCatalog(std::string language);

    /// The text of id in language, "" being the factory's default. Without a catalogue: defaultText
    /// or, when it is null, "<ID>"; with one it is the catalogue that decides.
    tstring getMessage(const std::string& id, const char* defaultText, std::string language);

    /// What "native" stands for; null counts as empty.
    void setNativeLanguage(const char* language);
    std::string getNativeLanguage();

    /// The message's text, filled with its arguments; empty for an empty pointer.
    tstring getLocalizedMessage(CFiMessagePtr& message, const char* language);
    /// The same for a serialized message, as a C string that stays valid until its key is localised
    /// again or it is given back, as told above for threads. *result is null when the factory makes
    /// no message of info.
    void getLocalizedMessage(kfi_msg_info* info, const char* language, char** result);
    /// The same for a key alone; the pattern is not filled.
    void getLocalizedMessage(const char* id, const char* language, char** result);

    /// Gives a text back: of those handed out that read as *text does, drops the one whose key is
    /// first in the order of the keys. *text itself is left as it is; a null text is ignored.
    void deleteLocalizedMessage(char** text);

  private:
    CFiMessageCatalogFactory* currentFactory() const;
    CFiMessageCatalogPtr findCatalog(const std::string& language) const;
    CFiMessageCatalogPtr activatedCatalog(CFiMessageCatalogFactory& maker,
                                          const std::string& language);
    CFiMessageCatalogPtr usableCatalog(std::string language);
    std::string resolveLanguage(const char* language);
    void handOut(const std::string& id, const tstring& text, char** result);

    std::map<std::string, CFiMessageCatalogPtr> catalogs;
    CFiMessageCatalogFactory* factory;
    std::map<std::string, tstring> localizedMessages;
    std::string nativeLanguage;
    // Guards all of the above. Never held while the factory, a catalogue's or a message's operation
    // runs, so that these may call the manager.
    mutable std::mutex mutex;
};

using CFiMessageCatalogManagerPtr =
    CFiSmartPtr<CFiMessageCatalogManager, CFiContextSingletonAllocator<CFiMessageCatalogManager>>;

} // namespace kzfi_pdk_4_4

#endif
