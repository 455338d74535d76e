// Reading value lists, beside the XML reader alone on the same text.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "cficonfigparam.h"

namespace {

using namespace kzfi_pdk_4_4;
using xercesc::XMLUni;

/// What a provider stores: short names and numbers, device paths, here and there a list or a text
/// with something to escape.
CFiConfigParamData parameter(std::size_t number) {
    const std::string digits = std::to_string(number);
    CFiConfigParamData data;
    data.key = "snapshot_parameter_" + std::string(6 - digits.size(), '0') + digits;
    switch (number % 5) {
    case 0:
        data.value = digits;
        break;
    case 1:
        data.value = "/dev/disk/by-id/scsi-360060e8010" + digits;
        break;
    case 2:
        data.value = "nightly & weekly <" + digits + ">";
        break;
    case 3:
        data.valueList = {"array-" + digits, "spare-" + digits, "\xC3\xBC" + digits};
        break;
    default:
        data.value = "mirror of the primary volume, kept for " + digits + " days";
    }
    return data;
}

std::string listText(std::size_t entries) {
    CFiConfigParamDataList list;
    for (std::size_t i = 0; i < entries; ++i) {
        const CFiConfigParamData data = parameter(i);
        list.entries()[data.key] = data;
    }
    list.updateXML();
    return list.getXML();
}

/// The reader alone, with the same features and nobody who listens.
class BareReader {
  public:
    BareReader() : reader(xercesc::XMLReaderFactory::createXMLReader()) {
        for (const XMLCh* feature :
             {XMLUni::fgSAX2CoreValidation, XMLUni::fgSAX2CoreNameSpaces, XMLUni::fgXercesSchema,
              XMLUni::fgXercesSchemaFullChecking, XMLUni::fgSAX2CoreNameSpacePrefixes}) {
            reader->setFeature(feature, false);
        }
        reader->setContentHandler(&handler);
        reader->setErrorHandler(&handler);
    }

    void parse(const std::string& text) {
        const xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(text.data()),
                                                text.size(), u"bench");
        reader->parse(source);
    }

  private:
    xercesc::DefaultHandler handler;
    std::unique_ptr<xercesc::SAX2XMLReader> reader;
};

class Platform {
  public:
    Platform() { xercesc::XMLPlatformUtils::Initialize(); }
    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;
    ~Platform() { xercesc::XMLPlatformUtils::Terminate(); }
};

void countEntries(benchmark::State& state) {
    state.SetComplexityN(state.range(0));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// A new list read from its text, with the normalised text built; its end is not measured.
void listParse(benchmark::State& state) {
    const std::string text = listText(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        auto list = std::make_unique<CFiConfigParamDataList>();
        if (list->parse(text.c_str()) != 0) {
            state.SkipWithError("refused");
        }
        state.PauseTiming();
        list.reset();
        state.ResumeTiming();
    }
    countEntries(state);
}
BENCHMARK(listParse)->Arg(3)->Arg(100)->Arg(1000)->Arg(10000)->Complexity(benchmark::oN);

/// The same with the end of the list and its entries.
void listParseAndEnd(benchmark::State& state) {
    const std::string text = listText(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        CFiConfigParamDataList list;
        if (list.parse(text.c_str()) != 0) {
            state.SkipWithError("refused");
        }
        benchmark::DoNotOptimize(list.getXML());
    }
    countEntries(state);
}
BENCHMARK(listParseAndEnd)->Arg(3)->Arg(100)->Arg(1000)->Arg(10000);

/// The peer of long lists: the parse alone, by a reader that is there already.
void bareParse(benchmark::State& state) {
    const Platform platform;
    const std::string text = listText(static_cast<std::size_t>(state.range(0)));
    BareReader reader;
    for (auto _ : state) {
        reader.parse(text);
    }
    countEntries(state);
}
BENCHMARK(bareParse)->Arg(3)->Arg(100)->Arg(1000)->Arg(10000)->Complexity(benchmark::oN);

/// The peer of short lists: a reader made for the parse.
void bareReaderAndParse(benchmark::State& state) {
    const Platform platform;
    const std::string text = listText(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        BareReader reader;
        reader.parse(text);
    }
    countEntries(state);
}
BENCHMARK(bareReaderAndParse)->Arg(3)->Arg(100)->Arg(1000)->Arg(10000);

/// The half of a parse that the reader has no part in: the text of a list.
void listWrite(benchmark::State& state) {
    CFiConfigParamDataList list(listText(static_cast<std::size_t>(state.range(0))).c_str());
    for (auto _ : state) {
        list.updateXML();
        benchmark::DoNotOptimize(list.getXML());
    }
    countEntries(state);
}
BENCHMARK(listWrite)->Arg(3)->Arg(100)->Arg(1000)->Arg(10000);

} // namespace
