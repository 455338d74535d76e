#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cfiprivatedata.h"
#include "support/trace_capture.h"

namespace kzfi_pdk_4_4 {
namespace {

using kzfi_tests::TraceCapture;
using kzfi_tests::TracedLine;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/// A node named as in the configuration of an array.
class TargetSelection : public testing::Test {
  protected:
    TargetSelection() { rename("UDID##ACME##ARRAY7##ENC1##00A3"); }

    void rename(const std::string& newName) {
        name = newName;
        id = {name.data(), name.size() + 1, 3};
        data = new CFiPrivateData(&id);
        data->registerTraceLog(trace.log());
    }

    void configure(const std::string& resources) {
        CFiConfigParamData& entry = data->configDataList(1)->entries()["snapshot_resource_spec"];
        entry.key = "snapshot_resource_spec";
        entry.value = resources;
    }

    int select(const std::string& resources) {
        configure(resources);
        return select();
    }

    int select() {
        const int result = data->selectTargetFromConfigData();
        lines = trace.lines();
        return result;
    }

    /// The lines at level 1: why nothing was selected.
    std::vector<std::string> refusals() const {
        std::vector<std::string> texts;
        for (const TracedLine& line : lines) {
            if (line.level == 1) {
                texts.push_back(line.text);
            }
        }
        return texts;
    }

