#include "cficonfigparam.h"

#include <cstddef>

#include "config/paramlist.h"

namespace kzfi_pdk_4_4 {

namespace detail {

namespace {

const char* const USAGE_WORDS[] = {"SELECT", "AUTO", "NO_MODIFY"};
const char* const TYPE_WORDS[] = {"string",      "int",      "boolean",
                                  "string_list", "int_list", "boolean_list"};

/// The word of a code, or unknown for a code without one; and back, a word without a code giving
/// the number of words.
template <std::size_t Count>
const char* wordOf(const char* const (&words)[Count], std::int32_t code, const char* unknown) {
    return code >= 0 && static_cast<std::size_t>(code) < Count ? words[code] : unknown;
}

template <class Code, std::size_t Count>
Code codeOf(const char* const (&words)[Count], const std::string& word) {
    std::size_t code = 0;
    while (code < Count && word != words[code]) {
        ++code;
    }
    return static_cast<Code>(code);
}

void writeRange(std::string& xml, const CFiConfigParamInfo& info) {
    xml += "<dataRange>\n";
    append(xml, {"\t<rangeMin>", "</rangeMin>\n"}, CFiStringTool::int2str(info.rangeMin));
    append(xml, {"\t<rangeMax>", "</rangeMax>\n"}, CFiStringTool::int2str(info.rangeMax));
    xml += "</dataRange>\n";
}

void writeSelection(std::string& xml, const CFiConfigParamInfo& info) {
    xml += "<selectionList>\n";
    for (const std::string& item : info.selectionList) {
        append(xml, {"\t<selectionItem>", "</selectionItem>\n"}, item);
    }
    xml += "</selectionList>\n";
}

bool hasRange(const CFiConfigParamInfo& info) {
    return (info.dataType == FI_DATA_INT || info.dataType == FI_DATA_INT_LIST) &&
           (info.rangeMin != -1 || info.rangeMax != -1);
}

} // namespace

template <>
struct ParamKind<CFiConfigParamInfo> {
    using Handler = CFiGetConfigParamListHandler;
    KZFI_PARAM_ELEMENTS("ConfigParamList", "ConfigParam");

    static void write(std::string& xml, const CFiConfigParamInfo& info) {
        xml += OPEN;
        append(xml, {"\t<key>", "</key>\n"}, info.key);
        append(xml, {"\t<usageType>", "</usageType>\n"},
               wordOf(USAGE_WORDS, info.usageType, "UNKNOWN"));
        append(xml, {"\t<messageId>", "</messageId>\n"}, info.messageId);
        append(xml, {"\t<isSharedParam>", "</isSharedParam>\n"},
               CFiStringTool::bool2str(info.isSharedParam));
        append(xml, {"\t<dataType>", "</dataType>\n"},
               wordOf(TYPE_WORDS, info.dataType, "unknown"));
        if (hasRange(info)) {
            writeRange(xml, info);
        }
        // Choices of other types are read and not written, on purpose.
        if (info.dataType == FI_DATA_STRING_LIST) {
            writeSelection(xml, info);
        }
        append(xml, {"\t<defaultValue>", "</defaultValue>\n"}, info.defaultValue);
        xml += CLOSE;
    }
};

template <>
struct ParamKind<CFiConfigParamData> {
    using Handler = CFiConfigParamDataListHandler;
    KZFI_PARAM_ELEMENTS("ConfigValueList", "ConfigValue");

