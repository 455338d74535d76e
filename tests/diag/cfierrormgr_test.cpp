#include "cfierrormgr.h"

#include <gmock/gmock.h>

#include <atomic>
#include <climits>
#include <functional>
#include <memory>
#include <stdexcept>
#include <thread>
#include <type_traits>

using namespace kzfi_pdk_4_4;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// ---- CFiError ----

TEST(Error, StartsWithoutAnError) {
    const CFiError error;
    EXPECT_EQ(error.errorCode, 0);
    EXPECT_STREQ(error.message.c_str(), "");
    EXPECT_STREQ(error.sourceFile.c_str(), "");
    EXPECT_EQ(error.lineNumber, 0);
    EXPECT_STREQ(error.functionName.c_str(), "");
    EXPECT_STREQ(error.what(), "");
}

TEST(Error, CopiesWhatTheThrowerKnew) {
    const CFiError error(-3, "Import of configuration file failed.", "cficonfiguration", 120,
                         "importConfig");
    EXPECT_EQ(error.errorCode, -3);
    EXPECT_STREQ(error.message.c_str(), "Import of configuration file failed.");
    EXPECT_STREQ(error.sourceFile.c_str(), "cficonfiguration");
    EXPECT_EQ(error.lineNumber, 120);
    EXPECT_STREQ(error.functionName.c_str(), "importConfig");
    EXPECT_STREQ(error.what(), "Import of configuration file failed.");
}

TEST(Error, IsThrownByValueAndCaughtByReference) {
    try {
        throw CFiError(9, "no room", "store", 1, "put");
    } catch (const CFiError& error) {
        EXPECT_EQ(error.errorCode, 9);
        EXPECT_STREQ(error.what(), "no room");
        return;
    }
    FAIL() << "not caught";
}

TEST(Error, IsNoStandardException) {
    EXPECT_FALSE((std::is_base_of<std::exception, CFiError>::value));
}

TEST(Error, CopiesAreIndependent) {
    CFiError first(1, "one", "a", 2, "f");
    const CFiError copy(first);
    CFiError assigned;
    assigned = first;
    first.message = "two";
    EXPECT_STREQ(copy.what(), "one");
    EXPECT_STREQ(assigned.what(), "one");
    EXPECT_EQ(assigned.lineNumber, 2);
}

std::string idOf(int code, const std::string& prefix, int offset) {
    return CFiError(code, "", "", 0, "").getMessageId(prefix, offset);
}

TEST(Error, MessageIdIsShiftedOnlyAboveTheOffset) {
    EXPECT_EQ(idOf(1003, "abc", 1000), "MSG_ERROR_ABC_0003");
    EXPECT_EQ(idOf(7, "abc", 1000), "MSG_ERROR_ABC_0007");
    EXPECT_EQ(idOf(5, "x", 5), "MSG_ERROR_X_0005");
    EXPECT_EQ(idOf(6, "x", 5), "MSG_ERROR_X_0001");
    EXPECT_EQ(idOf(0, "x", 0), "MSG_ERROR_X_0000");
}

TEST(Error, MessageIdUpperCasesThePrefix) {
    EXPECT_EQ(idOf(1, "kZfi-9_b", 0), "MSG_ERROR_KZFI-9_B_0001");
    EXPECT_EQ(idOf(1, "", 0), "MSG_ERROR__0001");
}

TEST(Error, MessageIdNumberMayBeWiderOrNegative) {
    EXPECT_EQ(idOf(12345, "x", 0), "MSG_ERROR_X_12345");
    EXPECT_EQ(idOf(-5, "x", 0), "MSG_ERROR_X_-005");
    EXPECT_EQ(idOf(-5, "x", -10), "MSG_ERROR_X_0005");
    EXPECT_EQ(idOf(INT_MAX, "x", INT_MIN), "MSG_ERROR_X_-001");
    EXPECT_EQ(idOf(INT_MIN, "x", INT_MAX), "MSG_ERROR_X_-2147483648");
}

