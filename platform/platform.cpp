#include <algorithm>
#include <cstdint>
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
    kzfi_platform_watcher watcher = nullptr;
    void* watcherContext = nullptr;
    unsigned long failAlloc = 0;
    unsigned long failObjid = 0;
    kzfi_platform_counts counts = {};
};

// An interned object id and the name that it points to.
struct Objid {
    std::string name;
    kzfi_objid record = {};
};

// What is written behind a watched buffer.
constexpr size_t GUARD_SIZE = 16;
constexpr unsigned char GUARD_BYTE = 0xA5;

// A buffer that is out.
struct Live {
    size_t size;
    bool watched; // with guard bytes behind it
};

struct Platform {
    std::mutex lock;
    Settings settings;
    // Buffers handed out and not given back through kzfi_free_buf. One that went through free()
    // stays until kzfi_alloc_buf hands its address out again, unless kzfi_platform_note_free was
    // told.
    std::unordered_map<const void*, Live> live;
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

// Whether this thread holds the lock: what it frees meanwhile is the table's own.
thread_local bool holdsLock = false;

// The lock, as everything here takes it.
class Hold {
  public:
    explicit Hold(Platform& p) : guard(p.lock) { holdsLock = true; }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;
    ~Hold() { holdsLock = false; }

  private:
    const std::lock_guard<std::mutex> guard;
};

// What use(settings) gives under the lock.
template <class Use>
auto withSettings(Use use) {
    Platform& p = platform();
    const Hold hold(p);
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

// Takes buffer out of the table of live ones and counts it; false when it was not there. wrongSize
// is set to the size that was asked for when that is not the size given back, left to what was
// known of the buffer.
bool settle(Platform& p, const void* buffer, size_t size, std::optional<size_t>& wrongSize,
            Live& left) {
    kzfi_platform_counts& counts = p.settings.counts;
    ++counts.given_back;
    const auto entry = p.live.find(buffer);
    if (entry == p.live.end()) {
        ++counts.unknown;
        return false;
    }
    if (entry->second.size != size) {
        ++counts.wrong_size;
        wrongSize = entry->second.size;
    }
    left = entry->second;
    p.live.erase(entry);
    return true;
}

// Whether what was written behind a watched buffer is still there.
bool isIntact(const void* buffer, const Live& live) {
    const auto* const guard = static_cast<const unsigned char*>(buffer) + live.size;
    return !live.watched ||
           std::all_of(guard, guard + GUARD_SIZE, [](unsigned char b) { return b == GUARD_BYTE; });
}

// Tells the watcher, if there is one; whether there is.
bool tell(int fault, const void* buffer, size_t taken, size_t givenBack) {
    const auto [watcher, context] =
        withSettings([](const Settings& s) { return std::make_pair(s.watcher, s.watcherContext); });
    if (watcher != nullptr) {
        watcher(fault, buffer, taken, givenBack, context);
    }
    return watcher != nullptr;
}

void tellOfOverrun(const void* buffer, const Live& live) {
    if (!isIntact(buffer, live)) {
        tell(KZFI_PLATFORM_OVERRUN, buffer, live.size, live.size);
    }
}

void reportWrongSize(const void* buffer, size_t taken, size_t givenBack) {
    if (tell(KZFI_PLATFORM_WRONG_SIZE, buffer, taken, givenBack)) {
        return;
    }
    const auto [reporter, context] = withSettings(
        [](const Settings& s) { return std::make_pair(s.reporter, s.reporterContext); });
    if (reporter != nullptr) {
        reporter(buffer, taken, givenBack, context);
    } else {
        std::fprintf(stderr, "kzfi_free_buf: buffer %p of %zu bytes given back as %zu bytes\n",
                     buffer, taken, givenBack);
    }
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
    const Hold hold(p);
    if (failsNow(p.settings.failAlloc)) {
        return nullptr;
    }
    const bool watched = p.settings.watcher != nullptr && size < SIZE_MAX - GUARD_SIZE;
    void* const buffer = std::malloc(watched ? size + GUARD_SIZE : size);
    if (buffer == nullptr) {
        return nullptr;
    }
    try {
        p.live[buffer] = {size, watched};
    } catch (const std::bad_alloc&) {
        std::free(buffer);
        return nullptr;
    }
    if (watched) {
        std::memset(static_cast<unsigned char*>(buffer) + size, GUARD_BYTE, GUARD_SIZE);
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
    Live live = {};
    bool known = false;
    {
        const Hold hold(p);
        known = settle(p, buffer, size, wrongSize, live);
    }
    if (wrongSize) {
        reportWrongSize(buffer, *wrongSize, size);
    }
    if (known) {
        tellOfOverrun(buffer, live);
        std::free(buffer);
    } else {
        tell(KZFI_PLATFORM_UNKNOWN, buffer, 0, size);
    }
}

kzfi_objid* kzfi_get_objid(const char* name, size_t length, int kind) {
    if (name == nullptr) {
        return nullptr;
    }
    Platform& p = platform();
    const Hold hold(p);
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

void kzfi_platform_watch_buffers(kzfi_platform_watcher watcher, void* context) {
    withSettings([=](Settings& s) {
        s.watcher = watcher;
        s.watcherContext = context;
    });
}

size_t kzfi_platform_note_free(const void* buffer) {
    if (holdsLock || buffer == nullptr) {
        return 0;
    }
    Platform& p = platform();
    Live live = {};
    {
        const Hold hold(p);
        const auto entry = p.live.find(buffer);
        if (entry == p.live.end()) {
            return 0;
        }
        live = entry->second;
        p.live.erase(entry);
    }
    tellOfOverrun(buffer, live);
    return live.size;
}

size_t kzfi_platform_size_of(const void* buffer) {
    Platform& p = platform();
    const Hold hold(p);
    const auto entry = p.live.find(buffer);
    return entry != p.live.end() ? entry->second.size : 0;
}

void kzfi_platform_report_left(void) {
    Platform& p = platform();
    std::unordered_map<const void*, Live> left;
    {
        const Hold hold(p);
        left.swap(p.live);
    }
    for (const auto& [buffer, live] : left) {
        if (live.watched) {
            tellOfOverrun(buffer, live);
            tell(KZFI_PLATFORM_LEFT, buffer, live.size, 0);
        }
    }
}
