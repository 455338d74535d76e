// Misbehaves on demand: objctl does what its command says.
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>

#include "cfipluginbase.h"

using namespace kzfi_pdk_4_4;

namespace {

[[noreturn]] void sleepForEver() {
    for (;;) {
        pause();
    }
}

/// Leaves a process behind that keeps all descriptors open; its id goes to standard output.
void leaveProcess() {
    const pid_t child = fork();
    if (child == 0) {
        sleepForEver();
    }
    std::printf("left %d\n", static_cast<int>(child));
    std::fflush(stdout);
}

void litter() {
    mkdir("/usr/tarnex", 0755);
    mkdir("/usr/tarnex/stoneleaf", 0755);
    close(open("/usr/tarnex/stoneleaf/litter", O_WRONLY | O_CREAT, 0644));
    if (access("/usr/tarnex/stoneleaf/litter", F_OK) != 0) {
        throw std::runtime_error("cannot litter");
    }
}

void closeEverything() {
    for (int fd = 3; fd < 1024; ++fd) {
        close(fd);
    }
}

void writeEverywhere(const std::string& text) {
    for (int fd = 3; fd < 64; ++fd) {
        if (write(fd, text.data(), text.size()) < 0) {
            continue;
        }
    }
}

/// What the host's own process tells, with a wrong index, type, order and end.
void forgeEvents() {
    writeEverywhere("{\"begin\":99}\n{\"begin\":-1}\n{\"begin\":\"x\"}\n"
                    "{\"answer\":99,\"seconds\":0,\"outcome\":{}}\n"
                    "{\"answer\":4,\"seconds\":\"x\",\"outcome\":[]}\n"
                    "{\"answer\":3,\"seconds\":0,\"outcome\":{\"status\":0}}\n"
                    "{\"provider\":7}\n{\"refused\":\"forged\"}\n{\"tree\":5}\n"
                    "{\"privateUsr\":7}\n{\"end\":true}\n{\"begin\":");
}

/// Writes 256 KiB below the root, in steps, within 1.6 seconds.
void growSlowly() {
    char* root = nullptr;
    kzfi_get_install_root(&root);
    const std::string folder = std::string(root) + "/grown";
    kzfi_free_buf(root, std::strlen(root) + 1);
    mkdir(folder.c_str(), 0755);
    std::ofstream file(folder + "/target", std::ios::binary);
    for (int i = 0; i < 16; ++i) {
        usleep(100000);
        file << std::string(16384, 'x') << std::flush;
    }
}

const std::map<std::string, std::function<void()>> deeds = {
    {"abort", [] { std::abort(); }},
    {"segv", [] { raise(SIGSEGV); }},
    {"kill", [] { raise(SIGKILL); }},
    {"exit", [] { std::exit(3); }},
    {"hang", [] { sleepForEver(); }},
    {"throw", [] { throw std::out_of_range("too far"); }},
    {"throw a number", [] { throw 42; }},
    {"throw a kit error", [] { throw CFiError(5, "disk gone", "rogue.cpp", __LINE__, "objctl"); }},
    {"leave a process", [] { leaveProcess(); }},
    {"leave a process and hang",
     [] {
         leaveProcess();
         sleepForEver();
     }},
    {"litter", [] { litter(); }},
    {"close everything", [] { closeEverything(); }},
    {"write everywhere", [] { writeEverywhere("rubbish\n[1]\n"); }},
    {"forge events", [] { forgeEvents(); }},
    {"forge events and exit",
     [] {
         forgeEvents();
         _exit(0);
     }},
    {"grow slowly", [] { growSlowly(); }},
    {"print and exit",
     [] {
         std::puts("so long");
         std::exit(3);
     }},
    {"print", [] { std::puts("printed by the provider"); }},
};

class Rogue : public CFiPluginBase {
  public:
    ~Rogue() override {
        if (diesInDestructor) {
            std::abort();
        }
    }

    int objctl(tstring command, CFiObjctlArgs&) override {
        const CFiTraceLogFunction scope(traceLog, __func__, __LINE__, __FILE__);
        if (command == "leak") {
            CFiSmartPtr<CFiPluginBase, CFiNullAllocator<CFiPluginBase>>* const leaked =
                new CFiSmartPtr<CFiPluginBase, CFiNullAllocator<CFiPluginBase>>(this);
            static_cast<void>(leaked);
            return 0;
        }
        if (command == "die at the end") {
            diesInDestructor = true;
            return 0;
        }
        const auto deed = deeds.find(command.c_str());
        if (deed == deeds.end()) {
            return 6;
        }
        deed->second();
        return 0;
    }

    /// Hangs where no command can be given, on the harmless call of a description.
    int prePrepare(kfi_domain*) override {
        if (std::getenv("ROGUE_HANGS") != nullptr) {
            sleepForEver();
        }
        if (std::getenv("ROGUE_CRASHES") != nullptr) {
            std::puts("about to crash");
            std::fflush(stdout);
            std::abort();
        }
        return 0;
    }

    /// Dies of what a description asks for last.
    CFiConfigParamInfoList* globalConfigInfoList(int index, bool second) override {
        if (index == 1 && std::getenv("ROGUE_HAS_ONE_LIST") != nullptr) {
            std::abort();
        }
        return CFiPluginBase::globalConfigInfoList(index, second);
    }

    int getSnapshotSetId(kfi_domain*, char** id) override {
        const std::string text = "a \033[31mred\tset\n\xff";
        *id = static_cast<char*>(kzfi_alloc_buf(text.size() + 1));
        std::memcpy(*id, text.c_str(), text.size() + 1);
        return 0;
    }

  private:
    bool diesInDestructor = false;
};

} // namespace

extern "C" KZFI_PDK_API CFiPluginBase* kzfi_create_provider(void) {
    return new Rogue;
}