// ---- CFiMessage ----

class FakeMessage : public CFiMessage {
  public:
    explicit FakeMessage(const std::string& id, int* deathCount = nullptr)
        : CFiMessage(id, 3, "store.cpp", 42),
          record{},
          text("<" + id + ">"),
          deaths(deathCount) {}
    FakeMessage(const FakeMessage&) = delete;
    FakeMessage& operator=(const FakeMessage&) = delete;
    ~FakeMessage() override {
        if (deaths != nullptr) {
            ++*deaths;
        }
    }

    kfi_msg_info* serialize() override {
        record.text = text.c_str();
        record.length = static_cast<std::uint32_t>(text.size());
        return &record;
    }
    void deserialize(const kfi_msg_info*) override {}
    tstring formatMessage(tstring pattern) override { return pattern; }

    kfi_msg_info record;

  private:
    std::string text;
    int* deaths;
};

TEST(Message, TellsItsFields) {
    const CFiMessagePtr message(new FakeMessage("MSG_ERROR_ABC_0003"));
    EXPECT_EQ(message->getMessageId(), "MSG_ERROR_ABC_0003");
    EXPECT_EQ(message->getSeverity(), 3);
    EXPECT_EQ(message->getFileName(), "store.cpp");
    EXPECT_EQ(message->getLineNumber(), 42);
}

// ---- CFiErrorManager ----

// Writes down what it receives.
class Recorder : public CFiErrorHandlerBase {
  public:
    explicit Recorder(std::vector<std::string>& target, const std::string& ownName = "")
        : log(target),
          name(ownName) {}

    void handleMessage(CFiMessagePtr message) override {
        log.push_back(name + (message ? message->getMessageId() : "nothing"));
        if (message) {
            counts.push_back(message->getCount());
        }
    }
    void handleText(const char* text, kfi_eseverity severity) override {
        log.push_back(name + text + "/" + std::to_string(severity));
    }

    std::vector<std::uint32_t> counts;

  private:
    std::vector<std::string>& log;
    const std::string name;
};

class ErrorManager : public testing::Test {
  protected:
    CFiMessagePtr message(const std::string& id) { return new FakeMessage(id, &deaths); }
    void push(const std::string& id) { manager->pushError(message(id)); }
    std::string last() {
        const kfi_msg_info* const info = manager->getLastError();
        return info == nullptr ? "null" : info->text;
    }
    template <class Work>
    static void onOtherThread(Work work) {
        std::thread(work).join();
    }

    int deaths = 0;
    std::vector<std::string> log;
    CFiErrorManagerPtr manager{new CFiErrorManager};
};

TEST_F(ErrorManager, StartsEmpty) {
    EXPECT_EQ(manager->getLastError(), nullptr);
    EXPECT_FALSE(manager->hasHandlers());
}

TEST_F(ErrorManager, KeepsTheNewestMessageOnly) {
    push("first");
    EXPECT_EQ(deaths, 0);
    push("second");
    EXPECT_EQ(deaths, 1);
    EXPECT_EQ(last(), "<second>");
}

TEST_F(ErrorManager, ReplacedMessageLivesOnWithItsHolder) {
    const CFiMessagePtr held = message("first");
    manager->pushError(held);
    push("second");
    EXPECT_EQ(deaths, 0);
    EXPECT_EQ(held->getMessageId(), "first");
}

TEST_F(ErrorManager, SameMessageMayBePushedAgain) {
    const CFiMessagePtr held = message("first");
    manager->pushError(held);
    manager->pushError(held);
    EXPECT_EQ(held->getCount(), 2u);
    EXPECT_EQ(last(), "<first>");
}

TEST_F(ErrorManager, LastErrorIsTheRecordInsideTheMessage) {
    FakeMessage* const raw = new FakeMessage("first", &deaths);
    const CFiMessagePtr held(raw);
    manager->pushError(held);
    EXPECT_EQ(manager->getLastError(), &raw->record);
    EXPECT_EQ(manager->getLastError(), &raw->record);
    EXPECT_EQ(held->getCount(), 2u);
}

