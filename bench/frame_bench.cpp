// The plug-in frame: configuration requests, target selection and the interposer's registry, each
// beside what it cannot do without.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <strings.h>
#include <vector>

#include "cfiplugininterposer.h"

namespace {

using namespace kzfi_pdk_4_4;

/// One node, always with the same record.
class OneNodeFactory : public CFiPrivateDataFactory {
  public:
    explicit OneNodeFactory(kzfi_objid* id) : record(new CFiPrivateData(id)) {}
    CFiPrivateDataPtr findPrivateData(kfi_domain*) override { return record; }
    CFiPrivateDataPtr createPrivateData(kfi_domain*, int) override { return record; }
    void deletePrivateData(kfi_domain*) override {}

    CFiPrivateDataPtr record;
};

/// A provider with ten described parameters, and a node that it knows.
class TenParameters : public CFiPluginBase {
  public:
    TenParameters() : name("disk"), id{name.data(), name.size() + 1, 3} {
        for (int i = 0; i < 10; ++i) {
            const std::string key = "parameter_" + std::to_string(i);
            CFiConfigParamInfo& info = globalConfigInfo[0][1].entries()[key];
            info.key = key;
            info.dataType = FI_DATA_STRING;
            info.defaultValue = "value & more of " + key;
        }
        globalConfigInfo[0][1].updateXML();
        values = globalConfigInfo[0][1].getDefaultDataList().getXML();
        node.objid = &id;
        OneNodeFactory* factory = new OneNodeFactory(&id);
        factory->record->configDataList(1)->parse(values.c_str());
        CFiPrivateDataManagerPtr manager(new CFiPrivateDataManager(factory));
        registerPrivateDataManager(manager);
    }

    void request(int mode, char* text) {
        kfi_confspec spec = {1, 0, text};
        config(&node, mode, nullptr, &spec);
        benchmark::DoNotOptimize(spec.text);
        kzfi_free_buf(spec.text, std::strlen(spec.text) + 1);
    }

    std::string values;

  private:
    std::string name;
    kzfi_objid id;
    kfi_domain node = {};
};

void configGet(benchmark::State& state) {
    TenParameters provider;
    for (auto _ : state) {
        provider.request(1, nullptr);
    }
}
BENCHMARK(configGet);

/// The floor of a GET: the copy that the framework gets.
void configGetFloor(benchmark::State& state) {
    const TenParameters provider;
    for (auto _ : state) {
        const std::size_t size = provider.values.size() + 1;
        void* copy = kzfi_alloc_buf(size);
        std::memcpy(copy, provider.values.c_str(), size);
        benchmark::DoNotOptimize(copy);
        kzfi_free_buf(copy, size);
    }
}
BENCHMARK(configGetFloor);

void configSet(benchmark::State& state) {
    TenParameters provider;
    std::string text = provider.values;
    for (auto _ : state) {
        provider.request(2, text.data());
    }
}
BENCHMARK(configSet);

/// The floor of a SET: the parse of its text.
void configSetFloor(benchmark::State& state) {
    const TenParameters provider;
    CFiConfigParamDataList list;
    for (auto _ : state) {
        benchmark::DoNotOptimize(list.parse(provider.values.c_str()));
    }
}
BENCHMARK(configSetFloor);

std::string groups(long count) {
    std::string text;
    for (long i = 0; i < count; ++i) {
        const std::string number = std::to_string(10000 + i);
        for (const char* const part : {"[ENC2##", ";ENC2##T", ";ENC2##U"}) {
            text.append(part).append(number);
        }
        text += "]";
    }
    return text;
}

void selectTarget(benchmark::State& state) {
    std::string name = "UDID##ACME##ARRAY7##ENC1##00A3";
    kzfi_objid id = {name.data(), name.size() + 1, 3};
    CFiPrivateDataPtr record(new CFiPrivateData(&id));
    CFiConfigParamData& value = record->configDataList(1)->entries()["snapshot_resource_spec"];
    value.value = groups(state.range(0)) + "[ENC1##00A3;ENC1##00B7]";
    for (auto _ : state) {
        benchmark::DoNotOptimize(record->selectTargetFromConfigData());
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(selectTarget)->RangeMultiplier(10)->Range(10, 10000)->Complexity(benchmark::oN);

std::vector<std::string> split(const std::string& text, const char* delimiters) {
    std::vector<std::string> pieces;
    std::size_t begin = text.find_first_not_of(delimiters);
    while (begin != std::string::npos) {
        const std::size_t end = text.find_first_of(delimiters, begin);
        pieces.push_back(text.substr(begin, end - begin));
        begin = end == std::string::npos ? end : text.find_first_not_of(delimiters, end);
    }
    return pieces;
}

/// The floor of a selection: the text split into its groups once, and of each group the first two
/// fields compared.
void selectTargetFloor(benchmark::State& state) {
    const std::string text = groups(state.range(0)) + "[ENC1##00A3;ENC1##00B7]";
    for (auto _ : state) {
        int found = 0;
        for (const std::string& group : split(text, "[]&\n\r")) {
            const std::size_t mark = group.find("##");
            const std::size_t end = group.find(';');
            const std::string enclosure = group.substr(0, mark);
            const std::string device = group.substr(mark + 2, end - mark - 2);
            found += strcasecmp(device.c_str(), "00A3") == 0 &&
                     strcasecmp(enclosure.c_str(), "ENC1") == 0;
        }
        benchmark::DoNotOptimize(found);
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(selectTargetFloor)->RangeMultiplier(10)->Range(10, 10000)->Complexity(benchmark::oN);

std::vector<std::string> patterns(long count) {
    std::vector<std::string> all;
    for (long i = 0; i < count; ++i) {
        all.push_back("pattern" + std::to_string(10000 + i) + ";");
    }
    return all;
}

const char STORAGE_NODE[] = "/dev/disk/by-array/pattern-of-no-use;pattern;storage-node-17";

/// A router none of whose patterns matches, so that all are tried.
class Router : public CFiPluginInterposer {
  public:
    explicit Router(long count) {
        setProviderName("router");
        for (const std::string& pattern : patterns(count)) {
            addFim(pattern, "fim", "alt", 1, "");
        }
    }
};

void getFims(benchmark::State& state) {
    Router router(state.range(0));
    const tstring node = (std::string("<router>") + STORAGE_NODE).c_str();
    for (auto _ : state) {
        benchmark::DoNotOptimize(router.getFims(node).size());
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(getFims)->RangeMultiplier(10)->Range(10, 10000)->Complexity(benchmark::oN);

void interpose(benchmark::State& state) {
    Router router(state.range(0));
    std::string name = STORAGE_NODE;
    kzfi_objid id = {name.data(), name.size() + 1, 3};
    kfi_domain node = {};
    node.objid = &id;
    kzfi_objid* interposer = nullptr;
    kzfi_objid** lower = nullptr;
    int count = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(router.interpose(&node, &interposer, &lower, &count));
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(interpose)->RangeMultiplier(10)->Range(10, 10000)->Complexity(benchmark::oN);

/// The floor of both: every pattern looked for in the name.
void patternsFloor(benchmark::State& state) {
    const std::vector<std::string> all = patterns(state.range(0));
    for (auto _ : state) {
        int found = 0;
        for (const std::string& pattern : all) {
            found += std::strstr(STORAGE_NODE, pattern.c_str()) != nullptr;
        }
        benchmark::DoNotOptimize(found);
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(patternsFloor)->RangeMultiplier(10)->Range(10, 10000)->Complexity(benchmark::oN);

} // namespace
