#include "cfitraceable.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "cfitracelog.h"
#include "count_of.h"

using namespace kzfi_pdk_4_4;
using kzfi_tests::countOf;

static_assert(!std::is_copy_constructible<CFiTraceable>::value, "");
static_assert(!std::is_copy_assignable<CFiTraceable>::value, "");
static_assert(std::has_virtual_destructor<CFiTraceable>::value, "");

namespace {

class Traceable : public virtual CFiTraceable {
  public:
    const CFiTraceLog* held() const { return traceLog.get(); }
};

class CountedLog : public CFiTraceLog {
  public:
    explicit CountedLog(bool& goneFlag) : gone(goneFlag) {}
    ~CountedLog() override { gone = true; }

  private:
    bool& gone;
};

class CFiTraceableTest : public testing::Test {
  protected:
    CFiTraceLogPtr makeLog(bool& gone) { return CFiTraceLogPtr(new CountedLog(gone)); }

    bool firstGone = false;
    bool secondGone = false;
};

TEST_F(CFiTraceableTest, FreshObjectHasNoLog) {
    Traceable object;
    EXPECT_EQ(nullptr, object.held());
}

TEST_F(CFiTraceableTest, RegisteredLogIsSharedAndCounted) {
    const CFiTraceLogPtr log = makeLog(firstGone);
    {
        Traceable object;
        object.registerTraceLog(log);
        EXPECT_EQ(log.get(), object.held());
        EXPECT_EQ(2U, countOf(log));
        object.registerTraceLog(log);
        EXPECT_EQ(2U, countOf(log));
    }
    EXPECT_EQ(1U, countOf(log));
    EXPECT_FALSE(firstGone);
}

TEST_F(CFiTraceableTest, LastHolderDestroysTheLog) {
    {
        Traceable object;
        object.registerTraceLog(makeLog(firstGone));
        EXPECT_FALSE(firstGone);
    }
    EXPECT_TRUE(firstGone);
}

TEST_F(CFiTraceableTest, AnotherLogReplacesTheFirst) {
    Traceable object;
    object.registerTraceLog(makeLog(firstGone));
    object.registerTraceLog(makeLog(secondGone));
    EXPECT_TRUE(firstGone);
    EXPECT_FALSE(secondGone);
    EXPECT_NE(nullptr, object.held());
}

TEST_F(CFiTraceableTest, EmptyLogEndsTheTracing) {
    Traceable object;
    object.registerTraceLog(makeLog(firstGone));
    object.registerTraceLog(CFiTraceLogPtr());
    EXPECT_TRUE(firstGone);
    EXPECT_EQ(nullptr, object.held());
}

TEST_F(CFiTraceableTest, ObjectOfSeveralTracingBasesHasOneLog) {
    class Left : public Traceable {};
    class Right : public virtual CFiTraceable {
      public:
        const CFiTraceLog* heldByRight() const { return traceLog.get(); }
    };
    class Both : public Left, public Right {};
    Both object;
    object.registerTraceLog(makeLog(firstGone));
    EXPECT_NE(nullptr, object.held());
    EXPECT_EQ(object.held(), object.heldByRight());
}

TEST_F(CFiTraceableTest, RegisteringCanBeOverridden) {
    class Forwarding : public virtual CFiTraceable {
      public:
        void registerTraceLog(const CFiTraceLogPtr& log) override {
            CFiTraceable::registerTraceLog(log);
            ++registered;
        }
        int registered = 0;
    };
    Forwarding object;
    static_cast<CFiTraceable&>(object).registerTraceLog(makeLog(firstGone));
    EXPECT_EQ(1, object.registered);
}

} // namespace
