#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <unordered_map>

#include "kzfi_platform_control.h"

namespace {

// What kzfi_platform_reset() sets back.
struct Settings {
    std::optional<std::string> root;
    std::optional<std::string> credentials;
    int childContext = 0;
    kzfi_platform_command_runner runner = nullptr;
    void* runnerContext = nullptr;
    kzfi_platform_size_reporter reporter = nullptr;
    void* reporterContext = nullptr;
    unsigned long failAlloc = 0;
    unsigned long failObjid = 0;
    kzfi_platform_counts counts = {};
};

// An interned object id and the name that it points to.
struct Objid {
    std::string name;
    kzfi_objid record;
};

struct Platform {
    std::mutex lock;
    Settings settings;
    // Buffers handed out and not given back. One that went through free() stays until malloc hands
    // its address out again.
    std::unordered_map<const void*, size_t> live;
    // Never emptied: an object id lives as long as the process.
    std::unordered_map<std::string, Objid> objids;
};

// Never destroyed: destructors of static objects may still give buffers back.
Platform& platform() {
    static Platform* const instance = new Platform;
    return *instance;
}

Settings settings() {
    Platform& p = platform();
    const std::lock_guard<std::mutex> guard(p.lock);
    return p.settings;
}

// Runs change(settings) under the lock.
template <class Change>
void configure(Change change) {
    Platform& p = platform();
    const std::lock_guard<std::mutex> guard(p.lock);
    change(p.settings);
}

// Counts a call towards the one that is to fail; true when this is the one.
bool failsNow(unsigned long& countdown) {
    if (countdown == 0) {
        return false;
    }
    --countdown;
    return countdown == 0;
}

// A copy of size bytes in a buffer of the host; null when there is none.
char* handOut(const char* bytes, size_t size) {
    char* const buffer = static_cast<char*>(kzfi_alloc_buf(size));
    if (buffer != nullptr) {
        std::memcpy(buffer, bytes, size);
    }
    return buffer;
}

void reportWrongSize(const Settings& s, const void* buffer, size_t taken, size_t givenBack) {
    if (s.reporter != nullptr) {
        s.reporter(buffer, taken, givenBack, s.reporterContext);
    } else {
        std::fprintf(stderr, "kzfi_free_buf: buffer %p of %zu bytes given back as %zu bytes\n",
                     buffer, taken, givenBack);
    }
}

// Takes buffer out of the table of live ones and counts it; false when it was not there. wrongSize
// is set to the size that was asked for when that is not the size given back.
bool settle(Platform& p, const void* buffer, size_t size, std::optional<size_t>& wrongSize) {
    kzfi_platform_counts& counts = p.settings.counts;
    ++counts.given_back;
    const auto entry = p.live.find(buffer);
    if (entry == p.live.end()) {
        ++counts.unknown;
        return false;
    }
    if (entry->second != size) {
        ++counts.wrong_size;
        wrongSize = entry->second;
    }
    p.live.erase(entry);
    return true;
}

kzfi_objid* intern(Platform& p, const std::string& name, size_t length, int kind) {
    const auto added = p.objids.try_emplace(name);
    Objid& id = added.first->second;
    if (added.second) {
        id.name = name;
        id.record = {id.name.data(), length, kind};
    }
    return &id.record;
}

} // namespace

// ---- What the host defines ----

void* kzfi_alloc_buf(size_t size) {
    Platform& p = platform();
    const std::lock_guard<std::mutex> guard(p.lock);
    if (failsNow(p.settings.failAlloc)) {
        return nullptr;
    }
    void* const buffer = std::malloc(size);
    if (buffer == nullptr) {
        return nullptr;
    }
    try {
        p.live[buffer] = size;
    } catch (const std::bad_alloc&) {
        std::free(buffer);
        return nullptr;
    }
    ++p.settings.counts.taken;
    return buffer;
}

void kzfi_free_buf(void* buffer, size_t size) {
    if (buffer == nullptr) {
        return;
    }
    Platform& p = platform();
    std::optional<size_t> wrongSize;
    bool known = false;
    {
        const std::lock_guard<std::mutex> guard(p.lock);
        known = settle(p, buffer, size, wrongSize);
    }
    if (wrongSize) {
        reportWrongSize(settings(), buffer, *wrongSize, size);
    }
    if (known) {
        std::free(buffer);
    }
}

kzfi_objid* kzfi_get_objid(const char* name, size_t length, int kind) {
    if (name == nullptr) {
        return nullptr;
    }
    Platform& p = platform();
    const std::lock_guard<std::mutex> guard(p.lock);
    if (failsNow(p.settings.failObjid)) {
        return nullptr;
    }
    return intern(p, std::string(name, strnlen(name, length)), length, kind);
}

int kzfi_objidcmp(const kzfi_objid* a, const kzfi_objid* b) {
    if (a == nullptr && b == nullptr) {
        return 0;
    }
    if (a == nullptr || b == nullptr || a->name == nullptr || b->name == nullptr) {
        return 1;
    }
    return std::strcmp(a->name, b->name);
}

int kzfi_get_install_root(char** root) {
    const Settings s = settings();
    if (s.root) {
        *root = handOut(s.root->c_str(), s.root->size() + 1);
    }
    return 0;
}

int kzfi_get_credential_blob(char** text, size_t* length) {
    const Settings s = settings();
    if (s.credentials) {
        *text = handOut(s.credentials->data(), s.credentials->size());
        *length = *text != nullptr ? s.credentials->size() : 0;
    }
    return 0;
}

int kzfi_is_child_context(void) {
    return settings().childContext;
}

int kzfi_exec_cmd_in_child_context(const char* command, char** text, size_t* length) {
    *text = nullptr;
    *length = 0;
    const Settings s = settings();
    return s.runner != nullptr ? s.runner(command, text, length, s.runnerContext) : 0;
}

// ---- The knobs ----

void kzfi_platform_reset(void) {
    configure([](Settings& s) { s = Settings(); });
}

void kzfi_platform_set_install_root(const char* root) {
    configure([=](Settings& s) {
        s.root.reset();
        if (root != nullptr) {
            s.root = root;
        }
    });
}

void kzfi_platform_set_credentials(const char* text, size_t length) {
    configure([=](Settings& s) {
        s.credentials.reset();
        if (text != nullptr) {
            s.credentials.emplace(text, length);
        }
    });
}

void kzfi_platform_set_child_context(int child_context) {
    configure([=](Settings& s) { s.childContext = child_context; });
}

void kzfi_platform_set_command_runner(kzfi_platform_command_runner runner, void* context) {
    configure([=](Settings& s) {
        s.runner = runner;
        s.runnerContext = context;
    });
}

void kzfi_platform_fail_alloc(unsigned long n) {
    configure([=](Settings& s) { s.failAlloc = n; });
}

void kzfi_platform_fail_objid(unsigned long n) {
    configure([=](Settings& s) { s.failObjid = n; });
}

kzfi_platform_counts kzfi_platform_get_counts(void) {
    return settings().counts;
}

void kzfi_platform_set_size_reporter(kzfi_platform_size_reporter reporter, void* context) {
    configure([=](Settings& s) {
        s.reporter = reporter;
        s.reporterContext = context;
    });
}