    static void write(std::string& xml, const CFiConfigParamData& data) { writeValue(xml, data); }
};

template class CFiParamList<CFiConfigParamInfo>;
template class CFiParamListHandler<CFiConfigParamInfoList>;
template class CFiParamList<CFiConfigParamData>;
template class CFiParamListHandler<CFiConfigParamDataList>;
template class CFiValueListHandler<CFiConfigParamDataList>;

} // namespace detail

using detail::isNamed;

void CFiConfigParamInfo::addSelectionItem(const char* item) {
    if (item != nullptr) {
        selectionList.emplace_back(item);
    }
}

tstring CFiConfigParamInfo::toXML() const {
    return detail::entryXml(*this);
}

tstring CFiConfigParamData::toXML() const {
    return detail::entryXml(*this);
}

CFiConfigParamDataList::CFiConfigParamDataList() = default;
CFiConfigParamDataList::CFiConfigParamDataList(const char* xml) {
    parse(xml);
}
CFiConfigParamDataList::CFiConfigParamDataList(const CFiConfigParamDataList&) = default;
CFiConfigParamDataList& CFiConfigParamDataList::operator=(const CFiConfigParamDataList&) = default;
CFiConfigParamDataList::~CFiConfigParamDataList() = default;

CFiConfigParamData* CFiConfigParamDataList::getParamData(const char* name) {
    return lookUp(name);
}

CFiConfigParamInfoList::CFiConfigParamInfoList() = default;
CFiConfigParamInfoList::CFiConfigParamInfoList(const char* xml) {
    parse(xml);
}
CFiConfigParamInfoList::CFiConfigParamInfoList(const CFiConfigParamInfoList&) = default;
CFiConfigParamInfoList& CFiConfigParamInfoList::operator=(const CFiConfigParamInfoList&) = default;
CFiConfigParamInfoList::~CFiConfigParamInfoList() = default;

CFiConfigParamInfo* CFiConfigParamInfoList::getParamInfo(const char* name) {
    return lookUp(name);
}

CFiConfigParamDataList CFiConfigParamInfoList::getDefaultDataList() {
    CFiConfigParamDataList defaults;
    for (const auto& description : entries()) {
        CFiConfigParamData& value = defaults.entries()[description.first];
        value.key = description.second.key;
        value.value = description.second.defaultValue;
    }
    defaults.updateXML();
    return defaults;
}

CFiConfigParamDataListHandler::CFiConfigParamDataListHandler() = default;
CFiConfigParamDataListHandler::~CFiConfigParamDataListHandler() = default;

CFiGetConfigParamListHandler::CFiGetConfigParamListHandler() : finished(false) {}
CFiGetConfigParamListHandler::~CFiGetConfigParamListHandler() = default;

void CFiGetConfigParamListHandler::startElement(const XMLCh*, const XMLCh*, const XMLCh*,
                                                const xercesc::Attributes&) {
    buffer.clear();
}

void CFiGetConfigParamListHandler::endElement(const XMLCh*, const XMLCh*, const XMLCh* qname) {
    using Kind = detail::ParamKind<Entry>;
    if (isNamed(qname, "key")) {
        current.key = content();
    } else if (isNamed(qname, "usageType")) {
        current.usageType = detail::codeOf<FiConfigUsageType>(detail::USAGE_WORDS, content());
    } else if (isNamed(qname, "dataType")) {
        current.dataType = detail::codeOf<FiConfigDataType>(detail::TYPE_WORDS, content());
    } else if (isNamed(qname, "rangeMin")) {
        current.rangeMin = CFiStringTool::str2int(content());
    } else if (isNamed(qname, "rangeMax")) {
        current.rangeMax = CFiStringTool::str2int(content());
    } else if (isNamed(qname, "isSharedParam")) {
        const std::string word = content();
        current.isSharedParam = word == "true" || word == "yes" || word == "1";
    } else if (isNamed(qname, "messageId")) {
        current.messageId = content();
    } else if (isNamed(qname, "selectionItem")) {
        current.addSelectionItem(content());
    } else if (isNamed(qname, "defaultValue")) {
        current.defaultValue = content();
    } else if (isNamed(qname, Kind::ENTRY)) {
        store();
        current = CFiConfigParamInfo();
    } else if (isNamed(qname, Kind::LIST)) {
        finished = true;
    }
}

} // namespace kzfi_pdk_4_4
