#include "node_store.h"

#include <gmock/gmock.h>

namespace {

using namespace kzfi_simhost;

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

TEST(NodeStoreTest, NamesOfObjectIdsMayBeMissing) {
    EXPECT_EQ(nameOf(objectId("x")), Json("x"));
    EXPECT_EQ(nameOf(nullptr), Json());
    const kzfi_objid nameless = {};
    EXPECT_EQ(nameOf(&nameless), Json());
}

} // namespace
