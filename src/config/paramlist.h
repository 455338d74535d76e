// How every list of named entries is read from its XML and written to it.
//
// A list and its handler come to life in one source file: with a ParamKind that names the elements
// and the handler, and with explicit instantiations of the templates below.
#ifndef KZFI_CONFIG_PARAMLIST_H
#define KZFI_CONFIG_PARAMLIST_H

#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "cficonfigparam.h"
#include "config/xmltext.h"

namespace kzfi_pdk_4_4::detail {

/// What a list does not know of its entries, for one Entry:
///     using Handler = ...;                                       // whose list is one of them
///     KZFI_PARAM_ELEMENTS("root", "entry");                      // names of root and entry
///     static void write(std::string& xml, const Entry& entry);   // appends an entry's element
template <class Entry>
struct ParamKind;

/// The names of root and entry, and their tags, which only the preprocessor can join beforehand.
#define KZFI_PARAM_ELEMENTS(list, entry)                                                           \
    static constexpr const char* LIST = list;                                                      \
    static constexpr const char* ENTRY = entry;                                                    \
    static constexpr std::string_view OPEN_LIST = "<" list ">\n";                                  \
    static constexpr std::string_view CLOSE_LIST = "</" list ">\n";                                \
    static constexpr std::string_view OPEN = "<" entry ">\n";                                      \
    static constexpr std::string_view CLOSE = "</" entry ">\n"

inline constexpr std::string_view HEADER = "<?xml version=\"1.0\" standalone=\"yes\" ?>\n";

/// Replaces text with these bytes, which may be its own, in a buffer of just their size. Throws
/// std::bad_alloc, where a byte string by itself would silently stay empty.
inline void replaceText(tstring& text, const char* bytes, std::size_t size) {
    tstring fresh(bytes, size);
    if (fresh.length() != size) {
        throw std::bad_alloc();
    }
    text.swap(fresh);
}

template <class Data>
CFiParamList<Data>::CFiParamList(const CFiParamList& source)
    : data(source.data),
      placeholder(source.placeholder) {
    replaceText(text, source.text.c_str(), source.text.length());
}

template <class Data>
CFiParamList<Data>& CFiParamList<Data>::operator=(const CFiParamList& source) {
    CFiParamList copy(source);
    data.swap(copy.data);
    std::swap(placeholder, copy.placeholder);
    text.swap(copy.text);
    return *this;
}

template <class Data>
int CFiParamList<Data>::parse(const char* xml) {
    const char* const given = xml != nullptr ? xml : text.c_str();
    replaceText(text, given, std::strlen(given));
    try {
        typename ParamKind<Data>::Handler handler;
        CFiSaxParser::parseOnce(text.c_str(), text.length(), handler);
        data.swap(handler.builtEntries());
    } catch (const xercesc::SAXParseException&) {
        return 3;
    }
    updateXML();
    return 0;
}

template <class Data>
void CFiParamList<Data>::updateXML() {
    using Kind = ParamKind<Data>;
    std::string xml;
    // The new text is about as long as the old one; after a parse this is what was read.
    xml.reserve(text.length() + HEADER.size());
    xml += HEADER;
    xml += Kind::OPEN_LIST;
    for (const auto& entry : data) {
        Kind::write(xml, entry.second);
    }
    xml += Kind::CLOSE_LIST;
    replaceText(text, xml.data(), xml.size());
}

template <class Data>
void CFiParamList<Data>::clear() {
    data.clear();
    text.clear();
}

template <class Data>
Data* CFiParamList<Data>::lookUp(const char* name) {
    const auto found = name != nullptr ? data.find(name) : data.end();
    return found != data.end() ? &found->second : &placeholder;
}

template <class List>
List& CFiParamListHandler<List>::getList() {
    raiseError();
    // Until somebody holds the list nobody can see its text, so it is not built with every entry.
    if (!listHandedOut && !list.empty()) {
        list.updateXML();
    }
    listHandedOut = true;
    return list;
}

template <class List>
void CFiParamListHandler<List>::store() {
    auto& entries = list.entries();
    if (entries.empty() || entries.rbegin()->first < current.key) {
        // Texts that the kit wrote come in the order of the map: no search.
        entries.emplace_hint(entries.end(), current.key, std::move(current));
    } else {
        entries[current.key] = std::move(current);
    }
    if (listHandedOut) {
        list.updateXML();
    }
}

template <class List>
std::map<std::string, typename List::Entry>& CFiParamListHandler<List>::builtEntries() {
    raiseError();
    return list.entries();
}

template <class List>
void CFiValueListHandler<List>::startElement(const XMLCh*, const XMLCh*, const XMLCh* qname,
                                             const xercesc::Attributes&) {
    if (isNamed(qname, "valueList")) {
        inValueList = true;
    }
    this->buffer.clear();
}

template <class List>
void CFiValueListHandler<List>::endElement(const XMLCh*, const XMLCh*, const XMLCh* qname) {
    using Kind = ParamKind<typename List::Entry>;
    if (isNamed(qname, "value")) {
        setValue();
    } else if (isNamed(qname, "key")) {
        this->current.key = this->content();
    } else if (isNamed(qname, Kind::ENTRY)) {
        storeValue();
    } else if (isNamed(qname, "valueList")) {
        inValueList = false;
    } else if (isNamed(qname, Kind::LIST)) {
        finished = true;
    }
}

template <class List>
void CFiValueListHandler<List>::setValue() {
    if (inValueList) {
        // Room for a few at once: growing one by one costs more than the values.
        if (this->current.valueList.empty()) {
            this->current.valueList.reserve(4);
        }
        this->current.valueList.emplace_back(this->content());
    } else {
        this->current.value = this->content();
    }
}

template <class List>
void CFiValueListHandler<List>::storeValue() {
    // auxText is not cleared, on purpose; storing may take it along.
    const tstring auxText(this->current.auxText);
    this->store();
    this->current.auxText = auxText;
    this->current.valueList.clear();
    this->current.value.clear();
    this->current.key.clear();
}

/// Appends the element of one named value, between the tags of its kind.
template <class Data>
void writeValue(std::string& xml, const Data& data) {
    constexpr Leaf value = {"\t<value>", "</value>\n"};
    xml += ParamKind<Data>::OPEN;
    // The type is always there and always empty: a value has none of its own.
    append(xml, {"\t<dataType></dataType>\n\t<key>", "</key>\n"}, data.key);
    if (data.valueList.empty()) {
        append(xml, value, data.value);
    } else {
        xml += "<valueList>\n";
        for (const std::string& item : data.valueList) {
            append(xml, value, item);
        }
        xml += "</valueList>\n";
    }
    xml += ParamKind<Data>::CLOSE;
}

/// One entry's element as a text of its own.
template <class Entry>
tstring entryXml(const Entry& entry) {
    std::string xml;
    ParamKind<Entry>::write(xml, entry);
    tstring text;
    replaceText(text, xml.data(), xml.size());
    return text;
}

} // namespace kzfi_pdk_4_4::detail

#endif
