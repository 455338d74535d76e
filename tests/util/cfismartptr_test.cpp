// Counted objects and the smart pointers that hold them.
#include "cfismartptr.h"

#include <gmock/gmock.h>
#include <pthread.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

using namespace kzfi_pdk_4_4;
using testing::ElementsAre;
using testing::IsEmpty;

using Events = std::vector<std::string>;

// Notes every count operation and its destruction, with the mutex's state and the count.
class Witness : public virtual CFiRefCount {
  public:
    explicit Witness(Events& log) : events(log) {}
    ~Witness() override {
        events.push_back("destroyed at " + std::to_string(CFiRefCount::getCount()) + state());
        if (onDestruction) {
            onDestruction();
        }
    }

    std::uint32_t increment() override {
        events.push_back("increment" + state());
        if (refuses || refusesIncrement) {
            throw std::runtime_error("increment refused");
        }
        return CFiRefCount::increment();
    }

    std::uint32_t decrement() override {
        events.push_back("decrement" + state());
        if (refuses) {
            throw std::runtime_error("decrement refused");
        }
        return CFiRefCount::decrement();
    }

    bool isLocked() {
        if (countMutex().tryacquire() != 0) {
            return true;
        }
        countMutex().release();
        return false;
    }

    std::function<void()> onDestruction;
    bool refuses = false;
    bool refusesIncrement = false;

  private:
    std::string state() { return isLocked() ? ", locked" : ", unlocked"; }

    Events& events;
};

using WitnessPtr = CFiSmartPtr<Witness, CFiNullAllocator<Witness>>;
using SingletonPtr = CFiSmartPtr<Witness, CFiContextSingletonAllocator<Witness>>;

// While one lives the object's mutex cannot be locked by this thread: it reports a deadlock.
class MutexFailure {
  public:
    explicit MutexFailure(CFiRefCount& object)
        : native(const_cast<ACE_thread_mutex_t&>(object.countMutex().lock())) {
        pthread_mutexattr_t checking;
        pthread_mutexattr_init(&checking);
        pthread_mutexattr_settype(&checking, PTHREAD_MUTEX_ERRORCHECK);
        pthread_mutex_destroy(&native);
        pthread_mutex_init(&native, &checking);
        pthread_mutexattr_destroy(&checking);
        pthread_mutex_lock(&native);
    }
    MutexFailure(const MutexFailure&) = delete;
    MutexFailure& operator=(const MutexFailure&) = delete;
    ~MutexFailure() { pthread_mutex_unlock(&native); }

  private:
    ACE_thread_mutex_t& native;
};

class SmartPtr : public testing::Test {
  protected:
    Witness* make() { return new Witness(events); }

    // The events since the last call.
    Events happened() {
        Events result;
        result.swap(events);
        return result;
    }

    Events events;
};

// ---- The counted base ----

TEST_F(SmartPtr, ObjectsStartAtZero) {
    CFiRefCount object;
    EXPECT_EQ(0u, object.getCount());
}

TEST_F(SmartPtr, CountOperationsReturnTheCount) {
    CFiRefCount object;
    EXPECT_EQ(1u, object.increment());
    EXPECT_EQ(2u, object.increment());
    EXPECT_EQ(2u, object.getCount());
    EXPECT_EQ(1u, object.decrement());
    EXPECT_EQ(0u, object.decrement());
    EXPECT_EQ(0u, object.getCount());
}

TEST_F(SmartPtr, CountOperationsTakeNoMutex) {
    CFiRefCount object;
    ASSERT_EQ(0, object.countMutex().acquire());
    EXPECT_EQ(1u, object.increment());
    EXPECT_EQ(1u, object.getCount());
    EXPECT_EQ(0u, object.decrement());
    EXPECT_EQ(0, object.countMutex().release());
}

TEST_F(SmartPtr, ObjectsAreNotCopied) {
    EXPECT_FALSE(std::is_copy_constructible<CFiRefCount>::value);
    EXPECT_FALSE(std::is_copy_assignable<CFiRefCount>::value);
}

