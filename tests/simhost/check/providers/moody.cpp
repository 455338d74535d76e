// Keeps the rules unless the environment variable MOOD says otherwise; then prePrepare does what it
// says.
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <clocale>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <thread>

#include "../twins/twin.h"
#include "cfistringtool.h"

namespace {

/// Visible in stacks by its name.
extern "C" void hangForEver() {
    for (;;) {
        pause();
    }
}

void hangDeaf() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, nullptr);
    hangForEver();
}

void hangWithThread() {
    std::thread(hangForEver).detach();
    hangForEver();
}

class Moody : public Sound {
  public:
    int init() override { return mood("init") ? KZFI_ERR_FAILED : Sound::init(); }

    int prePrepare(kfi_domain* node) override {
        KZFI_TWIN_SCOPE;
        for (const auto& [name, deed] : deeds) {
            if (mood(name)) {
                deed();
            }
        }
        const auto status = statuses.find(mood());
        if (status != statuses.end()) {
            return status->second;
        }
        return mood("unstable") && ++calls > 1    ? KZFI_OK
               : mood("unstable") || mood("lazy") ? KZFI_ERR_NOT_IMPLEMENTED
                                                  : Sound::prePrepare(node);
    }

    int isParentPgn(char*, int* answer, int) override {
        KZFI_TWIN_SCOPE;
        if (mood("output")) {
            *answer = 1;
        }
        return KZFI_ERR_FAILED;
    }

  private:
    static std::string mood() {
        const char* const set = std::getenv("MOOD");
        return set != nullptr ? set : "";
    }
    static bool mood(const std::string& name) { return name == mood(); }

    const std::map<std::string, int> statuses = {
        {"negative", -1}, {"unknown", 999}, {"own", 1001}, {"error", KZFI_ERR_OWNER}};

    const std::map<std::string, std::function<void()>> deeds = {
        {"crash", [] { std::abort(); }},
        {"exit", [] { std::exit(3); }},
        {"hang", hangWithThread},
        {"hang deaf", hangDeaf},
        {"throw", [] { throw std::out_of_range("too far"); }},
        {"throw a number", [] { throw 42; }},
        {"leak", [] { kzfi_alloc_buf(17); }},
        {"leak a lot",
         [] {
             for (int i = 0; i < 30; ++i) {
                 kzfi_alloc_buf(17);
             }
         }},
        {"free", [] { std::free(kzfi_alloc_buf(18)); }},
        {"free twice",
         [] {
             void* const buffer = kzfi_alloc_buf(19);
             kzfi_free_buf(buffer, 19);
             kzfi_free_buf(buffer, 19);
         }},
        {"free a list",
         [] {
             char** list = CFiStringTool::tstrduplist({"one", "two"});
             CFiStringTool::tstrfreelist(list);
         }},
        {"free a host text",
         [] {
             // tstrfreelist takes texts of the host's helpers, too.
             char** list = static_cast<char**>(std::calloc(2, sizeof(char*)));
             list[0] = CFiStringTool::tstrdup(tstring("one"));
             CFiStringTool::tstrfreelist(list);
         }},
        {"wrong size", [] { kzfi_free_buf(kzfi_alloc_buf(20), 21); }},
        {"overrun",
         [] {
             char* const buffer = static_cast<char*>(kzfi_alloc_buf(21));
             buffer[21] = 'x';
             kzfi_free_buf(buffer, 21);
         }},
        {"environment", [] { setenv("MOODY_WAS_HERE", "1", 1); }},
        {"folder", [] { static_cast<void>(chdir("/") != 0); }},
        {"signal", [] { signal(SIGPIPE, SIG_IGN); }},
        {"descriptor", [] { static_cast<void>(dup(0)); }},
        {"thread", [] { std::thread(hangForEver).detach(); }},
        {"locale", [] { setlocale(LC_ALL, "C"); }},
    };
    std::atomic<int> calls = 0;
};

} // namespace

KZFI_TWIN(Moody)
