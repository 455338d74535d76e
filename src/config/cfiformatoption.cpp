#include "cfiformatoption.h"

#include "config/paramlist.h"

namespace kzfi_pdk_4_4 {

namespace detail {

template <>
struct ParamKind<CFiFormatOption> {
    using Handler = CFiFormatOptionListHandler;
    KZFI_PARAM_ELEMENTS("FormatOptionValueList", "FormatOptionValue");

    static void write(std::string& xml, const CFiFormatOption& option) { writeValue(xml, option); }
};

template class CFiParamList<CFiFormatOption>;
template class CFiParamListHandler<CFiFormatOptionList>;
template class CFiValueListHandler<CFiFormatOptionList>;

} // namespace detail

tstring CFiFormatOption::toXML() const {
    return detail::entryXml(*this);
}

CFiFormatOptionList::CFiFormatOptionList() = default;
CFiFormatOptionList::CFiFormatOptionList(const char* xml) {
    parse(xml);
}
CFiFormatOptionList::~CFiFormatOptionList() = default;

CFiFormatOption* CFiFormatOptionList::getParamData(const char* name) {
    return lookUp(name);
}

CFiFormatOptionListHandler::CFiFormatOptionListHandler() = default;
CFiFormatOptionListHandler::~CFiFormatOptionListHandler() = default;

} // namespace kzfi_pdk_4_4
