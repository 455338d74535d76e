#include "child_run.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "processes.h"
#include "support/fixed_paths.h"
#include "support/temp_dir.h"

namespace {

using namespace kzfi_simhost;
using kzfi_tests::diesSoon;
using kzfi_tests::isAlive;
using kzfi_tests::readFile;
using testing::ElementsAre;

class ChildRunTest : public testing::Test {
  protected:
    /// With time enough for the first event, and deadline for each further one.
    ChildEnd run(const ChildWork& work, double deadline = 60, double firstDeadline = 60) {
        return runInChild(
            work,
            [&](const Json& event) {
                heard.push_back(event);
                return deadline;
            },
            firstDeadline, output());
    }

    std::string output() const { return folder.path("output"); }

    kzfi_tests::TempDir folder;
    std::vector<Json> heard;
};

TEST_F(ChildRunTest, TellsWhatTheWorkSaysInOrder) {
    const ChildEnd end = run([](const EventWriter& events) {
        events.send({{"a", 1}});
        events.send({{"b", "two\nlines"}});
    });
    EXPECT_EQ(end.kind, ChildEnd::DONE);
    EXPECT_EQ(end.inWords(), "");
    EXPECT_THAT(heard, ElementsAre(Json({{"a", 1}}), Json({{"b", "two\nlines"}})));
}

TEST_F(ChildRunTest, BigAndBrokenTextsGetThrough) {
    const std::string big(3000000, 'x');
    run([&](const EventWriter& events) {
        events.send({{"big", big}});
        events.send({{"broken", "a\xff"}});
    });
    ASSERT_EQ(heard.size(), 2u);
    EXPECT_EQ(heard[0]["big"], big);
    EXPECT_EQ(heard[1]["broken"], "a\xEF\xBF\xBD");
}

/// The descriptors that are open here.
std::set<int> openDescriptors() {
    std::set<int> open;
    for (int fd = 0; fd < 256; ++fd) {
        if (fcntl(fd, F_GETFD) >= 0) {
            open.insert(fd);
        }
    }
    return open;
}

/// What a provider does that writes onto the host's line, and onto nothing of the tests' own.
void writeToLine(const std::set<int>& known, const std::string& text) {
    for (const int fd : openDescriptors()) {
        if (known.count(fd) == 0 && write(fd, text.data(), text.size()) < 0) {
            std::perror("write");
        }
    }
}

TEST_F(ChildRunTest, InventedEventsAreNotHeard) {
    const std::set<int> known = openDescriptors();
    const ChildEnd end = run([&](const EventWriter& events) {
        writeToLine(known, "{\"end\":true}\n{\"privateUsr\":7}\n");
        events.send({{"real", 1}});
        writeToLine(known, "{\"invented\":1}\n0123456789abcdef0123456789abcdef {\"x\":1}\n");
        writeToLine(known, "no end");
        events.send({{"real", 2}});
        _exit(0);
    });
    EXPECT_EQ(end.kind, ChildEnd::EXITED);
    EXPECT_EQ(end.inWords(), "exited with status 0");
    EXPECT_THAT(heard, ElementsAre(Json({{"real", 1}}), Json({{"real", 2}})));
}

TEST_F(ChildRunTest, AProcessThatTheWorkForksIsNotHeard) {
    const ChildEnd end = run([](const EventWriter& events) {
        const pid_t forked = fork();
        events.send({{"here", true}});
        if (forked == 0) {
            _exit(0);
        }
        waitpid(forked, nullptr, 0);
    });
    EXPECT_EQ(end.kind, ChildEnd::DONE);
    EXPECT_EQ(heard.size(), 1u);
}

TEST_F(ChildRunTest, AnEndlessLineIsPassedOver) {
    const std::set<int> known = openDescriptors();
    const ChildEnd end = run([&](const EventWriter& events) {
        const std::string rubbish(1 << 20, 'x');
        for (int i = 0; i < 300; ++i) {
            writeToLine(known, rubbish);
        }
        events.send({{"real", 1}});
    });
    EXPECT_EQ(end.kind, ChildEnd::DONE);
    EXPECT_THAT(heard, ElementsAre(Json({{"real", 1}})));
}

TEST_F(ChildRunTest, TheWorkIsAnotherProcess) {
    int touched = 0;
    run([&](const EventWriter& events) {
        touched = 1;
        events.send({{"pid", getpid()}, {"group", getpgrp()}});
    });
    EXPECT_EQ(touched, 0);
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_NE(heard[0]["pid"], getpid());
    EXPECT_EQ(heard[0]["pid"], heard[0]["group"]);
}

TEST_F(ChildRunTest, WhatItPrintsGoesToTheOutputFile) {
    run([](const EventWriter& events) {
        std::puts("to the output");
        std::fflush(stdout);
        std::fputs("to the errors\n", stderr);
        events.send({{"inputIsEmpty", std::getchar() == EOF}});
    });
    EXPECT_THAT(heard, ElementsAre(Json({{"inputIsEmpty", true}})));
    EXPECT_EQ(readFile(output()), "to the output\nto the errors\n");
}

TEST_F(ChildRunTest, AnExitIsTold) {
    const ChildEnd end = run([](const EventWriter& events) {
        events.send({{"before", true}});
        std::quick_exit(3);
    });
    EXPECT_EQ(end.kind, ChildEnd::EXITED);
    EXPECT_EQ(end.code, 3);
    EXPECT_EQ(end.inWords(), "exited with status 3");
    EXPECT_EQ(heard.size(), 1u);
}

TEST_F(ChildRunTest, ASignalIsTold) {
    const ChildEnd end = run([](const EventWriter&) { raise(SIGKILL); });
    EXPECT_EQ(end.kind, ChildEnd::KILLED);
    EXPECT_EQ(end.code, SIGKILL);
    EXPECT_EQ(end.inWords(), "was killed by SIGKILL (Killed)");
}

TEST_F(ChildRunTest, AnEscapedExceptionEndsTheChild) {
    const ChildEnd end = run([](const EventWriter&) { throw std::runtime_error("oops"); });
    EXPECT_EQ(end.kind, ChildEnd::EXITED);
    EXPECT_EQ(end.code, 70);
    EXPECT_EQ(readFile(output()), "kzfi-simhost: oops\n");
}

TEST_F(ChildRunTest, AMissedDeadlineEndsTheChild) {
    const auto started = std::chrono::steady_clock::now();
    const ChildEnd end = run([](const EventWriter&) { pause(); }, 60, 0.2);
    EXPECT_EQ(end.kind, ChildEnd::HUNG);
    EXPECT_EQ(end.inWords(), "did not answer in time and was ended");
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - started;
    EXPECT_GE(taken.count(), 0.2);
    EXPECT_LT(taken.count(), 30);
}

TEST_F(ChildRunTest, ADeadlineIsMissedWhileEventsKeepComing) {
    int count = 0;
    const ChildEnd end = runInChild(
        [](const EventWriter& events) {
            for (int i = 0; i < 50; ++i) {
                events.send({{"big", std::string(40000, 'x')}});
            }
        },
        [&](const Json&) {
            ++count;
            // The next event is there before this one is done with.
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            return 0.0;
        },
        60, output());
    EXPECT_EQ(end.kind, ChildEnd::HUNG);
    EXPECT_LT(count, 10);
}

TEST_F(ChildRunTest, EveryEventGivesNewTime) {
    const ChildEnd end = run(
        [](const EventWriter& events) {
            for (int i = 0; i < 4; ++i) {
                events.send({{"still", "here"}});
                std::this_thread::sleep_for(std::chrono::milliseconds(700));
            }
        },
        2.5);
    EXPECT_EQ(end.kind, ChildEnd::DONE);
    EXPECT_EQ(heard.size(), 4u);
}

TEST_F(ChildRunTest, TheWholeProcessGroupGoes) {
    const ChildEnd end = run(
        [](const EventWriter& events) {
            const pid_t grandchild = fork();
            if (grandchild == 0) {
                signal(SIGTERM, SIG_IGN);
                for (;;) {
                    pause();
                }
            }
            events.send({{"grandchild", grandchild}});
            pause();
        },
        1);
    EXPECT_EQ(end.kind, ChildEnd::HUNG);
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_TRUE(diesSoon(std::to_string(heard[0]["grandchild"].get<int>())));
}

TEST_F(ChildRunTest, AGrandchildThatKeepsTheLineOpenDoesNotHoldUpTheEnd) {
    const ChildEnd end = run([](const EventWriter& events) {
        const pid_t grandchild = fork();
        if (grandchild == 0) {
            for (;;) {
                pause();
            }
        }
        events.send({{"grandchild", grandchild}});
    });
    EXPECT_EQ(end.kind, ChildEnd::DONE);
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_TRUE(diesSoon(std::to_string(heard[0]["grandchild"].get<int>())));
}

TEST_F(ChildRunTest, AClosedLineIsNoEnd) {
    const ChildEnd end = run([](const EventWriter& events) {
        events.send({{"before", true}});
        for (int fd = 3; fd < 256; ++fd) {
            close(fd);
        }
        signal(SIGPIPE, SIG_IGN);
        events.send({{"lost", true}});
        std::quick_exit(5);
    });
    EXPECT_EQ(end.kind, ChildEnd::EXITED);
    EXPECT_EQ(end.code, 5);
    EXPECT_EQ(heard.size(), 1u);
}

TEST_F(ChildRunTest, TheChildHasAUsrOfItsOwn) {
    KZFI_NEEDS_PRIVATE_USR();
    const ChildEnd end = run([](const EventWriter& events) {
        kzfi_tests::writeFile("/usr/tarnex/child", "was here");
        events.send({{"written", readFile("/usr/tarnex/child")}});
    });
    EXPECT_EQ(end.privateUsr, "");
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_EQ(heard[0]["written"], "was here");
    EXPECT_EQ(access("/usr/tarnex/child", F_OK), -1);
}

TEST_F(ChildRunTest, NoChildIsLeftByAListenerThatThrows) {
    std::string child;
    EXPECT_THROW(runInChild(
                     [](const EventWriter& events) {
                         events.send({{"pid", getpid()}});
                         pause();
                     },
                     [&](const Json& event) -> double {
                         child = std::to_string(event["pid"].get<int>());
                         throw std::runtime_error("enough");
                     },
                     60, output()),
                 std::runtime_error);
    ASSERT_NE(child, "");
    EXPECT_FALSE(isAlive(child));
}

/// A process that runs a child whose own child ignores what ends it, and dies of EndedBySignal.
class EndedRunTest : public ChildRunTest {
  protected:
    [[noreturn]] void beTheCaller() {
        std::ofstream ids(folder.path("ids"));
        try {
            runInChild(
                [](const EventWriter& events) {
                    const pid_t forked = fork();
                    if (forked == 0) {
                        for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
                            signal(number, SIG_IGN);
                        }
                    }
                    if (forked != 0) {
                        events.send({{"pid", getpid()}, {"grandchild", forked}});
                    }
                    for (;;) {
                        pause();
                    }
                },
                [&](const Json& event) {
                    ids << event["pid"] << " " << event["grandchild"] << std::endl;
                    return 60.0;
                },
                60, output());
        } catch (const EndedBySignal& e) {
            std::_Exit(e.number);
        }
        std::_Exit(0);
    }

