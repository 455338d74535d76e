// Format options: settings by name that travel in the XML form of parameter values, under element
// names of their own.
#ifndef CFIFORMATOPTION_H
#define CFIFORMATOPTION_H

#include <string>
#include <vector>

#include "cficonfigparam.h"
#include "kzfi_pdk.h"

namespace kzfi_pdk_4_4 {

/// One option: a list of values exactly when valueList is not empty. Copied member by member.
class KZFI_PDK_API CFiFormatOption {
  public:
    /// Name, and value or values.
    std::string key;
    std::string value;
    std::vector<std::string> valueList;
    /// Travels with the option in copies; never in XML.
    tstring auxText;

    /// The "FormatOptionValue" element; value is left out when there is a list.
    tstring toXML() const;
};

/// Options by name; which ones there are is up to the provider. Used like CFiConfigParamDataList:
///
///     CFiFormatOptionList options(xml); // or: options.parse(xml) == 0
///     use(options.getParamData("fmt")->value);
///     options.entries()["fmt"] = option; // key and option.key should agree
///     options.updateXML();
///     send(options.getXML());
///
/// A list of parameter values is no list of options: it is read without error and leaves the list
/// empty.
///
/// Threads: one at a time.
/// Ownership: entries, placeholder and text are the list's own; a copy copies all three.
/// Errors: see parse(); the writer only runs out of memory.
class KZFI_PDK_API CFiFormatOptionList : public detail::CFiParamList<CFiFormatOption> {
  public:
    CFiFormatOptionList();
    /// Parses xml; a text that is not accepted leaves an empty map, and is kept as the text.
    explicit CFiFormatOptionList(const char* xml);
    CFiFormatOptionList(const CFiFormatOptionList&) = default;
    CFiFormatOptionList& operator=(const CFiFormatOptionList&) = default;
    ~CFiFormatOptionList();

    /// The option of this name, else the list's placeholder; never null, the list's own, and valid
    /// as with CFiConfigParamDataList::getParamData(). What is written to the placeholder is what
    /// later calls for unknown names find.
    CFiFormatOption* getParamData(const char* name);
};

/// Reads the XML of options; made for one parse.
class KZFI_PDK_API CFiFormatOptionListHandler
    : public detail::CFiValueListHandler<CFiFormatOptionList> {
  public:
    CFiFormatOptionListHandler();
    CFiFormatOptionListHandler(const CFiFormatOptionListHandler&) = delete;
    CFiFormatOptionListHandler& operator=(const CFiFormatOptionListHandler&) = delete;
    ~CFiFormatOptionListHandler() override;
};

namespace detail {
extern template class CFiParamList<CFiFormatOption>;
extern template class CFiParamListHandler<CFiFormatOptionList>;
extern template class CFiValueListHandler<CFiFormatOptionList>;
} // namespace detail

} // namespace kzfi_pdk_4_4

#endif
