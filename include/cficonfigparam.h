// Configuration parameters: descriptions and values, their lists, and the XML they travel in.
#ifndef CFICONFIGPARAM_H
#define CFICONFIGPARAM_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "cfisaxparser.h"
#include "kzfi_pdk.h"

namespace kzfi_pdk_4_4 {

/// Type of a parameter's value.
enum FiConfigDataType : std::int32_t {
    FI_DATA_STRING = 0,
    FI_DATA_INT = 1,
    FI_DATA_BOOLEAN = 2,
    FI_DATA_STRING_LIST = 3,
    FI_DATA_INT_LIST = 4,
    FI_DATA_BOOLEAN_LIST = 5,
    FI_DATA_UNKNOWN = 6
};

/// How a parameter may be set.
enum FiConfigUsageType : std::int32_t {
    FI_USAGE_SELECT = 0,
    FI_USAGE_AUTO = 1,
    FI_USAGE_NO_MODIFY = 2,
    FI_USAGE_UNKNOWN = 3
};

/// Description of one parameter that a provider accepts; copied member by member.
class KZFI_PDK_API CFiConfigParamInfo {
  public:
    /// Name, key of its text in a catalogue, type, and how it may be set.
    std::string key;
    std::string messageId;
    FiConfigDataType dataType = FI_DATA_UNKNOWN;
    FiConfigUsageType usageType = FI_USAGE_UNKNOWN;
    bool isSharedParam = false;
    /// The choices, in order; written for FI_DATA_STRING_LIST only, though read for every type.
    std::vector<std::string> selectionList;
    std::string defaultValue;
    /// Both -1: no range. Written for FI_DATA_INT and FI_DATA_INT_LIST only.
    int rangeMin = -1;
    int rangeMax = -1;

    /// Appends a choice, even one that is there already; null is ignored.
    void addSelectionItem(const char* item);

    /// The "ConfigParam" element. Codes outside the enumerations are written as unknown.
    tstring toXML() const;
};

/// Value of one parameter: a list of values exactly when valueList is not empty. Copied member by
/// member.
class KZFI_PDK_API CFiConfigParamData {
  public:
    /// Name, and value or values.
    std::string key;
    std::string value;
    std::vector<std::string> valueList;
    /// Travels with the value in copies; never in XML.
    tstring auxText;

    /// The "ConfigValue" element; value is left out when there is a list.
    tstring toXML() const;
};

namespace detail {

/// A map of named entries and its XML text: what the lists of descriptions, of values and of
/// whatever else travels in this form have in common.
template <class Data>
class KZFI_PDK_API CFiParamList {
  public:
    /// What the map holds.
    using Entry = Data;

    /// Copies take map, text and placeholder over.
    CFiParamList() = default;
    CFiParamList(const CFiParamList& source);
    CFiParamList& operator=(const CFiParamList& source);
    ~CFiParamList() = default;

    /// Replaces the map with what xml says and the text with its normalised form; null parses the
    /// stored text once more. Returns 0, or 3 when the text is not accepted: the map is then
    /// unchanged while the text is the rejected one, on purpose. Every well-formed document is
    /// accepted; what it holds of other elements is passed over. Other exceptions, of the reader or
    /// without memory, leave with the map unchanged, while the text is already the new one.
    int parse(const char* xml);

    /// Rebuilds the text from the map, in the order of its keys.
    void updateXML();

    /// The text as last built or given; a change of the map does not show in it. Valid until the
    /// next updateXML, parse, clear or assignment, and no longer than the list.
    const char* getXML() { return text.c_str(); }

    /// The map itself; writing to it leaves the text alone.
    std::map<std::string, Data>& entries() { return data; }
    const std::map<std::string, Data>& entries() const { return data; }

    /// Whether the map has no entries.
    bool empty() const { return data.empty(); }

    /// Empties map and text.
    void clear();

  protected:
    /// The entry of this name, else the placeholder; never null.
    Data* lookUp(const char* name);

  private:
    std::map<std::string, Data> data;
    Data placeholder;
    tstring text;
};

/// Builds a List, derived from CFiParamList, while its XML is read. Several documents collect into
/// one list.
template <class List>
class KZFI_PDK_API CFiParamListHandler : public CFiSaxParseHandler {
  public:
    CFiParamListHandler() = default;
    CFiParamListHandler(const CFiParamListHandler&) = delete;
    CFiParamListHandler& operator=(const CFiParamListHandler&) = delete;
    ~CFiParamListHandler() override = default;

    /// The list as built so far, with its text; it belongs to the handler and ends with it. Throws
    /// a copy of the saved error instead when one with a message was reported.
    List& getList();

  protected:
    /// What is being read.
    using Entry = typename List::Entry;

    /// Moves the current entry into the list, in place of an entry of its name.
    void store();
    /// The buffer up to its first NUL.
    const char* content() const { return buffer.c_str(); }