    TraceCapture trace;
    std::string name;
    kzfi_objid id = {};
    CFiPrivateDataPtr data;
    std::vector<TracedLine> lines;
};

TEST_F(TargetSelection, TakesTheFirstTargetOfTheMatchingGroup) {
    EXPECT_EQ(select("[ENC9##0001;ENC9##0002][enc1##00a3;ENC1##00B7;ENC1##00B8]"), 0);
    EXPECT_EQ(data->getConfiguredTarget(), "UDID##ACME##ARRAY7##ENC1##00B7");
    EXPECT_THAT(data->getTargets(), ElementsAre("00B7", "00B8"));
}

TEST_F(TargetSelection, TracesEveryStep) {
    const std::string spec = "[ENC9##0001;ENC9##0002][enc1##00a3;ENC1##00B7;ENC1##00B8]";
    select(spec);
    EXPECT_THAT(
        lines,
        ElementsAre(
            TracedLine{3, "called for UDID [UDID##ACME##ARRAY7##ENC1##00A3] \n"},
            TracedLine{3, "FI_CONFIG_PARAM_SNAPSHOT_RESOURCE_SPEC: [" + spec + "]"},
            TracedLine{3, "Info: resourceSpec [ENC9##0001;ENC9##0002] \n"},
            TracedLine{3, "resourceSpec [ENC9##0001] \n"}, TracedLine{6, "RESINFO: [ENC9][0001]"},
            TracedLine{3, "Info: resourceSpec [enc1##00a3;ENC1##00B7;ENC1##00B8] \n"},
            TracedLine{3, "resourceSpec [enc1##00a3] \n"}, TracedLine{6, "RESINFO: [enc1][00a3]"},
            TracedLine{3, "Source found [UDID##ACME##ARRAY7##ENC1##00A3] \n"},
            TracedLine{3, "resourceSpec [ENC1##00B7] \n"}, TracedLine{6, "RESINFO: [ENC1][00B7]"},
            TracedLine{3, "resourceSpec [ENC1##00B8] \n"}, TracedLine{6, "RESINFO: [ENC1][00B8]"},
            TracedLine{3, "Target Udid [UDID##ACME##ARRAY7##ENC1##00B7] \n"}));
}

TEST_F(TargetSelection, EntryAndExitNameTheRecord) {
    configure("[ENC1##00A3;ENC1##00B7]");
    data->selectTargetFromConfigData();
    const std::vector<TracedLine> all = trace.all();
    EXPECT_THAT(all.front().text, StartsWith("Entering Function selectTargetFromConfigData ["));
    EXPECT_THAT(all.front().text, HasSubstr(", cfiprivatedata"));
    EXPECT_THAT(all.back().text, StartsWith("Exiting Function selectTargetFromConfigData ["));
}

TEST_F(TargetSelection, WithoutTraceLogTheResultIsTheSame) {
    data->registerTraceLog(CFiTraceLogPtr());
    EXPECT_EQ(select("[ENC1##00A3;ENC1##00B7]"), 0);
    EXPECT_THAT(lines, IsEmpty());
}

TEST_F(TargetSelection, TargetIsUpperCaseWhileCandidatesStayAsWritten) {
    rename("UDID##acme##array7##enc1##00a3");
    EXPECT_EQ(select("[ENC1##00A3;other##00b7]"), 0);
    EXPECT_EQ(data->getConfiguredTarget(), "UDID##ACME##ARRAY7##ENC1##00B7")
        << "the source's enclosure, the target's device";
    EXPECT_THAT(data->getTargets(), ElementsAre("00b7"));
}

TEST_F(TargetSelection, LinesNameTheIdentifierInUpperCase) {
    rename("UDID##acme##array7##enc1##00a3");
    select("[enc1##00a3;t]");
    EXPECT_THAT(lines, testing::Contains(
                           TracedLine{3, "Source found [UDID##ACME##ARRAY7##ENC1##00A3] \n"}));
    EXPECT_EQ(lines[0].text, "called for UDID [UDID##ACME##ARRAY7##ENC1##00A3] \n");
}

TEST_F(TargetSelection, WithoutTheParameterOldCandidatesStay) {
    data->addTarget("old");
    EXPECT_EQ(select(), 6);
    EXPECT_THAT(data->getTargets(), ElementsAre("old"));
    data->configDataList(1);
    EXPECT_EQ(select(), 6);
    EXPECT_THAT(data->getTargets(), ElementsAre("old"));
}

TEST_F(TargetSelection, AnythingMayStandBeforeTheIdentifier) {
    rename("xyzUDID##a##b##e##d");
    EXPECT_EQ(select("[e##d;t]"), 0);
    EXPECT_EQ(data->getConfiguredTarget(), "UDID##A##B##E##T");
}

TEST_F(TargetSelection, FirstMatchingGroupEndsTheSearch) {
    EXPECT_EQ(select("[ENC1##00A3;T1][ENC1##00A3;T2]"), 0);
    EXPECT_THAT(data->getTargets(), ElementsAre("T1"));
    EXPECT_EQ(select("[ENC1##00A3][ENC1##00A3;T2]"), 6);
    EXPECT_THAT(refusals(), ElementsAre("Source configuration found, but no targets are specified "
                                        "for [UDID##ACME##ARRAY7##ENC1##00A3]."));
}

TEST_F(TargetSelection, EveryDelimiterSeparatesGroups) {
    for (const char* spec : {"x##y;z]ENC1##00A3;T", "x##y;z&ENC1##00A3;T", "x##y;z\nENC1##00A3;T",
                             "x##y;z\rENC1##00A3;T", "]]ENC1##00A3;T[[", "ENC1##00A3;;T;"}) {
        EXPECT_EQ(select(spec), 0) << spec;
        EXPECT_THAT(data->getTargets(), ElementsAre("T"));
    }
}

TEST_F(TargetSelection, ValueIsUnescapedOnceBeforeItIsSplit) {
    EXPECT_EQ(select("x##y;z&amp;ENC1##00A3;T&lt;1"), 0);
    EXPECT_THAT(data->getTargets(), ElementsAre("T<1"));
    EXPECT_EQ(lines[1].text,
              "FI_CONFIG_PARAM_SNAPSHOT_RESOURCE_SPEC: [x##y;z&amp;ENC1##00A3;T&lt;1]");
    EXPECT_EQ(select("ENC1##00A3;T&quot;"), 0);
    EXPECT_EQ(select("ENC1##00A3;a&amp;gt;b"), 0);
    EXPECT_THAT(data->getTargets(), ElementsAre("a")) << "what follows is another group";
    EXPECT_EQ(select("ENC1##00A3;a&amp;quot;b&amp;"), 0);
    EXPECT_THAT(data->getTargets(), ElementsAre("a"));
}

TEST_F(TargetSelection, TargetsMayLackAnEnclosure) {
    EXPECT_EQ(select("[ENC1##00A3;00B7]"), 0);
    EXPECT_THAT(lines, testing::Contains(TracedLine{6, "RESINFO: [][00B7]"}));
}

TEST_F(TargetSelection, LaterMarksStayInTheDevice) {
    rename("UDID##a##b##e##d##x");
    EXPECT_EQ(select("[e##d##x;e##t##y]"), 0);
    EXPECT_THAT(data->getTargets(), ElementsAre("t##y"));
}

// ---- Refusals ----

TEST_F(TargetSelection, RefusesWithoutValues) {
    EXPECT_EQ(select(), 6);
    EXPECT_THAT(refusals(), ElementsAre("Error: No snapshot configuration data has been specified "
                                        "for [UDID##ACME##ARRAY7##ENC1##00A3]"));
    EXPECT_FALSE(data->hasConfigDataList(1));
}

TEST_F(TargetSelection, ValuesOfTheOtherIndexDoNotCount) {
    data->configDataList(0)->entries()["snapshot_resource_spec"].value = "[ENC1##00A3;T]";
    EXPECT_EQ(select(), 6);
}

TEST_F(TargetSelection, RefusesWithoutTheParameter) {
    data->configDataList(1)->entries()["snapshot_resource_specs"].value = "[ENC1##00A3;T]";
    EXPECT_EQ(select(), 6);
    EXPECT_THAT(refusals(),
                ElementsAre("Configuration data parameter \"snapshot_resource_spec\" unspecified "
                            "for object [UDID##ACME##ARRAY7##ENC1##00A3]."));
}

TEST_F(TargetSelection, RefusesAValueWithoutGroups) {
    for (const std::string spec : {"", "[][]", "&\n\r"}) {
        EXPECT_EQ(select(spec), 6);
        EXPECT_THAT(refusals(), ElementsAre("Configuration \"" + spec +
                                            "\" has no resources specified for source "
                                            "[UDID##ACME##ARRAY7##ENC1##00A3]."));
    }
}

TEST_F(TargetSelection, RefusalOfTheWholeNamesTheUnescapedValue) {
    EXPECT_EQ(select("&amp;"), 6);
    EXPECT_THAT(refusals(), ElementsAre("Configuration \"&\" has no resources specified for source "
                                        "[UDID##ACME##ARRAY7##ENC1##00A3]."));
}

TEST_F(TargetSelection, AListValueCountsAsEmpty) {
    data->configDataList(1)->entries()["snapshot_resource_spec"].valueList = {"[ENC1##00A3;T]"};
    EXPECT_EQ(select(), 6);
    EXPECT_THAT(refusals(), ElementsAre("Configuration \"\" has no resources specified for source "
                                        "[UDID##ACME##ARRAY7##ENC1##00A3]."));
}

TEST_F(TargetSelection, RefusesAGroupWithoutItemsEvenBeforeAMatch) {
    EXPECT_EQ(select("[;;][ENC1##00A3;T]"), 6);
    EXPECT_THAT(refusals(), ElementsAre("Source configuration \";;\" has not targets specified for "
                                        "[UDID##ACME##ARRAY7##ENC1##00A3]."));
}

TEST_F(TargetSelection, RefusesAnItemWithoutDevice) {
    EXPECT_EQ(select("[ENC1##;T]"), 6);
    EXPECT_THAT(refusals(), ElementsAre("Source configuration \"ENC1##\" has no device data "
                                        "specified for [UDID##ACME##ARRAY7##ENC1##00A3]."));
    EXPECT_EQ(select("[##;T]"), 6);
    EXPECT_THAT(refusals(), ElementsAre(HasSubstr("has no device data")))
        << "the device is looked at before the enclosure";
}

TEST_F(TargetSelection, RefusesATargetWithoutDeviceAndKeepsEarlierCandidates) {
    EXPECT_EQ(select("[ENC1##00A3;T1;ENC1##]"), 6);
    EXPECT_THAT(refusals(), ElementsAre("Source configuration \"ENC1##\" has no device data "
                                        "specified for [UDID##ACME##ARRAY7##ENC1##00A3]."));
    EXPECT_THAT(data->getTargets(), ElementsAre("T1"));
    EXPECT_EQ(data->getConfiguredTarget(), "");
}

TEST_F(TargetSelection, RefusesASourceWithoutEnclosureEvenAfterAnotherGroup) {
    EXPECT_EQ(select("[ENC9##0001;T][00A3;T][ENC1##00A3;T]"), 6);
    EXPECT_THAT(refusals(), ElementsAre("Source configuration \"00A3\" has no enclosure data "
                                        "specified for [UDID##ACME##ARRAY7##ENC1##00A3]."));
}

TEST_F(TargetSelection, RefusesWhenNoGroupMatches) {
    EXPECT_EQ(select("[ENC1##00A4;T][ENC2##00A3;T]"), 6);
    EXPECT_THAT(refusals(), ElementsAre("No matching source specification found for "
                                        "[UDID##ACME##ARRAY7##ENC1##00A3]."));
}

TEST_F(TargetSelection, AGroupThatDoesNotMatchIsLeftAtItsFirstItem) {
    select("[ENC9##0001;ENC9##;x]");
    EXPECT_THAT(lines, testing::Contains(TracedLine{3, "resourceSpec [ENC9##0001] \n"}));
    EXPECT_THAT(lines, testing::Not(testing::Contains(TracedLine{3, "resourceSpec [x] \n"})));
}

TEST_F(TargetSelection, ThreeFieldIdentifiersNeverSelect) {
    rename("UDID##a##b##c");
    EXPECT_EQ(select("[##c;T]"), 6);
    EXPECT_THAT(refusals(), ElementsAre("Source configuration \"##c\" has no enclosure data "
                                        "specified for [UDID##a##b##c]."));
    EXPECT_EQ(lines[0].text, "called for UDID [UDID##A##B####C] \n");
}

TEST_F(TargetSelection, OldStateStaysUntilTheGroupsAreReached) {
    EXPECT_EQ(select("[ENC1##00A3;T1]"), 0);
    EXPECT_EQ(select("[]"), 6);
    EXPECT_THAT(data->getTargets(), ElementsAre("T1"));
    EXPECT_EQ(select("[ENC9##1;T2]"), 6);
    EXPECT_THAT(data->getTargets(), IsEmpty());
    EXPECT_EQ(data->getConfiguredTarget(), "UDID##ACME##ARRAY7##ENC1##T1");
}

TEST_F(TargetSelection, AMalformedNodeNameIsThrown) {
    const struct {
        const char* name;
        int code;
    } cases[] = {
        {"/dev/sdb", 2}, {"UDIDa##b", 2}, {"UDID##a", 3}, {"UDID##a##b", 4}, {"UDID##a##b##", 1}};
    for (const auto& c : cases) {
        rename(c.name);
        configure("[ENC1##00A3;T]");
        try {
            data->selectTargetFromConfigData();
            ADD_FAILURE() << c.name << " was accepted";
        } catch (const CFiUdidException& failure) {
            EXPECT_EQ(failure.errorCode, c.code) << c.name;
            EXPECT_EQ(failure.udid, c.name);
        }
        const std::vector<TracedLine> all = trace.all();
        EXPECT_THAT(all.back().text, StartsWith("Exiting Function selectTargetFromConfigData"));
    }
}

TEST_F(TargetSelection, TenThousandGroups) {
    std::string spec;
    for (int i = 0; i < 10000; ++i) {
        spec += "[ENC2##" + std::to_string(i) + ";ENC2##T" + std::to_string(i) + "]";
    }
    data->registerTraceLog(CFiTraceLogPtr());
    EXPECT_EQ(select(spec), 6);
    EXPECT_EQ(select(spec + "[ENC1##00A3;ENC1##LAST]"), 0);
    EXPECT_EQ(data->getConfiguredTarget(), "UDID##ACME##ARRAY7##ENC1##LAST");
}

} // namespace
} // namespace kzfi_pdk_4_4