TEST_F(ErrorManager, EveryThreadSeesItsOwnLastError) {
    push("main");
    onOtherThread([this] {
        EXPECT_EQ(last(), "null");
        push("other");
        EXPECT_EQ(last(), "<other>");
    });
    EXPECT_EQ(last(), "<main>");
}

TEST_F(ErrorManager, KeepsTheMessageOfAThreadThatEnded) {
    onOtherThread([this] { push("other"); });
    EXPECT_EQ(deaths, 0);
    manager.release();
    EXPECT_EQ(deaths, 1);
}

TEST_F(ErrorManager, DeleteDropsTheCallingThreadsMessageOnly) {
    push("main");
    onOtherThread([this] {
        push("other");
        manager->deleteLastError(nullptr);
        EXPECT_EQ(deaths, 1);
    });
    EXPECT_EQ(last(), "<main>");
}

TEST_F(ErrorManager, DeleteDoesNotUseItsArgument) {
    push("first");
    kfi_msg_info foreign = {"foreign", 7};
    kfi_msg_info* info = &foreign;
    manager->deleteLastError(&info);
    EXPECT_EQ(info, &foreign);
    EXPECT_STREQ(foreign.text, "foreign");
    EXPECT_EQ(foreign.length, 7u);
    EXPECT_EQ(deaths, 1);
}

TEST_F(ErrorManager, DeleteWithoutAMessageDoesNothing) {
    manager->deleteLastError(nullptr);
    EXPECT_EQ(last(), "null");
}

TEST_F(ErrorManager, AThreadGoesOnAfterDelete) {
    push("first");
    manager->deleteLastError(nullptr);
    EXPECT_EQ(last(), "null");
    push("second");
    EXPECT_EQ(last(), "<second>");
}

TEST_F(ErrorManager, EmptyPointerIsKeptAndHandedOn) {
    Recorder handler(log);
    manager->registerHandler(&handler);
    push("first");
    manager->pushError(CFiMessagePtr());
    EXPECT_EQ(deaths, 1);
    EXPECT_EQ(last(), "null");
    EXPECT_THAT(log, ElementsAre("first", "nothing"));
}

TEST_F(ErrorManager, HandlersAreCalledInTheOrderOfRegistration) {
    Recorder a(log, "a:");
    Recorder b(log, "b:");
    manager->registerHandler(&b);
    manager->registerHandler(&a);
    EXPECT_TRUE(manager->hasHandlers());
    push("m");
    manager->pushError("text", 5);
    EXPECT_THAT(log, ElementsAre("b:m", "a:m", "b:text/5", "a:text/5"));
}

TEST_F(ErrorManager, HandlerRegisteredTwiceIsCalledTwice) {
    Recorder handler(log);
    manager->registerHandler(&handler);
    manager->registerHandler(&handler);
    push("m");
    manager->pushError("text", 1);
    EXPECT_THAT(log, ElementsAre("m", "m", "text/1", "text/1"));
}

TEST_F(ErrorManager, NullHandlerIsPassedOver) {
    Recorder handler(log);
    manager->registerHandler(nullptr);
    manager->registerHandler(&handler);
    push("m");
    manager->pushError("text", 1);
    EXPECT_THAT(log, ElementsAre("m", "text/1"));
}

TEST_F(ErrorManager, TextReachesTheHandlersAndIsNotKept) {
    Recorder handler(log);
    manager->registerHandler(&handler);
    manager->pushError("before any message", 2);
    EXPECT_EQ(last(), "null");
    push("m");
    manager->pushError("text", 7);
    EXPECT_EQ(last(), "<m>");
    EXPECT_THAT(log, ElementsAre("before any message/2", "m", "text/7"));
}