TEST_F(SmartPtr, HoldsNothingButThePointer) {
    EXPECT_EQ(sizeof(void*), sizeof(WitnessPtr));
    EXPECT_EQ(sizeof(void*), sizeof(SingletonPtr));
}

// ---- Construction, copy, access ----

TEST_F(SmartPtr, StartsEmpty) {
    const WitnessPtr pointer;
    const WitnessPtr fromNull(nullptr);
    EXPECT_FALSE(pointer);
    EXPECT_EQ(nullptr, pointer.get());
    EXPECT_FALSE(fromNull);
}

TEST_F(SmartPtr, TakesTheFirstCount) {
    Witness* const object = make();
    const WitnessPtr pointer = object;
    EXPECT_TRUE(pointer);
    EXPECT_EQ(object, pointer.get());
    EXPECT_EQ(object, &*pointer);
    EXPECT_EQ(1u, pointer->getCount());
    EXPECT_THAT(happened(), ElementsAre("increment, locked"));
}

TEST_F(SmartPtr, CopiesRaiseTheCountByOne) {
    const WitnessPtr pointer(make());
    happened();
    {
        const WitnessPtr copy(pointer);
        EXPECT_EQ(pointer.get(), copy.get());
        EXPECT_EQ(2u, pointer->getCount());
        EXPECT_THAT(happened(), ElementsAre("increment, locked"));
    }
    EXPECT_EQ(1u, pointer->getCount());
    EXPECT_THAT(happened(), ElementsAre("decrement, locked"));
}

TEST_F(SmartPtr, CopiesOfAnEmptyOneAreEmpty) {
    const WitnessPtr empty;
    const WitnessPtr copy(empty);
    EXPECT_FALSE(copy);
}

TEST_F(SmartPtr, BothTagsReleaseAlike) {
    {
        const SingletonPtr pointer(make());
        const SingletonPtr copy(pointer);
        EXPECT_EQ(2u, pointer->getCount());
        happened();
    }
    EXPECT_THAT(happened(), ElementsAre("decrement, locked", "decrement, locked",
                                        "increment, locked", "destroyed at 1, unlocked"));
}

// ---- release ----

TEST_F(SmartPtr, ReleaseOfNothingAnswersMinusOne) {
    WitnessPtr pointer;
    EXPECT_EQ(-1, pointer.release());
    EXPECT_FALSE(pointer);
}

TEST_F(SmartPtr, ReleaseOfOneOfTwoLeavesTheObject) {
    WitnessPtr pointer(make());
    const WitnessPtr other(pointer);
    happened();
    EXPECT_EQ(1, pointer.release());
    EXPECT_FALSE(pointer);
    EXPECT_EQ(1u, other->getCount());
    EXPECT_THAT(happened(), ElementsAre("decrement, locked"));
}

TEST_F(SmartPtr, ReleaseOfTheLastDestroysOnce) {
    WitnessPtr pointer(make());
    happened();
    EXPECT_EQ(0, pointer.release());
    EXPECT_FALSE(pointer);
    EXPECT_THAT(happened(),
                ElementsAre("decrement, locked", "increment, locked", "destroyed at 1, unlocked"));
    EXPECT_EQ(-1, pointer.release());
    EXPECT_THAT(happened(), IsEmpty());
}

TEST_F(SmartPtr, StillShowsTheObjectWhileItIsDestroyed) {
    Witness* const object = make();
    WitnessPtr pointer(object);
    Witness* seen = nullptr;
    object->onDestruction = [&] { seen = pointer.get(); };
    pointer.release();
    EXPECT_EQ(object, seen);
    EXPECT_EQ(nullptr, pointer.get());
}

TEST_F(SmartPtr, DestructionReleases) {
    { const WitnessPtr pointer(make()); }
    EXPECT_EQ("destroyed at 1, unlocked", happened().back());
}

// ---- acquire ----

TEST_F(SmartPtr, AcquireAnswersTheNewCount) {
    WitnessPtr first;
    WitnessPtr second;
    Witness* const object = make();
    EXPECT_EQ(1, first.acquire(object));
    EXPECT_EQ(2, second.acquire(object));
    EXPECT_EQ(object, second.get());
}

