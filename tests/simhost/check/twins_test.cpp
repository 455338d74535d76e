// Each check fails on its twin, and no unrelated one does.
#include <gmock/gmock.h>

#include <map>
#include <set>
#include <string>

#include "check/check.h"
#include "simhost/command.h"

namespace {

using kzfi_simhost::Json;

/// Names and verdicts of the checks that did not pass and were not skipped.
using Verdicts = std::map<std::string, std::string>;

struct Twin {
    const char* name;
    Verdicts expected;
};

void PrintTo(const Twin& twin, std::ostream* out) {
    *out << twin.name;
}

/// Where more than one check is named, the others cannot but see the same fault.
const Twin TWINS[] = {
    {"sound", {}},
    {"load_symbols", {{"load.symbols", "fail"}}},
    {"load_entry", {{"load.entry", "fail"}}},
    {"load_entry_missing", {{"load.entry", "fail"}}},
    {"load_quiet", {{"load.quiet", "fail"}}},
    {"load_repeat", {{"load.repeat", "fail"}}},
    {"load_repeat_kept", {{"load.repeat", "warn"}}},
    {"life_before_init", {{"life.before_init", "crash"}}},
    {"life_after_fini", {{"life.after_fini", "crash"}}},
    {"life_repeat", {{"life.repeat", "fail"}}},
    {"life_repeat_large", {{"life.repeat", "fail"}}},
    {"life_two_instances", {{"life.two_instances", "fail"}}},
    {"claim_deterministic", {{"claim.deterministic", "fail"}}},
    {"claim_claims", {{"claim.claims", "fail"}}},
    {"claim_decoys", {{"claim.decoys", "fail"}}},
    {"claim_decoys_list", {{"claim.decoys", "fail"}}},
    {"claim_side_effects", {{"claim.side_effects", "fail"}}},
    {"claim_support", {{"claim.support", "fail"}}},
    {"claim_support_refused", {{"claim.support", "fail"}}},
    {"nodes_pairs", {{"nodes.pairs", "fail"}}},
    {"nodes_double_init", {{"nodes.double_init", "fail"}}},
    {"nodes_double_deinit", {{"nodes.double_deinit", "crash"}}},
    {"nodes_stale", {{"nodes.stale", "crash"}}},
    {"nodes_stale_values", {{"nodes.stale", "fail"}}},
    {"nodes_isolated", {{"nodes.isolated", "fail"}}},
    {"nodes_isolated_end", {{"nodes.isolated", "fail"}}},
    {"nodes_growth", {{"nodes.growth", "fail"}}},
    {"nodes_inputs_unchanged", {{"nodes.inputs_unchanged", "fail"}}},
    {"nodes_inputs_unchanged_record", {{"nodes.inputs_unchanged", "fail"}}},
    {"errors_pairs", {{"errors.pairs", "fail"}}},
    {"errors_pairs_growth", {{"errors.pairs", "fail"}}},
    {"errors_text", {{"errors.text", "fail"}}},
    {"errors_text_unknown", {{"errors.text", "fail"}}},
    {"errors_per_thread", {{"errors.per_thread", "fail"}}},
    {"errors_per_thread_shown", {{"errors.per_thread", "fail"}}},
    {"threads_operations", {{"threads.operations", "fail"}}},
    {"threads_nodes", {{"threads.nodes", "fail"}}},
    {"operations_once", {{"operations.once", "crash"}}},
    {"operations_null", {{"operations.null", "crash"}}},
    {"operations_unknown_node", {{"operations.unknown_node", "fail"}}},
    {"operations_not_implemented_stable", {{"operations.not_implemented_stable", "fail"}}},
    {"operations_statuses", {{"operations.statuses", "fail"}}},
    {"operations_statuses_unknown", {{"operations.statuses", "warn"}}},
    {"operations_outputs_on_error", {{"operations.outputs_on_error", "fail"}}},
    {"operations_exceptions", {{"operations.exceptions", "exception"}}},
    {"config_get", {{"config.get", "fail"}}},
    {"config_getparam", {{"config.getparam", "fail"}}},
    {"config_getparam_missing", {{"config.getparam", "fail"}}},
    {"config_round_trip", {{"config.round_trip", "fail"}}},
    {"config_set_twice", {{"config.set_twice", "fail"}}},
    {"config_bad_xml", {{"config.bad_xml", "fail"}}},
    {"config_bad_xml_values", {{"config.bad_xml", "fail"}}},
    {"config_hostile_xml", {{"config.hostile_xml", "fail"}}},
    {"config_hostile_xml_bomb", {{"config.hostile_xml", "fail"}}},
    {"config_hostile_xml_deep", {{"config.hostile_xml", "crash"}}},
    {"config_clear", {{"config.clear", "fail"}}},
    {"config_limits", {{"config.limits", "warn"}}},
    {"walk_random", {{"walk.random", "crash"}}},
    {"walk_random_status", {{"walk.random", "fail"}}},
    {"snapshot_sound", {}},
    {"snapshot_bytes", {{"snapshot.bytes", "fail"}}},
    {"snapshot_order", {{"snapshot.order", "fail"}}},
    {"snapshot_order_dispose", {{"snapshot.order", "fail"}}},
    {"snapshot_repeat", {{"snapshot.repeat", "fail"}}},
    {"snapshot_no_memory", {{"snapshot.no_memory", "crash"}}},
    {"snapshot_no_memory_late", {{"snapshot.no_memory", "crash"}}},
    {"snapshot_no_memory_left", {{"snapshot.no_memory", "fail"}}},
    {"snapshot_no_object_id", {{"snapshot.no_object_id", "fail"}}},
    {"snapshot_tool_failure", {{"snapshot.tool_failure", "fail"}}},
    {"snapshot_tool_failure_left", {{"snapshot.tool_failure", "fail"}}},
    {"watch_buffers", {{"watch.buffers", "fail"}}},
    {"watch_references", {{"watch.references", "fail"}}},
    {"watch_trace", {{"watch.trace", "fail"}}},
    {"watch_environment", {{"watch.environment", "fail"}}},
};

class CheckRun {
  public:
    Verdicts of(const std::string& provider, const std::vector<std::string>& options = {}) {
        std::vector<std::string> arguments = {"check",  provider,
                                              "--root", simhost.path("root"),
                                              "--json", simhost.path("report.json")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        result = simhost(arguments);
        const Json report = Json::parse(kzfi_tests::readFile(simhost.path("report.json")));
        Verdicts found;
        for (const Json& check : report["checks"]) {
            const std::string verdict = check["verdict"].get<std::string>();
            if (verdict != "pass" && verdict != "skip") {
                found[check["name"].get<std::string>()] = verdict;
            }
        }
        return found;
    }

    kzfi_tests::CommandResult result;

  private:
    kzfi_tests::SimhostCommand simhost;
};

class TwinsTest : public testing::TestWithParam<Twin> {};

TEST_P(TwinsTest, BreaksItsRuleAlone) {
    CheckRun run;
    const std::string file = std::string(KZFI_PROVIDERS "/twin_") + GetParam().name + ".so";
    const bool snapshots = std::string(GetParam().name).rfind("snapshot_", 0) == 0;
    const char* const config = snapshots ? KZFI_SNAPSHOTS_CONFIG : KZFI_CHECK_CONFIG;
    Verdicts found = run.of(file, {"--config", config, "--deadline", "2"});
    // Its way may lead past any fault.
    if (GetParam().expected.count("walk.random") == 0) {
        found.erase("walk.random");
    }
    EXPECT_EQ(found, GetParam().expected) << run.result.out << run.result.err;
}

INSTANTIATE_TEST_SUITE_P(All, TwinsTest, testing::ValuesIn(TWINS),
                         [](const auto& twin) { return std::string(twin.param.name); });

/// No check goes without a twin.
TEST(Twins, AreThereForEveryCheck) {
    std::set<std::string> twins;
    for (const Twin& twin : TWINS) {
        twins.insert(twin.name);
    }
    for (const kzfi_simhost::Check& check : kzfi_simhost::checks()) {
        std::string name = check.name;
        name.replace(name.find('.'), 1, "_");
        EXPECT_EQ(twins.count(name), 1U) << check.name;
    }
}

void expectGreen(const std::string& sample, const std::vector<std::string>& options = {}) {
    CheckRun run;
    for (const auto& check : run.of(sample, options)) {
        EXPECT_EQ(check.second, "warn") << check.first << "\n" << run.result.out << run.result.err;
    }
    EXPECT_EQ(run.result.status, 0) << sample;
}

TEST(Samples, Pass) {
    expectGreen(KZFI_HELLO_FOLDER "/hello.so");
    expectGreen(KZFI_ROUTER_FOLDER "/router.so");
    expectGreen(KZFI_DISKIMAGE_FOLDER "/diskimage.so",
                {"--config", KZFI_DISKIMAGE_FOLDER "/check.yaml"});
}

} // namespace