    /// Starts it and waits until both processes below it are there.
    pid_t startCaller() {
        const pid_t caller = fork();
        if (caller == 0) {
            beTheCaller();
        }
        for (int i = 0; i < 3000 && grandchild.empty(); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            std::istringstream(readFile(folder.path("ids"))) >> child >> grandchild;
        }
        return caller;
    }

    std::string child;
    std::string grandchild;
};

TEST_F(EndedRunTest, ASignalToTheCallerEndsTheWholeProcessGroup) {
    for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
        signal(number, SIG_DFL); // Whoever runs the tests may ignore it.
        child.clear();
        grandchild.clear();
        std::filesystem::remove(folder.path("ids"));
        const pid_t caller = startCaller();
        ASSERT_NE(grandchild, "");
        kill(caller, number);
        int status = 0;
        waitpid(caller, &status, 0);
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), number);
        EXPECT_FALSE(isAlive(child));
        EXPECT_TRUE(diesSoon(grandchild));
    }
}

TEST_F(EndedRunTest, AnIgnoredSignalStaysIgnored) {
    const auto before = signal(SIGHUP, SIG_IGN);
    const pid_t caller = startCaller();
    signal(SIGHUP, before);
    ASSERT_NE(grandchild, "");
    kill(caller, SIGHUP);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_TRUE(isAlive(child));
    kill(caller, SIGTERM);
    int status = 0;
    waitpid(caller, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), SIGTERM);
}

TEST_F(ChildRunTest, SignalsEndTheChildAndLaterTheCallerAsBefore) {
    const ChildEnd end = run([](const EventWriter&) { raise(SIGTERM); });
    EXPECT_EQ(end.kind, ChildEnd::KILLED);
    EXPECT_EQ(end.code, SIGTERM);
    sigset_t blocked;
    sigprocmask(SIG_BLOCK, nullptr, &blocked);
    for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
        EXPECT_EQ(sigismember(&blocked, number), 0);
    }
}

TEST_F(ChildRunTest, TheChildEndsWithItsParent) {
    const pid_t parent = fork();
    if (parent == 0) {
        std::ofstream ids(folder.path("id"));
        runInChild(
            [](const EventWriter& events) {
                events.send({{"pid", getpid()}});
                pause();
            },
            [&](const Json& event) {
                ids << event["pid"].get<int>() << std::flush;
                raise(SIGKILL);
                return 60.0;
            },
            60, output());
        std::quick_exit(0);
    }
    int status = 0;
    waitpid(parent, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status));
    const std::string child = readFile(folder.path("id"));
    ASSERT_NE(child, "");
    EXPECT_TRUE(diesSoon(child));
}

} // namespace