TEST_F(ErrorManager, EachHandlerHoldsACountForItsCall) {
    Recorder handler(log);
    manager->registerHandler(&handler);
    manager->registerHandler(&handler);
    const CFiMessagePtr held = message("m");
    manager->pushError(held);
    // This test's, the argument's, the manager's and the handler's.
    EXPECT_THAT(handler.counts, ElementsAre(4u, 4u));
    EXPECT_EQ(held->getCount(), 2u);
}

TEST_F(ErrorManager, EndReleasesTheMessagesAndLeavesTheHandlers) {
    class Mortal : public Recorder {
      public:
        Mortal(std::vector<std::string>& target, bool& isAlive) : Recorder(target), alive(isAlive) {
            alive = true;
        }
        ~Mortal() override { alive = false; }

      private:
        bool& alive;
    };
    bool alive = false;
    const auto handler = std::make_unique<Mortal>(log, alive);
    manager->registerHandler(handler.get());
    push("m");
    manager.release();
    EXPECT_EQ(deaths, 1);
    EXPECT_TRUE(alive);
}

// What a handler may do to the manager that calls it.
class Meddler : public CFiErrorHandlerBase {
  public:
    using Deed = std::function<void()>;
    explicit Meddler(Deed whatToDo) : deed(std::move(whatToDo)) {}

    void handleMessage(CFiMessagePtr) override { once(); }
    void handleText(const char*, kfi_eseverity) override { once(); }

  private:
    void once() {
        if (!done) {
            done = true;
            deed();
        }
    }

    Deed deed;
    bool done = false;
};

TEST_F(ErrorManager, MessageIsKeptBeforeTheHandlersAreCalled) {
    std::string seen;
    Meddler handler([this, &seen] { seen = last(); });
    manager->registerHandler(&handler);
    push("m");
    EXPECT_EQ(seen, "<m>");
}

TEST_F(ErrorManager, HandlerMayRegisterAnotherThatIsCalledAtOnce) {
    Recorder recorder(log);
    Meddler handler([this, &recorder] { manager->registerHandler(&recorder); });
    manager->registerHandler(&handler);
    push("m");
    EXPECT_THAT(log, ElementsAre("m"));
}

TEST_F(ErrorManager, HandlerMayRegisterAnotherForATextToo) {
    Recorder recorder(log);
    Meddler handler([this, &recorder] { manager->registerHandler(&recorder); });
    manager->registerHandler(&handler);
    manager->pushError("text", 2);
    EXPECT_THAT(log, ElementsAre("text/2"));
}

TEST_F(ErrorManager, HandlerThatAnotherThreadRegistersMeanwhileIsCalledToo) {
    Recorder recorder(log);
    Meddler handler(
        [this, &recorder] { onOtherThread([&] { manager->registerHandler(&recorder); }); });
    manager->registerHandler(&handler);
    push("m");
    EXPECT_THAT(log, ElementsAre("m"));
}

TEST_F(ErrorManager, NullTextIsPassedOn) {
    class Reader : public CFiErrorHandlerBase {
      public:
        void handleMessage(CFiMessagePtr) override {}
        void handleText(const char* text, kfi_eseverity) override { texts.push_back(text); }
        std::vector<const char*> texts;
    };
    Reader reader;
    manager->registerHandler(&reader);
    manager->pushError(nullptr, 1);
    EXPECT_THAT(reader.texts, ElementsAre(nullptr));
}

TEST_F(ErrorManager, HandlerMayPushAndDelete) {
    Recorder recorder(log);
    Meddler handler([this] {
        manager->pushError("text", 1);
        push("inner");
        manager->deleteLastError(nullptr);
    });
    manager->registerHandler(&handler);
    manager->registerHandler(&recorder);
    push("outer");
    EXPECT_THAT(log, ElementsAre("text/1", "inner", "outer"));
    EXPECT_EQ(last(), "null");
    EXPECT_EQ(deaths, 2);
}

