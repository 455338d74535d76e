#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

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
    kzfi_objid record = {};
};

struct Platform {
    std::mutex lock;
    Settings settings;
    // Buffers handed out and not given back through kzfi_free_buf. One that went through free()
    // stays until kzfi_alloc_buf hands its address out again.
    std::unordered_map<const void*, size_t> live;
    // Never emptied: an object id lives as long as the process.
    std::unordered_map<std::string, Objid> objids;
};

// Never destroyed: destructors of static objects may still give buffers back. Made in place, so
// that there is one without memory, too.
Platform& platform() {
    alignas(Platform) static unsigned char room[sizeof(Platform)];
    static Platform* const instance = new (room) Platform;
    return *instance;
}

// What use(settings) gives under the lock.
template <class Use>
auto withSettings(Use use) {
    Platform& p = platform();
    const std::lock_guard<std::mutex> guard(p.lock);
    return use(p.settings);
}

// Sets a text, or none. Without memory there is none: no exception may leave a C function.
void setText(std::optional<std::string> Settings::*text, const char* bytes, size_t size) {
    withSettings([=](Settings& s) {
        (s.*text).reset();
        try {
            if (bytes != nullptr) {
                (s.*text).emplace(bytes, size);
            }
        } catch (const std::bad_alloc&) {
        }
    });
}

// A copy of a text; none, too, without memory.
std::optional<std::string> textOf(std::optional<std::string> Settings::*text) {
    try {
        return withSettings([=](const Settings& s) { return s.*text; });
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
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

void reportWrongSize(const void* buffer, size_t taken, size_t givenBack) {
    const auto [reporter, context] = withSettings(
        [](const Settings& s) { return std::make_pair(s.reporter, s.reporterContext); });
    if (reporter != nullptr) {
        reporter(buffer, taken, givenBack, context);
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
    Objid& id = p.objids[name];
    // A new one, or one whose name found no memory before.
    if (id.record.name == nullptr) {
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
        reportWrongSize(buffer, *wrongSize, size);
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
    try {
        return intern(p, std::string(name, strnlen(name, length)), length, kind);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
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
    const std::optional<std::string> text = textOf(&Settings::root);
    char* const copy = text ? handOut(text->c_str(), text->size() + 1) : nullptr;
    if (copy != nullptr) {
        *root = copy;
    }
    return 0;
}

int kzfi_get_credential_blob(char** text, size_t* length) {
    const std::optional<std::string> credentials = textOf(&Settings::credentials);
    char* const copy = credentials ? handOut(credentials->data(), credentials->size()) : nullptr;
    if (copy != nullptr) {
        *text = copy;
        *length = credentials->size();
    }
    return 0;
}

int kzfi_is_child_context(void) {
    return withSettings([](const Settings& s) { return s.childContext; });
}

int kzfi_exec_cmd_in_child_context(const char* command, char** text, size_t* length) {
    *text = nullptr;
    *length = 0;
    const auto [runner, context] =
        withSettings([](const Settings& s) { return std::make_pair(s.runner, s.runnerContext); });
    return runner != nullptr ? runner(command, text, length, context) : 0;
}

// ---- The knobs ----

void kzfi_platform_reset(void) {
    withSettings([](Settings& s) { s = Settings(); });
}

void kzfi_platform_set_install_root(const char* root) {
    setText(&Settings::root, root, root != nullptr ? std::strlen(root) : 0);
}

void kzfi_platform_set_credentials(const char* text, size_t length) {
    setText(&Settings::credentials, text, length);
}

void kzfi_platform_set_child_context(int child_context) {
    withSettings([=](Settings& s) { s.childContext = child_context; });
}

void kzfi_platform_set_command_runner(kzfi_platform_command_runner runner, void* context) {
    withSettings([=](Settings& s) {
        s.runner = runner;
        s.runnerContext = context;
    });
}

void kzfi_platform_fail_alloc(unsigned long n) {
    withSettings([=](Settings& s) { s.failAlloc = n; });
}

void kzfi_platform_fail_objid(unsigned long n) {
    withSettings([=](Settings& s) { s.failObjid = n; });
}

kzfi_platform_counts kzfi_platform_get_counts(void) {
    return withSettings([](const Settings& s) { return s.counts; });
}

void kzfi_platform_set_size_reporter(kzfi_platform_size_reporter reporter, void* context) {
    withSettings([=](Settings& s) {
        s.reporter = reporter;
        s.reporterContext = context;
    });
}
