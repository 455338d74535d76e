#include "cfiicucatalog.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "kzfi_platform_control.h"
#include "support/failing_memory.h"
#include "support/temp_dir.h"

using namespace kzfi_pdk_4_4;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// ---- CFiIcuMessageCatalog, on bundles that the build compiled ----

class InstalledCatalogs : public testing::Test {
  protected:
    void SetUp() override { kzfi_platform_set_install_root(KZFI_TEST_CATALOG_ROOT); }
    void TearDown() override { kzfi_platform_reset(); }
};

class IcuCatalog : public InstalledCatalogs {
  protected:
    // Result of init() for the catalogue that the test goes on with.
    int open(const char* language, const char* name = "parcel") {
        catalog = new CFiIcuMessageCatalog(language, name);
        return catalog->init();
    }
    std::string text(const std::string& id, const char* defaultText = nullptr) const {
        return catalog->getMessage(id, defaultText).c_str();
    }

    CFiMessageCatalogPtr catalog;
};

TEST_F(IcuCatalog, OpensTheLanguage) {
    EXPECT_EQ(open("de"), 0);
    EXPECT_EQ(text("MSG_ERROR_PARCEL_0001"), "parcel: Kein Platz mehr für {0}.");
}

TEST_F(IcuCatalog, OpensTheRoot) {
    for (const char* const language : {"root", "", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(open(language), 0);
        EXPECT_EQ(text("MSG_ERROR_PARCEL_0001"), "parcel: No room left on {0}.");
    }
}

TEST_F(IcuCatalog, RootStandsInForAMissingLanguage) {
    EXPECT_EQ(open("fr"), 0);
    EXPECT_EQ(text("MSG_ERROR_PARCEL_0001"), "parcel: No room left on {0}.");
}

TEST_F(IcuCatalog, DefaultLocaleStandsInToo) {
    EXPECT_EQ(open("fr", "rootless"), 0);
    EXPECT_EQ(text("MSG_ERROR_ROOTLESS_0001"), "rootless: In English too.");
}

TEST_F(IcuCatalog, ParentLocaleIsAFailure) {
    EXPECT_EQ(open("de_AT"), 3);
    EXPECT_EQ(open("de_CH", "rootless"), 3);
}

TEST_F(IcuCatalog, BundleOfAFailedOpenIsStillUsed) {
    EXPECT_EQ(open("de_AT"), 3);
    EXPECT_EQ(text("MSG_ERROR_PARCEL_0001"), "parcel: Kein Platz mehr für {0}.");
}

TEST_F(IcuCatalog, MissingCatalogueIsAFailure) {
    EXPECT_EQ(open("de", "nowhere"), 3);
    EXPECT_EQ(text("KEY"), "nowhere: <KEY>");
    EXPECT_EQ(text("KEY", "the default"), "the default");
}

TEST_F(IcuCatalog, LivesUnderTheInstallRoot) {
    const kzfi_tests::TempDir empty;
    kzfi_platform_set_install_root(empty.path().c_str());
    EXPECT_EQ(open("de"), 3);
    const std::string installed = empty.path("other/resources/libparcel");
    std::filesystem::create_directories(installed);
    std::filesystem::copy(KZFI_TEST_CATALOG_ROOT "/resources/libparcel/de.res", installed);
    kzfi_platform_set_install_root(empty.path("other").c_str());
    EXPECT_EQ(open("de"), 0);
    EXPECT_EQ(text("MSG_ERROR_PARCEL_0001"), "parcel: Kein Platz mehr für {0}.");
}

TEST_F(IcuCatalog, WithoutInitThereIsOnlyThePlaceholder) {
    catalog = new CFiIcuMessageCatalog("de", "parcel");
    EXPECT_EQ(text("MSG_ERROR_PARCEL_0001"), "parcel: <MSG_ERROR_PARCEL_0001>");
    EXPECT_EQ(text("MSG_ERROR_PARCEL_0001", "the default"), "the default");
}

TEST_F(IcuCatalog, IsOpenedAnewEachTime) {
    const kzfi_tests::TempDir empty;
    EXPECT_EQ(open("de"), 0);
    kzfi_platform_set_install_root(empty.path().c_str());
    EXPECT_EQ(catalog->init(), 3);
    EXPECT_EQ(text("MSG_ERROR_PARCEL_0001"), "parcel: <MSG_ERROR_PARCEL_0001>");
    kzfi_platform_set_install_root(KZFI_TEST_CATALOG_ROOT);
    EXPECT_EQ(catalog->init(), 0);
    EXPECT_EQ(text("MSG_ERROR_PARCEL_0001"), "parcel: Kein Platz mehr für {0}.");
}

TEST_F(IcuCatalog, KeepsItsOwnCopyOfTheLanguage) {
    auto language = std::make_unique<std::string>("de");
    catalog = new CFiIcuMessageCatalog(language->c_str(), "parcel");
    language->assign("fr");
    language.reset();
    EXPECT_EQ(catalog->init(), 0);
    EXPECT_EQ(text("MSG_ERROR_PARCEL_0001"), "parcel: Kein Platz mehr für {0}.");
}

TEST_F(IcuCatalog, RefusesALanguageThatLeadsElsewhere) {
    for (const char* const language :
         {"../libparcel/de", "../libparcel/root", "/tmp/de", "de/", "..", "de..de"}) {
        EXPECT_EQ(open(language, "rootless"), 3) << language;
        EXPECT_EQ(text("MSG_ERROR_PARCEL_0001"), "rootless: <MSG_ERROR_PARCEL_0001>") << language;
    }
}

TEST_F(IcuCatalog, RefusesALanguageLongerThanAnyLocaleName) {
    const std::string longest = "de@x=" + std::string(152, 'a');
    ASSERT_EQ(longest.size(), 157u);
    EXPECT_EQ(open(longest.c_str()), 0);
    EXPECT_EQ(text("MSG_ERROR_PARCEL_0001"), "parcel: Kein Platz mehr für {0}.");
    EXPECT_EQ(open((longest + "a").c_str()), 3);
    EXPECT_EQ(text("MSG_ERROR_PARCEL_0001"), "parcel: <MSG_ERROR_PARCEL_0001>");
}

TEST_F(IcuCatalog, FindsWhatOnlyTheRootHas) {
    EXPECT_EQ(open("de"), 0);
    EXPECT_EQ(text("ONLY_IN_ROOT"), "parcel: Ask the depot.");
    EXPECT_EQ(text("WITH/SLASH"), "parcel: A key may hold a slash.");
}

TEST_F(IcuCatalog, FoundTextWinsOverTheDefaultText) {
    EXPECT_EQ(open("de"), 0);
    EXPECT_EQ(text("ONLY_IN_ROOT", "the default"), "parcel: Ask the depot.");
}

TEST_F(IcuCatalog, MissingKeyGivesThePlaceholderOrTheDefaultText) {
    EXPECT_EQ(open("de"), 0);
    for (const char* const key :
         {"NO_SUCH_KEY", "A_NUMBER", "A_TABLE", "AN_ARRAY", "A_TABLE/INNER", "only_in_root", ""}) {
        EXPECT_EQ(text(key), "parcel: <" + std::string(key) + ">");
        EXPECT_EQ(text(key, "the default"), "the default");
        EXPECT_EQ(text(key, ""), "");
    }
}

TEST(MessageCatalog, InitOfTheBaseIsGood) {
    class Plain : public CFiMessageCatalog {
        tstring getMessage(const std::string&, const char*) const override { return ""; }
    };
    const CFiMessageCatalogPtr catalog(new Plain);
    EXPECT_EQ(catalog->init(), 0);
}

// ---- CFiMessageCatalogManager, on catalogues of the test's own ----

using Log = std::vector<std::string>;

// Answers "LANGUAGE:KEY" to every key that does not begin with "NO".
class FakeCatalog : public CFiMessageCatalog {
  public:
    FakeCatalog(const std::string& itsLanguage, int itsStatus, int& itsLiveCount)
        : language(itsLanguage),
          status(itsStatus),
          live(itsLiveCount) {
        ++live;
    }
    int init() override { return status; }
    tstring getMessage(const std::string& id, const char* defaultText) const override {
        if (id.compare(0, 2, "NO") == 0) {
            return defaultText != nullptr ? defaultText : "no such key";
        }
        return (language + ":" + id).c_str();
    }
    ~FakeCatalog() override { --live; }

  private:
    const std::string language;
    const int status;
    int& live;
};

// Has the catalogues "en" and "de", and whatever the test adds; writes down what it is asked.
class FakeFactory : public CFiMessageCatalogFactory {
  public:
    CFiMessageCatalogPtr createCatalog(std::string language) override {
        log.push_back("create " + language);
        const auto entry = statuses.find(language);
        return entry == statuses.end() ? nullptr : new FakeCatalog(language, entry->second, live);
    }
    std::string getDefaultLanguage() override {
        log.push_back("default?");
        return defaultLanguage;
    }
    CFiMessagePtr createMessage(kfi_msg_info* info) override {
        if (info == nullptr) {
            return CFiMessagePtr();
        }
        const CFiMessagePtr message(new CFiIcuMessage);
        message->deserialize(info);
        return message;
    }

    // What was asked since the last call.
    Log calls() {
        Log seen;
        seen.swap(log);
        return seen;
    }

    std::string defaultLanguage = "en";
    std::map<std::string, int> statuses = {{"en", 0}, {"de", 0}};
    int live = 0;

  private:
    Log log;
};

class CatalogManager : public testing::Test {
  protected:
    std::string text(const std::string& id, const std::string& language,
                     const char* defaultText = nullptr) {
        return manager->getMessage(id, defaultText, language).c_str();
    }
    char* localized(const char* id, const char* language) {
        char* result = nullptr;
        manager->getLocalizedMessage(id, language, &result);
        return result;
    }
    char* localized(kfi_msg_info* info, const char* language) {
        char* result = nullptr;
        manager->getLocalizedMessage(info, language, &result);
        return result;
    }
    std::string localized(const CFiMessagePtr& message, const char* language) {
        CFiMessagePtr copy(message);
        return manager->getLocalizedMessage(copy, language).c_str();
    }
    static CFiMessagePtr message(const std::string& id, const std::string& argument = "x") {
        return new CFiIcuMessage(id, 3, "", 0,
                                 {icu::Formattable(icu::UnicodeString::fromUTF8(argument))});
    }
    void registerFactory() {
        manager->registerFactory(&factory);
        factory.calls();
    }

    FakeFactory factory;
    CFiMessageCatalogManagerPtr manager{new CFiMessageCatalogManager};
};

TEST_F(CatalogManager, WithoutAFactoryGivesTheDefaultTextOrThePlaceholder) {
    EXPECT_EQ(text("KEY", "de", "the default"), "the default");
    EXPECT_EQ(text("KEY", "de", ""), "");
    EXPECT_EQ(text("KEY", "de"), "<KEY>");
    EXPECT_EQ(text("KEY", ""), "<KEY>");
    manager->activateCatalog("de");
    EXPECT_EQ(text("KEY", "de"), "<KEY>");
}

TEST_F(CatalogManager, RegisteringActivatesTheDefaultLanguage) {
    manager->registerFactory(&factory);
    EXPECT_THAT(factory.calls(), ElementsAre("default?", "create en"));
    EXPECT_EQ(factory.live, 1);
}

TEST_F(CatalogManager, NullFactoryIsNoFactory) {
    registerFactory();
    manager->registerFactory(nullptr);
    EXPECT_EQ(text("KEY", "en"), "<KEY>");
    manager->activateCatalog("de");
    EXPECT_THAT(factory.calls(), IsEmpty());
}

TEST_F(CatalogManager, CatalogueIsMadeOnce) {
    registerFactory();
    manager->activateCatalog("de");
    manager->activateCatalog("de");
    EXPECT_THAT(factory.calls(), ElementsAre("create de"));
    EXPECT_EQ(text("KEY", "de"), "de:KEY");
    EXPECT_EQ(text("KEY", "en"), "en:KEY");
    EXPECT_THAT(factory.calls(), IsEmpty());
}

TEST_F(CatalogManager, CatalogueIsMadeOnDemand) {
    registerFactory();
    EXPECT_EQ(text("KEY", "de"), "de:KEY");
    EXPECT_THAT(factory.calls(), ElementsAre("create de"));
}

TEST_F(CatalogManager, NewFactoryReplacesNoCatalogue) {
    registerFactory();
    FakeFactory second;
    manager->registerFactory(&second);
    EXPECT_THAT(second.calls(), ElementsAre("default?"));
    EXPECT_EQ(text("KEY", "en"), "en:KEY");
    EXPECT_EQ(second.live, 0);
    EXPECT_EQ(factory.live, 1);
    manager.release();
}

TEST_F(CatalogManager, FailedCatalogueIsDroppedAndTriedAgain) {
    registerFactory();
    for (const int status : {3, 1, -1}) {
        factory.statuses["fr"] = status;
        manager->activateCatalog("fr");
        EXPECT_THAT(factory.calls(), ElementsAre("create fr")) << status;
        EXPECT_EQ(factory.live, 1) << status;
    }
    factory.statuses["fr"] = 0;
    manager->activateCatalog("fr");
    EXPECT_EQ(factory.live, 2);
    EXPECT_EQ(text("KEY", "fr"), "fr:KEY");
}

TEST_F(CatalogManager, EmptyCatalogueIsAFailure) {
    registerFactory();
    EXPECT_EQ(text("KEY", "xx"), "en:KEY");
    EXPECT_THAT(factory.calls(), ElementsAre("create xx", "default?"));
    EXPECT_EQ(text("KEY", "xx"), "en:KEY");
    EXPECT_THAT(factory.calls(), ElementsAre("create xx", "default?"));
}

TEST_F(CatalogManager, EmptyLanguageIsTheDefault) {
    registerFactory();
    EXPECT_EQ(text("KEY", ""), "en:KEY");
    EXPECT_THAT(factory.calls(), ElementsAre("default?"));
    factory.defaultLanguage = "de";
    EXPECT_EQ(text("KEY", ""), "de:KEY");
}

TEST_F(CatalogManager, UnusableDefaultIsTriedOnceACall) {
    factory.statuses.clear();
    registerFactory();
    EXPECT_EQ(text("KEY", "en"), "<KEY>");
    EXPECT_THAT(factory.calls(), ElementsAre("create en", "default?"));
    EXPECT_EQ(text("KEY", "", "the default"), "the default");
    EXPECT_THAT(factory.calls(), ElementsAre("default?", "create en", "default?"));
    EXPECT_EQ(text("KEY", "xx"), "<KEY>");
    EXPECT_THAT(factory.calls(), ElementsAre("create xx", "default?", "create en"));
}

TEST_F(CatalogManager, MissingKeyDoesNotFallBackToTheDefaultLanguage) {
    registerFactory();
    EXPECT_EQ(text("NO_KEY", "de"), "no such key");
    EXPECT_EQ(text("NO_KEY", "de", "the default"), "the default");
    EXPECT_THAT(factory.calls(), ElementsAre("create de"));
}

TEST_F(CatalogManager, EndReleasesTheCatalogues) {
    registerFactory();
    manager->activateCatalog("de");
    EXPECT_EQ(factory.live, 2);
    manager.release();
    EXPECT_EQ(factory.live, 0);
}

TEST_F(CatalogManager, NativeLanguageIsEmptyAtFirst) {
    EXPECT_EQ(manager->getNativeLanguage(), "");
    manager->setNativeLanguage("de");
    EXPECT_EQ(manager->getNativeLanguage(), "de");
    manager->setNativeLanguage(nullptr);
    EXPECT_EQ(manager->getNativeLanguage(), "");
}

TEST_F(CatalogManager, NativeStandsForTheNativeLanguageInEveryForm) {
    registerFactory();
    const CFiMessagePtr given = message("KEY");
    EXPECT_STREQ(localized("KEY", "native"), "en:KEY");
    manager->setNativeLanguage("de");
    EXPECT_STREQ(localized("KEY", "native"), "de:KEY");
    EXPECT_EQ(localized(given, "native"), "de:KEY");
    EXPECT_STREQ(localized(given->serialize(), "native"), "de:KEY");
}

TEST_F(CatalogManager, NullLanguageIsTheDefaultInEveryForm) {
    registerFactory();
    manager->setNativeLanguage("de");
    const CFiMessagePtr given = message("KEY");
    EXPECT_STREQ(localized("KEY", nullptr), "en:KEY");
    EXPECT_EQ(localized(given, nullptr), "en:KEY");
    EXPECT_STREQ(localized(given->serialize(), nullptr), "en:KEY");
}

TEST_F(CatalogManager, NativeIsAWordOfItsOwnOnlyThere) {
    registerFactory();
    manager->setNativeLanguage("de");
    EXPECT_EQ(text("KEY", "native"), "en:KEY");
    EXPECT_THAT(factory.calls(), ElementsAre("create native", "default?"));
    EXPECT_STREQ(localized("KEY", "Native"), "en:KEY");
}

TEST_F(CatalogManager, MessageIsFilledWithItsArguments) {
    registerFactory();
    const CFiMessagePtr given = message("KEY_{0}", "disk1");
    EXPECT_EQ(localized(given, "de"), "de:KEY_disk1");
    EXPECT_STREQ(localized(given->serialize(), "de"), "de:KEY_disk1");
}

TEST_F(CatalogManager, KeyAloneIsNotFilled) {
    registerFactory();
    EXPECT_STREQ(localized("KEY_{0}", "de"), "de:KEY_{0}");
}

TEST_F(CatalogManager, PlaceholderIsFilledToo) {
    EXPECT_EQ(localized(message("KEY_{0}", "disk1"), "de"), "<KEY_disk1>");
    EXPECT_STREQ(localized("KEY_{0}", "de"), "<KEY_{0}>");
}

TEST_F(CatalogManager, EmptyMessageGivesAnEmptyText) {
    registerFactory();
    EXPECT_EQ(localized(CFiMessagePtr(), "de"), "");
}

TEST_F(CatalogManager, NoMessageFromTheFactoryGivesNull) {
    registerFactory();
    char anything[] = "anything";
    char* result = anything;
    manager->getLocalizedMessage(static_cast<kfi_msg_info*>(nullptr), "de", &result);
    EXPECT_EQ(result, nullptr);
}

TEST_F(CatalogManager, WithoutAFactoryASerializedMessageGivesNull) {
    const CFiMessagePtr given = message("KEY");
    char anything[] = "anything";
    char* result = anything;
    manager->getLocalizedMessage(given->serialize(), "de", &result);
    EXPECT_EQ(result, nullptr);
}

TEST_F(CatalogManager, NullPlacesAreIgnored) {
    registerFactory();
    manager->getLocalizedMessage("KEY", "de", nullptr);
    manager->getLocalizedMessage(message("KEY")->serialize(), "de", nullptr);
    manager->getLocalizedMessage(static_cast<kfi_msg_info*>(nullptr), "de", nullptr);
    EXPECT_STREQ(localized(static_cast<const char*>(nullptr), "de"), "de:");
}

TEST_F(CatalogManager, FactorysExceptionPasses) {
    registerFactory();
    kfi_msg_info info = {"<SERIALIZED_MESSAGE MSGID=K SEVERITY=3>\n</SERIALIZED_MESSAGE>\n", 0};
    char anything[] = "anything";
    char* result = anything;
    EXPECT_THROW(manager->getLocalizedMessage(&info, "de", &result), std::out_of_range);
    EXPECT_EQ(result, anything);
    EXPECT_STREQ(localized("KEY", "de"), "de:KEY");
}

TEST_F(CatalogManager, TextsOfDifferentKeysStayValid) {
    registerFactory();
    char* const first = localized("FIRST", "de");
    char* const second = localized(message("SECOND")->serialize(), "de");
    EXPECT_STREQ(localized("THIRD", "en"), "en:THIRD");
    EXPECT_STREQ(first, "de:FIRST");
    EXPECT_STREQ(second, "de:SECOND");
}

TEST_F(CatalogManager, SameKeyReplacesItsText) {
    registerFactory();
    EXPECT_STREQ(localized("KEY", "de"), "de:KEY");
    char* text = localized("KEY", "en");
    EXPECT_STREQ(text, "en:KEY");
    // One text is kept: given back once, it is gone, and the other was never there.
    manager->deleteLocalizedMessage(&text);
    EXPECT_STREQ(localized(message("KEY")->serialize(), "de"), "de:KEY");
}

TEST_F(CatalogManager, TextIsGivenBackByItsContent) {
    registerFactory();
    localized("KEY", "de");
    char same[] = "de:KEY";
    char* text = same;
    manager->deleteLocalizedMessage(&text);
    EXPECT_EQ(text, same);
    EXPECT_STREQ(same, "de:KEY");
}

TEST_F(CatalogManager, OfEqualTextsTheFirstKeysGoes) {
    registerFactory();
    char* second = localized("NO_B", "de");
    char* const first = localized("NO_A", "de");
    ASSERT_STREQ(first, second);
    char* const given = second;
    manager->deleteLocalizedMessage(&second);
    EXPECT_EQ(second, given);
    // Still there: it was the text of NO_A that went.
    EXPECT_STREQ(second, "no such key");
    manager->deleteLocalizedMessage(&second);
}

// What is left in the manager shows in what a call allocates.
class CatalogManagersTexts : public CatalogManager {
  protected:
    void SetUp() override {
        if (!kzfi_tests::controlsAllocations()) {
            GTEST_SKIP() << "the sanitizer owns the allocator";
        }
        registerFactory();
        manager->activateCatalog("de");
        factory.calls();
    }
    // Whether the manager had no text of the key before this call.
    bool isNew(const char* id) {
        const std::ptrdiff_t before = kzfi_tests::liveAllocations();
        localized(id, "de");
        return kzfi_tests::liveAllocations() > before;
    }
    void giveBack(std::string text) {
        char* place = &text[0];
        manager->deleteLocalizedMessage(&place);
    }
};

TEST_F(CatalogManagersTexts, AreKeptUntilTheyAreGivenBack) {
    EXPECT_TRUE(isNew("KEY"));
    EXPECT_FALSE(isNew("KEY"));
    giveBack("de:KEY");
    EXPECT_TRUE(isNew("KEY"));
}

TEST_F(CatalogManagersTexts, LeaveNothingBehindWhenGivenBack) {
    const std::ptrdiff_t before = kzfi_tests::liveAllocations();
    localized("KEY", "de");
    EXPECT_GT(kzfi_tests::liveAllocations(), before);
    giveBack("de:KEY");
    EXPECT_EQ(kzfi_tests::liveAllocations(), before);
}

TEST_F(CatalogManagersTexts, OfEqualOnesOnlyTheFirstKeysGoes) {
    for (const char* const key : {"NO_C", "NO_A", "NO_B"}) {
        localized(key, "de");
    }
    giveBack("no such key");
    EXPECT_FALSE(isNew("NO_B"));
    EXPECT_FALSE(isNew("NO_C"));
    EXPECT_TRUE(isNew("NO_A"));
}

TEST_F(CatalogManagersTexts, StayWhenAnotherIsGivenBack) {
    localized("KEY", "de");
    for (const char* const other : {"", "de:KE", "de:KEYS", "DE:KEY", "KEY"}) {
        giveBack(other);
        EXPECT_FALSE(isNew("KEY")) << other;
    }
}

TEST_F(CatalogManager, UnknownOrNullTextIsIgnored) {
    registerFactory();
    char* const kept = localized("KEY", "de");
    char unknown[] = "de:KE";
    char* text = unknown;
    manager->deleteLocalizedMessage(&text);
    text = nullptr;
    manager->deleteLocalizedMessage(&text);
    manager->deleteLocalizedMessage(nullptr);
    EXPECT_STREQ(kept, "de:KEY");
}

TEST_F(CatalogManager, FactoryAndCataloguesMayCallTheManager) {
    class Inquirer : public CFiMessageCatalog {
      public:
        explicit Inquirer(CFiMessageCatalogManager& itsManager) : owner(itsManager) {}
        int init() override {
            owner.setNativeLanguage("set by init");
            return 0;
        }
        tstring getMessage(const std::string& id, const char*) const override {
            return (id + " " + owner.getNativeLanguage()).c_str();
        }

      private:
        CFiMessageCatalogManager& owner;
    };
    class Caller : public FakeFactory {
      public:
        explicit Caller(CFiMessageCatalogManager& itsManager) : owner(itsManager) {}
        CFiMessageCatalogPtr createCatalog(std::string) override {
            owner.getNativeLanguage();
            return new Inquirer(owner);
        }
        std::string getDefaultLanguage() override { return "en" + owner.getNativeLanguage(); }

      private:
        CFiMessageCatalogManager& owner;
    };
    Caller caller(*manager);
    manager->registerFactory(&caller);
    EXPECT_STREQ(localized("KEY", "de"), "KEY set by init");
}

// Calls the manager's operations that take its lock.
void callBack(CFiMessageCatalogManager& manager) {
    manager.setNativeLanguage(manager.getNativeLanguage().c_str());
    char* text = nullptr;
    manager.getLocalizedMessage("INNER", "en", &text);
    manager.deleteLocalizedMessage(&text);
}

TEST_F(CatalogManager, MessagesMayCallTheManager) {
    class Inquirer : public CFiIcuMessage {
      public:
        explicit Inquirer(CFiMessageCatalogManager& itsManager)
            : CFiIcuMessage("KEY", 3, "", 0, {}),
              owner(itsManager) {}
        std::string getMessageId() override {
            callBack(owner);
            return CFiIcuMessage::getMessageId();
        }
        tstring formatMessage(tstring pattern) override {
            callBack(owner);
            return CFiIcuMessage::formatMessage(pattern);
        }

      private:
        CFiMessageCatalogManager& owner;
    };
    class Caller : public FakeFactory {
      public:
        explicit Caller(CFiMessageCatalogManager& itsManager) : owner(itsManager) {}
        CFiMessagePtr createMessage(kfi_msg_info*) override {
            callBack(owner);
            return new Inquirer(owner);
        }

      private:
        CFiMessageCatalogManager& owner;
    };
    Caller caller(*manager);
    manager->registerFactory(&caller);
    EXPECT_STREQ(localized(static_cast<kfi_msg_info*>(nullptr), "de"), "de:KEY");
    manager.release();
}

// A catalogue of the language that does its deed in its end.
class Mortal : public FakeCatalog {
  public:
    Mortal(const std::string& itsLanguage, int itsStatus, int& liveCount,
           std::function<void()> itsDeed)
        : FakeCatalog(itsLanguage, itsStatus, liveCount),
          deed(std::move(itsDeed)) {}
    ~Mortal() override { deed(); }

  private:
    const std::function<void()> deed;
};

// Makes mortal catalogues; when told so, activates the same language once more meanwhile.
class MortalFactory : public FakeFactory {
  public:
    MortalFactory(CFiMessageCatalogManager& itsManager, std::function<void()> itsDeed)
        : owner(itsManager),
          deed(std::move(itsDeed)) {}
    CFiMessageCatalogPtr createCatalog(std::string language) override {
        if (overtaken) {
            overtaken = false;
            owner.activateCatalog(language);
        }
        return new Mortal(language, statuses[language], live, deed);
    }

    bool overtaken = false;

  private:
    CFiMessageCatalogManager& owner;
    const std::function<void()> deed;
};

TEST_F(CatalogManager, CatalogueThatIsDroppedMayCallTheManager) {
    CFiMessageCatalogManager& owner = *manager;
    int calls = 0;
    MortalFactory mortals(owner, [&] {
        ++calls;
        callBack(owner);
    });
    manager->registerFactory(&mortals);
    mortals.statuses["fr"] = 3;
    EXPECT_EQ(text("KEY", "fr"), "en:KEY");
    EXPECT_EQ(calls, 1);
    mortals.overtaken = true;
    EXPECT_EQ(text("KEY", "de"), "de:KEY");
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(mortals.live, 2);
    manager.release();
    EXPECT_EQ(calls, 4);
    EXPECT_EQ(mortals.live, 0);
}

TEST_F(CatalogManager, CatalogueThatDiesWithTheManagerFindsNoFactory) {
    CFiMessageCatalogManager& owner = *manager;
    Log seen;
    MortalFactory mortals(owner,
                          [&] { seen.push_back(owner.getMessage("KEY", nullptr, "en").c_str()); });
    manager->registerFactory(&mortals);
    manager.release();
    EXPECT_THAT(seen, ElementsAre("<KEY>"));
    EXPECT_EQ(mortals.live, 0);
}

TEST_F(CatalogManager, CatalogueThatIsMadeInTheManagersEndDiesToo) {
    CFiMessageCatalogManager& owner = *manager;
    FakeFactory second;
    MortalFactory mortals(owner, [&] { owner.registerFactory(&second); });
    manager->registerFactory(&mortals);
    manager.release();
    EXPECT_THAT(second.calls(), ElementsAre("default?", "create en"));
    EXPECT_EQ(second.live, 0);
}

TEST_F(CatalogManager, FactoryThatThrowsStaysRegistered) {
    class Thrower : public FakeFactory {
      public:
        std::string getDefaultLanguage() override {
            if (!thrown) {
                thrown = true;
                throw std::runtime_error("default language");
            }
            return "en";
        }

      private:
        bool thrown = false;
    };
    Thrower thrower;
    EXPECT_THROW(manager->registerFactory(&thrower), std::runtime_error);
    EXPECT_EQ(text("KEY", "de"), "de:KEY");
    manager.release();
}

TEST_F(CatalogManager, ManyThreadsAskAndGiveBackAtOnce) {
    class QuietFactory : public CFiMessageCatalogFactory {
      public:
        CFiMessageCatalogPtr createCatalog(std::string language) override {
            return new Plain(language);
        }
        std::string getDefaultLanguage() override { return "en"; }
        CFiMessagePtr createMessage(kfi_msg_info*) override { return CFiMessagePtr(); }

      private:
        class Plain : public CFiMessageCatalog {
          public:
            explicit Plain(const std::string& itsLanguage) : language(itsLanguage) {}
            tstring getMessage(const std::string& id, const char*) const override {
                return (language + ":" + id).c_str();
            }

          private:
            const std::string language;
        };
    };
    QuietFactory quiet;
    manager->registerFactory(&quiet);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([this, t] {
            const std::string key = "KEY" + std::to_string(t);
            for (int i = 0; i < 200; ++i) {
                const std::string language = "l" + std::to_string(i % 20);
                char* text = localized(key.c_str(), language.c_str());
                EXPECT_EQ(text, language + ":" + key);
                manager->setNativeLanguage(language.c_str());
                manager->deleteLocalizedMessage(&text);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    manager.release();
}

// ---- All together ----

// What a plug-in brings.
class PluginFactory : public CFiMessageCatalogFactory {
  public:
    CFiMessageCatalogPtr createCatalog(std::string language) override {
        ++created;
        return new CFiIcuMessageCatalog(language.c_str(), "parcel");
    }
    std::string getDefaultLanguage() override { return "root"; }
    CFiMessagePtr createMessage(kfi_msg_info* info) override {
        const CFiMessagePtr message(new CFiIcuMessage);
        message->deserialize(info);
        return message;
    }

    int created = 0;
};

class Localisation : public InstalledCatalogs {
  protected:
    void SetUp() override {
        InstalledCatalogs::SetUp();
        manager->registerFactory(&factory);
    }
    std::string localized(kfi_msg_info* info, const char* language) {
        char* text = nullptr;
        manager->getLocalizedMessage(info, language, &text);
        const std::string copy = text;
        manager->deleteLocalizedMessage(&text);
        return copy;
    }

    PluginFactory factory;
    CFiMessageCatalogManagerPtr manager{new CFiMessageCatalogManager};
};

TEST_F(Localisation, LastErrorIsWordedInEachLanguage) {
    const CFiErrorManagerPtr errors(new CFiErrorManager);
    errors->pushError(CFiMessagePtr(
        new CFiIcuMessage("MSG_ERROR_PARCEL_0002", 3, "parcel.cpp", 1,
                          {icu::Formattable(icu::UnicodeString("p1")), icu::Formattable(42)})));
    kfi_msg_info* info = errors->getLastError();
    ASSERT_NE(info, nullptr);
    manager->setNativeLanguage("de");
    EXPECT_EQ(localized(info, "native"), "parcel: Paket p1 ist 42 Byte zu groß.");
    EXPECT_EQ(localized(info, nullptr), "parcel: Parcel p1 is 42 bytes too large.");
    errors->deleteLastError(&info);
}

TEST_F(Localisation, LanguageWithAParentOnlyIsNotKept) {
    EXPECT_STREQ(manager->getMessage("MSG_ERROR_PARCEL_0001", nullptr, "de_AT").c_str(),
                 "parcel: No room left on {0}.");
    const int before = factory.created;
    manager->activateCatalog("de_AT");
    EXPECT_EQ(factory.created, before + 1);
}

TEST_F(Localisation, MissingKeyCarriesTheCataloguesName) {
    EXPECT_STREQ(manager->getMessage("NO_SUCH_KEY", nullptr, "de").c_str(),
                 "parcel: <NO_SUCH_KEY>");
    EXPECT_STREQ(manager->getMessage("NO_SUCH_KEY", "the default", "de").c_str(), "the default");
}

} // namespace