TEST_F(ErrorManager, HandlersExceptionPassesAndTheMessageIsKept) {
    Recorder ahead(log, "ahead:");
    Meddler handler([] { throw std::runtime_error("handler"); });
    Recorder behind(log, "behind:");
    manager->registerHandler(&ahead);
    manager->registerHandler(&handler);
    manager->registerHandler(&behind);
    EXPECT_THROW(push("m"), std::runtime_error);
    EXPECT_EQ(last(), "<m>");
    EXPECT_THAT(log, ElementsAre("ahead:m"));
    push("next");
    EXPECT_EQ(last(), "<next>");
    EXPECT_THAT(log, ElementsAre("ahead:m", "ahead:next", "behind:next"));
}

TEST_F(ErrorManager, HandlersExceptionOverATextPassesToo) {
    Meddler handler([] { throw std::runtime_error("handler"); });
    Recorder behind(log, "behind:");
    manager->registerHandler(&handler);
    manager->registerHandler(&behind);
    EXPECT_THROW(manager->pushError("text", 1), std::runtime_error);
    EXPECT_THAT(log, IsEmpty());
}

// Pushes from its destructor.
class Farewell : public FakeMessage {
  public:
    explicit Farewell(CFiErrorManager& target) : FakeMessage("farewell"), manager(target) {}
    ~Farewell() override { manager.pushError("gone", 4); }

  protected:
    CFiErrorManager& manager;
};

TEST_F(ErrorManager, DyingMessageMayCallTheManager) {
    Recorder handler(log);
    manager->registerHandler(&handler);
    manager->pushError(CFiMessagePtr(new Farewell(*manager)));
    push("next");
    manager->pushError(CFiMessagePtr(new Farewell(*manager)));
    manager->deleteLastError(nullptr);
    EXPECT_THAT(log, ElementsAre("farewell", "gone/4", "next", "farewell", "gone/4"));
}

TEST_F(ErrorManager, MessageThatDiesWithTheManagerMayCallIt) {
    class Heir : public Farewell {
      public:
        explicit Heir(CFiErrorManager& target) : Farewell(target) {}
        ~Heir() override {
            EXPECT_EQ(manager.getLastError(), nullptr);
            manager.registerHandler(nullptr);
            manager.pushError(CFiMessagePtr(new Farewell(manager)));
            manager.deleteLastError(nullptr);
            manager.pushError(CFiMessagePtr(new Farewell(manager)));
        }
    };
    Recorder handler(log);
    manager->registerHandler(&handler);
    manager->pushError(CFiMessagePtr(new Heir(*manager)));
    onOtherThread([this] { push("other"); });
    log.clear();
    manager.release();
    EXPECT_THAT(log, ElementsAre("farewell", "gone/4", "farewell", "gone/4", "gone/4"));
    EXPECT_EQ(deaths, 1);
}

TEST_F(ErrorManager, ManyThreadsPushAskAndRegisterAtOnce) {
    class Counter : public CFiErrorHandlerBase {
      public:
        void handleMessage(CFiMessagePtr) override { ++messages; }
        void handleText(const char*, kfi_eseverity) override { ++texts; }
        std::atomic<int> messages{0};
        std::atomic<int> texts{0};
    };
    Counter first;
    Counter later;
    manager->registerHandler(&first);
    const int threadCount = 4;
    const int rounds = 200;
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t) {
        threads.emplace_back([this, t] {
            for (int i = 0; i < rounds; ++i) {
                const std::string id = std::to_string(t) + "." + std::to_string(i);
                manager->pushError(new FakeMessage(id));
                EXPECT_EQ(last(), "<" + id + ">");
                manager->pushError("text", 1);
                manager->deleteLastError(nullptr);
            }
        });
    }
    manager->registerHandler(&later);
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(first.messages, threadCount * rounds);
    EXPECT_EQ(first.texts, threadCount * rounds);
    EXPECT_LE(later.messages, threadCount * rounds);
}

} // namespace