TEST_F(SmartPtr, AcquireReleasesFirst) {
    Events oldEvents;
    WitnessPtr pointer(new Witness(oldEvents));
    Witness* const next = make();
    EXPECT_EQ(1, pointer.acquire(next));
    EXPECT_EQ("destroyed at 1, unlocked", oldEvents.back());
    EXPECT_EQ(next, pointer.get());
}

TEST_F(SmartPtr, AcquireOfNullAnswersTheRelease) {
    WitnessPtr pointer;
    EXPECT_EQ(-1, pointer.acquire(nullptr));
    EXPECT_FALSE(pointer);

    pointer.acquire(make());
    EXPECT_EQ(0, pointer.acquire(nullptr));
    EXPECT_FALSE(pointer);
    EXPECT_EQ("destroyed at 1, unlocked", happened().back());

    const WitnessPtr other(make());
    pointer = other;
    EXPECT_EQ(1, pointer.acquire(nullptr));
    EXPECT_FALSE(pointer);
}

// ---- Assignment ----

TEST_F(SmartPtr, AssignmentToItselfDoesNothing) {
    WitnessPtr pointer(make());
    happened();
    const WitnessPtr& same = pointer;
    pointer = same;
    EXPECT_THAT(happened(), IsEmpty());
    EXPECT_EQ(1u, pointer->getCount());
}

TEST_F(SmartPtr, AssignmentOfAnotherWithTheSameObjectKeepsTheCount) {
    WitnessPtr pointer(make());
    const WitnessPtr other(pointer);
    happened();
    pointer = other;
    EXPECT_THAT(happened(), ElementsAre("decrement, locked", "increment, locked"));
    EXPECT_EQ(2u, pointer->getCount());
    EXPECT_EQ(other.get(), pointer.get());
}

TEST_F(SmartPtr, AssignmentReleasesThenTakes) {
    Events all;
    WitnessPtr pointer(new Witness(all));
    const WitnessPtr source(new Witness(all));
    all.clear();
    pointer = source;
    EXPECT_THAT(all, ElementsAre("decrement, locked", "increment, locked",
                                 "destroyed at 1, unlocked", "increment, locked"));
    EXPECT_EQ(source.get(), pointer.get());
    EXPECT_EQ(2u, source->getCount());
}

TEST_F(SmartPtr, AssignmentOfAnEmptyOneEmpties) {
    WitnessPtr pointer(make());
    const WitnessPtr empty;
    pointer = empty;
    EXPECT_FALSE(pointer);
    EXPECT_EQ("destroyed at 1, unlocked", happened().back());
}

TEST_F(SmartPtr, AssignmentToAnEmptyOneTakes) {
    const WitnessPtr source(make());
    WitnessPtr pointer;
    pointer = source;
    EXPECT_EQ(source.get(), pointer.get());
    EXPECT_EQ(2u, source->getCount());
}

// ---- A mutex that cannot be locked ----

TEST_F(SmartPtr, ReleaseKeepsThePointerWhenTheMutexFails) {
    Witness* const object = make();
    WitnessPtr pointer(object);
    happened();
    {
        const MutexFailure failure(*object);
        EXPECT_EQ(-1, pointer.release());
        EXPECT_EQ(object, pointer.get());
    }
    EXPECT_THAT(happened(), IsEmpty());
    EXPECT_EQ(0, pointer.release());
}

TEST_F(SmartPtr, AcquireStaysEmptyWhenTheMutexFails) {
    const WitnessPtr owner(make());
    happened();
    WitnessPtr pointer;
    {
        const MutexFailure failure(*owner);
        EXPECT_EQ(-1, pointer.acquire(owner.get()));
    }
    EXPECT_FALSE(pointer);
    EXPECT_EQ(1u, owner->getCount());
    EXPECT_THAT(happened(), IsEmpty());
}

TEST_F(SmartPtr, AcquireHasReleasedWhenTheNewMutexFails) {
    Events oldEvents;
    WitnessPtr pointer(new Witness(oldEvents));
    const WitnessPtr owner(make());
    {
        const MutexFailure failure(*owner);
        EXPECT_EQ(-1, pointer.acquire(owner.get()));
    }
    EXPECT_FALSE(pointer);
    EXPECT_EQ("destroyed at 1, unlocked", oldEvents.back());
}

