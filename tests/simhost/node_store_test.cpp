#include "node_store.h"

#include <gmock/gmock.h>

namespace {

using namespace kzfi_simhost;
using testing::ElementsAre;

ScenarioNode described(const std::string& name, std::vector<std::string> owner = {}) {
    ScenarioNode node;
    node.name = name;
    node.type = 5;
    node.owner = std::move(owner);
    return node;
}

TEST(NodeStoreTest, MakesARecordForEveryNode) {
    NodeStore store({described("a"), described("b")});
    kfi_domain* const a = store.find("a");
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(store.first(), a);
    EXPECT_EQ(a->type, 5);
    EXPECT_EQ(a->flags, 0u);
    EXPECT_STREQ(a->objid->name, "a");
    EXPECT_EQ(a->objid->length, 2u);
    EXPECT_EQ(*a->support_level, 0);
    EXPECT_EQ(a->display_name, nullptr);
    EXPECT_EQ(a->assoc_list, nullptr);
    EXPECT_EQ(a->second_list, nullptr);
    EXPECT_EQ(a->owner, nullptr);
    EXPECT_NE(store.find("b")->support_level, a->support_level);
}

TEST(NodeStoreTest, UnknownNamesHaveNoRecord) {
    NodeStore store({described("a")});
    EXPECT_EQ(store.find("b"), nullptr);
    NodeStore empty({});
    EXPECT_EQ(empty.first(), nullptr);
}

TEST(NodeStoreTest, AnOwnerHoldsItsNodesInOrder) {
    NodeStore store({described("a", {"c", "a", "b"}), described("b", {"a"}), described("c")});
    const kfi_domain_owner* const three = store.find("a")->owner;
    ASSERT_EQ(three->count, 3);
    kfi_domain* const* const nodes = three->nodes;
    EXPECT_EQ(nodes[0], store.find("c"));
    EXPECT_EQ(nodes[1], store.find("a"));
    EXPECT_EQ(nodes[2], store.find("b"));
    ASSERT_EQ(store.find("b")->owner->count, 1);
    EXPECT_EQ(store.find("b")->owner->nodes[0], store.find("a"));
}

TEST(NodeStoreTest, KnowsWhatTheScenarioSaysOfARecord) {
    NodeStore store({described("a")});
    EXPECT_EQ(store.description(store.find("a"))->name, "a");
    EXPECT_EQ(store.description(nullptr), nullptr);
    const kfi_domain other = {};
    EXPECT_EQ(store.description(&other), nullptr);
}

TEST(NodeStoreTest, InterposedNodesAreNodesToo) {
    NodeStore store({described("a"), described("b")});
    kfi_domain* const a = store.find("a");
    store.interpose(a, "<p>a", {"g", "h"});
    store.interpose(store.find("b"), "<p>b", {"g"});
    store.interpose(a, "<p>a", {"g"});
    EXPECT_THAT(store.names(), ElementsAre("a", "b", "<p>a", "g", "h", "<p>b"));
    EXPECT_EQ(store.find("a"), a);
    const kfi_domain* const upper = store.find("<p>a");
    EXPECT_EQ(upper->type, 0);
    EXPECT_EQ(upper->flags, 0u);
    EXPECT_STREQ(upper->objid->name, "<p>a");
    EXPECT_EQ(*upper->support_level, 0);
    EXPECT_EQ(store.description(upper), nullptr);
    EXPECT_EQ(store.description(a)->name, "a");

    const Json tree = store.tree();
    ASSERT_EQ(tree.size(), 6u);
    EXPECT_EQ(tree[0]["below"], Json::array());
    EXPECT_EQ(tree[2]["name"], "<p>a");
    EXPECT_EQ(tree[2]["below"], Json({"a", "g", "h"}));
    EXPECT_EQ(tree[5]["below"], Json({"b", "g"}));
}

TEST(NodeStoreTest, ShowsWhatARecordSays) {
    char display[] = "A";
    char first[] = "f";
    char second[] = "s";
    NodeStore store({described("a"), described("g")});
    kfi_domain& a = *store.find("a");
    EXPECT_EQ(stateOf(a), Json({{"type", 5},
                                {"flags", 0},
                                {"supportLevel", 0},
                                {"displayName", nullptr},
                                {"associations", Json::array()}}));
    kfi_domain_assoc_entry one = {first, &a, store.find("g")};
    kfi_domain_assoc_entry two = {second, &a, store.find("g")};
    kfi_domain_assoc_entry groupless = {nullptr, &a, nullptr};
    kfi_domain_assoc last = {nullptr, nullptr, &groupless};
    kfi_domain_assoc middle = {&last, &groupless, &two};
    a.assoc_list = &middle;
    kfi_domain_assoc front = {&middle, &one, &two};
    a.assoc_list = &front;
    a.display_name = display;
    a.flags = 0x80000008;
    *a.support_level = 2;
    EXPECT_EQ(stateOf(a),
              Json({{"type", 5},
                    {"flags", 0x80000008},
                    {"supportLevel", 2},
                    {"displayName", "A"},
                    {"associations",
                     {{"f", "s", "g"}, {nullptr, "s", nullptr}, {nullptr, nullptr, nullptr}}}}));
    a.support_level = nullptr;
    EXPECT_EQ(stateOf(a)["supportLevel"], Json());
}

TEST(NodeStoreTest, NamesOfObjectIdsMayBeMissing) {
    EXPECT_EQ(nameOf(objectId("x")), Json("x"));
    EXPECT_EQ(nameOf(nullptr), Json());
    const kzfi_objid nameless = {};
    EXPECT_EQ(nameOf(&nameless), Json());
}

} // namespace
