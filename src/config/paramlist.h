// How every list of named entries is read from its XML and written to it.
//
// A list and its handler come to life with three things in one source file: a ParamKind that names
// the elements and the handler, and the two explicit instantiations.
#ifndef KZFI_CONFIG_PARAMLIST_H
#define KZFI_CONFIG_PARAMLIST_H

#include <string>
#include <utility>

#include "cficonfigparam.h"
#include "config/xmltext.h"

namespace kzfi_pdk_4_4::detail {

/// What a list does not know of its entries, for one Entry:
///     using Handler = ...;         the handler whose getList() gives a list of them
///     static const char* list();   the name of the root element
///     static const char* entry();  the name of an entry's element
///     static void write(std::string& xml, const Entry& entry);  appends an entry's element
template <class Entry>
struct ParamKind;

template <class Data>
int CFiParamList<Data>::parse(const char* xml) {
    // A copy first: xml may be this list's own text.
    const std::string input(xml != nullptr ? xml : text.c_str());
    text.set(input.data(), input.size(), true);
    // Outside the try block: the handler must live longer than the error.
    typename ParamKind<Data>::Handler handler;
    try {
        CFiSaxParser parser(&handler, nullptr);
        parser.parse(input);
        data.swap(handler.builtEntries());
    } catch (const xercesc::SAXParseException&) {
        return 3;
    }
    updateXML();
    return 0;
}

template <class Data>
void CFiParamList<Data>::updateXML() {
    std::string xml = "<?xml version=\"1.0\" standalone=\"yes\" ?>\n";
    openTag(xml, ParamKind<Data>::list());
    for (const auto& entry : data) {
        ParamKind<Data>::write(xml, entry.second);
    }
    closeTag(xml, ParamKind<Data>::list());
    text.set(xml.data(), xml.size(), true);
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
    // Texts that the kit wrote come in the order of the map.
    auto& entries = list.entries();
    entries.try_emplace(entries.end(), current.key)->second = std::move(current);
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
    } else if (isNamed(qname, Kind::entry())) {
        storeValue();
    } else if (isNamed(qname, "valueList")) {
        inValueList = false;
    } else if (isNamed(qname, Kind::list())) {
        finished = true;
    }
}

template <class List>
void CFiValueListHandler<List>::setValue() {
    if (inValueList) {
        this->current.valueList.emplace_back(this->content());
    } else {
        this->current.value = this->content();
    }
}

template <class List>
void CFiValueListHandler<List>::storeValue() {
    this->store();
    // auxText is not cleared, on purpose.
    this->current.valueList.clear();
    this->current.value.clear();
    this->current.key.clear();
}

/// Appends the element of one named value.
template <class Data>
void writeValue(std::string& xml, const Data& data) {
    openTag(xml, ParamKind<Data>::entry());
    // Always there and always empty: a value has no type of its own.
    valueTag(xml, "dataType", std::string());
    valueTag(xml, "key", data.key);
    if (data.valueList.empty()) {
        valueTag(xml, "value", data.value);
    } else {
        openTag(xml, "valueList");
        for (const std::string& value : data.valueList) {
            valueTag(xml, "value", value);
        }
        closeTag(xml, "valueList");
    }
    closeTag(xml, ParamKind<Data>::entry());
}

/// One entry's element as a text of its own.
template <class Entry>
tstring entryXml(const Entry& entry) {
    std::string xml;
    ParamKind<Entry>::write(xml, entry);
    return tstring(xml.data(), xml.size());
}

} // namespace kzfi_pdk_4_4::detail

#endif