TEST_F(SmartPtr, AcquireGoesOnWhenTheOldMutexFails) {
    Witness* const stuck = make();
    const WitnessPtr next(make());
    WitnessPtr pointer(stuck);
    {
        const MutexFailure failure(*stuck);
        EXPECT_EQ(2, pointer.acquire(next.get()));
        EXPECT_EQ(next.get(), pointer.get());
    }
    EXPECT_EQ(1u, stuck->getCount());
    delete stuck;
}

TEST_F(SmartPtr, AcquireOfNullEmptiesWhenTheOldMutexFails) {
    Witness* const stuck = make();
    WitnessPtr pointer(stuck);
    {
        const MutexFailure failure(*stuck);
        EXPECT_EQ(-1, pointer.acquire(nullptr));
    }
    EXPECT_FALSE(pointer);
    EXPECT_EQ(1u, stuck->getCount());
    delete stuck;
}

TEST_F(SmartPtr, CopyHoldsThePointerWithoutACountWhenTheMutexFails) {
    Witness* const object = make();
    WitnessPtr pointer(object);
    happened();
    {
        const MutexFailure failure(*object);
        const WitnessPtr copy(pointer);
        EXPECT_EQ(object, copy.get());
        EXPECT_EQ(1u, object->getCount());
        EXPECT_THAT(happened(), IsEmpty());
    }
    // The copy's own release failed as well: the one count is still there.
    EXPECT_EQ(0, pointer.release());
}

TEST_F(SmartPtr, AssignmentStaysEmptyWhenTheMutexFails) {
    const WitnessPtr source(make());
    WitnessPtr pointer;
    {
        const MutexFailure failure(*source);
        pointer = source;
    }
    EXPECT_FALSE(pointer);
    EXPECT_EQ(1u, source->getCount());
}

// ---- Count operations that throw ----

TEST_F(SmartPtr, UnlocksAndKeepsThePointerWhenTheIncrementThrows) {
    Witness* const object = make();
    WitnessPtr pointer;
    object->refuses = true;
    EXPECT_THROW(pointer.acquire(object), std::runtime_error);
    EXPECT_FALSE(object->isLocked());
    EXPECT_EQ(object, pointer.get());
    object->refuses = false;
    object->CFiRefCount::increment();
}

TEST_F(SmartPtr, UnlocksWhenTheCopysIncrementThrows) {
    const WitnessPtr pointer(make());
    pointer->refuses = true;
    EXPECT_THROW(WitnessPtr copy(pointer), std::runtime_error);
    EXPECT_FALSE(pointer->isLocked());
    EXPECT_EQ(1u, pointer->getCount());
    pointer->refuses = false;
}

TEST_F(SmartPtr, UnlocksAndKeepsThePointerWhenTheDecrementThrows) {
    WitnessPtr pointer(make());
    pointer->refuses = true;
    EXPECT_THROW(pointer.release(), std::runtime_error);
    EXPECT_FALSE(pointer->isLocked());
    EXPECT_TRUE(pointer);
    EXPECT_EQ(1u, pointer->getCount());
    pointer->refuses = false;
}

TEST_F(SmartPtr, HoldsTheObjectAtZeroWhenTheIncrementBeforeItsDestructionThrows) {
    Witness* const object = make();
    WitnessPtr pointer(object);
    object->refusesIncrement = true;
    happened();
    EXPECT_THROW(pointer.release(), std::runtime_error);
    EXPECT_THAT(happened(), ElementsAre("decrement, locked", "increment, locked"));
    EXPECT_FALSE(object->isLocked());
    EXPECT_EQ(object, pointer.get());
    EXPECT_EQ(0u, object->getCount());
    object->refusesIncrement = false;
    object->CFiRefCount::increment();
    EXPECT_EQ(0, pointer.release());
}