  private:
    friend class CFiParamList<Entry>;

    std::map<std::string, Entry>& builtEntries();

    List list;

  protected:
    /// The entry that is being read.
    Entry current;

  private:
    bool listHandedOut = false;
};

/// The handler of named values, whatever their elements are called.
template <class List>
class KZFI_PDK_API CFiValueListHandler : public CFiParamListHandler<List> {
  public:
    CFiValueListHandler() = default;
    CFiValueListHandler(const CFiValueListHandler&) = delete;
    CFiValueListHandler& operator=(const CFiValueListHandler&) = delete;
    ~CFiValueListHandler() override = default;

    /// What the reader calls.
    void startElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname,
                      const xercesc::Attributes& attributes) override;
    void endElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname) override;

  private:
    void setValue();
    void storeValue();

    bool inValueList = false;
    bool finished = false;
};

} // namespace detail

/// The values of parameters by name.
///
///     CFiConfigParamDataList values(xml); // or: values.parse(xml) == 0
///     values.entries()["mode"] = data;    // key and data.key should agree
///     values.updateXML();
///     send(values.getXML());
///
/// Threads: one at a time.
/// Ownership: entries, placeholder and text are the list's own; a copy copies all three.
/// Errors: see parse(); the writer only runs out of memory.
class KZFI_PDK_API CFiConfigParamDataList : public detail::CFiParamList<CFiConfigParamData> {
  public:
    CFiConfigParamDataList();
    /// Parses xml; a text that is not accepted leaves an empty map, and is kept as the text.
    explicit CFiConfigParamDataList(const char* xml);
    CFiConfigParamDataList(const CFiConfigParamDataList& source);
    CFiConfigParamDataList& operator=(const CFiConfigParamDataList& source);
    ~CFiConfigParamDataList();

    /// The value of this name, else the list's placeholder; never null. Either belongs to the list:
    /// a stored value is valid until a parse, clear, assignment or its removal, the placeholder as
    /// long as the list. What is written to the placeholder is what later calls for unknown names
    /// find.
    CFiConfigParamData* getParamData(const char* name);
};

/// The descriptions of a provider's parameters by name; used like CFiConfigParamDataList, with the
/// same threads, ownership and errors.
class KZFI_PDK_API CFiConfigParamInfoList : public detail::CFiParamList<CFiConfigParamInfo> {
  public:
    CFiConfigParamInfoList();
    /// Parses xml; a text that is not accepted leaves an empty map, and is kept as the text.
    explicit CFiConfigParamInfoList(const char* xml);
    CFiConfigParamInfoList(const CFiConfigParamInfoList& source);
    CFiConfigParamInfoList& operator=(const CFiConfigParamInfoList& source);
    ~CFiConfigParamInfoList();

    /// The description of this name, else the list's placeholder; never null, the list's own, and
    /// valid as with CFiConfigParamDataList::getParamData().
    CFiConfigParamInfo* getParamInfo(const char* name);

    /// The default of every description as a value, with the text of all; a default of a list type
    /// is not split.
    CFiConfigParamDataList getDefaultDataList();
};

/// Reads the XML of values; made for one parse.
class KZFI_PDK_API CFiConfigParamDataListHandler
    : public detail::CFiValueListHandler<CFiConfigParamDataList> {
  public:
    CFiConfigParamDataListHandler();
    CFiConfigParamDataListHandler(const CFiConfigParamDataListHandler&) = delete;
    CFiConfigParamDataListHandler& operator=(const CFiConfigParamDataListHandler&) = delete;
    ~CFiConfigParamDataListHandler() override;
};

/// Reads the XML of descriptions; made for one parse.
class KZFI_PDK_API CFiGetConfigParamListHandler
    : public detail::CFiParamListHandler<CFiConfigParamInfoList> {
  public:
    CFiGetConfigParamListHandler();
    CFiGetConfigParamListHandler(const CFiGetConfigParamListHandler&) = delete;
    CFiGetConfigParamListHandler& operator=(const CFiGetConfigParamListHandler&) = delete;
    ~CFiGetConfigParamListHandler() override;

    /// What the reader calls.
    void startElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname,
                      const xercesc::Attributes& attributes) override;
    void endElement(const XMLCh* uri, const XMLCh* localname, const XMLCh* qname) override;

    /// Whether the end of the whole list was read.
    bool isFinished() const { return finished; }

  private:
    bool finished;
};

namespace detail {
extern template class CFiParamList<CFiConfigParamInfo>;
extern template class CFiParamListHandler<CFiConfigParamInfoList>;
extern template class CFiParamList<CFiConfigParamData>;
extern template class CFiParamListHandler<CFiConfigParamDataList>;
extern template class CFiValueListHandler<CFiConfigParamDataList>;
} // namespace detail

} // namespace kzfi_pdk_4_4

#endif