TEST_F(SmartPtr, AssignmentKeepsTheOldObjectWhenItsDecrementThrows) {
    Witness* const old = make();
    WitnessPtr pointer(old);
    const WitnessPtr source(make());
    old->refuses = true;
    EXPECT_THROW(pointer = source, std::runtime_error);
    EXPECT_FALSE(old->isLocked());
    EXPECT_EQ(old, pointer.get());
    EXPECT_EQ(1u, old->getCount());
    EXPECT_EQ(1u, source->getCount());
    old->refuses = false;
}

TEST_F(SmartPtr, AssignmentHoldsTheNewObjectWithoutACountWhenItsIncrementThrows) {
    Events oldEvents;
    WitnessPtr pointer(new Witness(oldEvents));
    const WitnessPtr source(make());
    source->refusesIncrement = true;
    EXPECT_THROW(pointer = source, std::runtime_error);
    EXPECT_EQ("destroyed at 1, unlocked", oldEvents.back());
    EXPECT_FALSE(source->isLocked());
    EXPECT_EQ(source.get(), pointer.get());
    EXPECT_EQ(1u, source->getCount());
    source->refusesIncrement = false;
    source->CFiRefCount::increment();
}

TEST_F(SmartPtr, ConstructionLeavesTheObjectToItsMakerWhenItCannotBeCounted) {
    Witness* const object = make();
    {
        const MutexFailure failure(*object);
        const WitnessPtr pointer(object);
        EXPECT_FALSE(pointer);
    }
    object->refuses = true;
    EXPECT_THROW(WitnessPtr pointer(object), std::runtime_error);
    EXPECT_FALSE(object->isLocked());
    EXPECT_EQ(0u, object->getCount());
    delete object;
}

// ---- Ways to derive from the counted base ----

struct First : virtual CFiRefCount {};
struct Second : virtual CFiRefCount {};
struct Both : First, Second {
    explicit Both(bool& flag) : destroyed(flag) {}
    ~Both() override { destroyed = true; }
    bool& destroyed;
};

TEST_F(SmartPtr, CountsAnObjectOfSeveralCountedBasesOnce) {
    bool destroyed = false;
    Both* const object = new Both(destroyed);
    CFiSmartPtr<First, CFiNullAllocator<First>> first(object);
    CFiSmartPtr<Second, CFiContextSingletonAllocator<Second>> second(object);
    EXPECT_EQ(2u, object->getCount());
    EXPECT_EQ(1, first.release());
    EXPECT_FALSE(destroyed);
    EXPECT_EQ(0, second.release());
    EXPECT_TRUE(destroyed);
}

// Shows its count to smart pointers only.
class Reserved : public CFiRefCount {
  private:
    std::uint32_t increment() override { return CFiRefCount::increment(); }
    std::uint32_t decrement() override { return CFiRefCount::decrement(); }
};

TEST_F(SmartPtr, HoldsADirectlyDerivedObject) {
    CFiSmartPtr<Reserved, CFiNullAllocator<Reserved>> pointer(new Reserved);
    EXPECT_EQ(1u, pointer->getCount());
    EXPECT_EQ(0, pointer.release());
}

// ---- Threads ----

TEST_F(SmartPtr, OwnersOnSeveralThreadsCountTogether) {
    bool destroyed = false;
    using BothPtr = CFiSmartPtr<Both, CFiNullAllocator<Both>>;
    BothPtr shared(new Both(destroyed));
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&shared] {
            BothPtr mine;
            for (int round = 0; round < 2000; ++round) {
                const BothPtr copy(shared);
                mine = copy;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(1u, shared->getCount());
    EXPECT_FALSE(destroyed);
    EXPECT_EQ(0, shared.release());
    EXPECT_TRUE(destroyed);
}

TEST_F(SmartPtr, TheLastOfManyThreadsDestroys) {
    for (int round = 0; round < 50; ++round) {
        bool destroyed = false;
        using BothPtr = CFiSmartPtr<Both, CFiNullAllocator<Both>>;
        BothPtr shared(new Both(destroyed));
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i) {
            threads.emplace_back([mine = BothPtr(shared)]() mutable { mine.release(); });
        }
        shared.release();
        for (std::thread& thread : threads) {
            thread.join();
        }
        ASSERT_TRUE(destroyed);
    }
}

} // namespace
