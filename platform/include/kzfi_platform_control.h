/*
 * Knobs of the stand-in for the host's library, libkzfi_platform.so: what a test or a simulated
 * host sets to play the host. Nothing of the kit itself includes this header.
 *
 * Threads: all calls may be made from any thread; a setting holds for the whole process.
 * Errors: a text that finds no memory counts as null.
 */
#ifndef KZFI_PLATFORM_CONTROL_H
#define KZFI_PLATFORM_CONTROL_H

#include "kzfi_framework.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Back to the state after loading: no root, no credentials, nothing fails, counts at 0. */
KZFI_HOST_API void kzfi_platform_reset(void);

/** What kzfi_get_install_root hands out, copied; null: it hands out nothing. */
KZFI_HOST_API void kzfi_platform_set_install_root(const char* root);

/** What kzfi_get_credential_blob hands out: length bytes of text, copied; null: nothing. */
KZFI_HOST_API void kzfi_platform_set_credentials(const char* text, size_t length);

/** What kzfi_is_child_context answers. */
KZFI_HOST_API void kzfi_platform_set_child_context(int child_context);

/**
 * Runs a command for kzfi_exec_cmd_in_child_context: puts its output, from kzfi_alloc_buf, into
 * *text, the output's size into *length, and returns the status. context is the caller's own.
 */
typedef int (*kzfi_platform_command_runner)(const char* command, char** text, size_t* length,
                                            void* context);

/** Who runs commands in the child context; null: status 0 and no output. */
KZFI_HOST_API void kzfi_platform_set_command_runner(kzfi_platform_command_runner runner,
                                                    void* context);

/** Makes the n-th kzfi_alloc_buf from now on give null, once; 1 is the next, 0 is none. */
KZFI_HOST_API void kzfi_platform_fail_alloc(unsigned long n);

/** Makes the n-th kzfi_get_objid from now on give null, once; 1 is the next, 0 is none. */
KZFI_HOST_API void kzfi_platform_fail_objid(unsigned long n);

/** What went through kzfi_alloc_buf and kzfi_free_buf since the last reset. */
struct kzfi_platform_counts {
    uint64_t taken;      /**< buffers handed out */
    uint64_t given_back; /**< buffers given back through kzfi_free_buf, null not counted */
    uint64_t wrong_size; /**< of these, given back with another size than was asked for */
    uint64_t unknown;    /**< of these, never handed out, or given back before; not freed */
};

/** The counts now. A buffer that went through free() counts as taken and not as given back. */
KZFI_HOST_API struct kzfi_platform_counts kzfi_platform_get_counts(void);

/** Told of every buffer that is given back with the wrong size; taken is the size asked for. */
typedef void (*kzfi_platform_size_reporter)(const void* buffer, size_t taken, size_t given_back,
                                            void* context);

/** Who is told of wrong sizes; null: a line on standard error. */
KZFI_HOST_API void kzfi_platform_set_size_reporter(kzfi_platform_size_reporter reporter,
                                                   void* context);

/** What a watch on buffers tells of. */
enum kzfi_platform_fault {
    KZFI_PLATFORM_WRONG_SIZE = 1, /**< given back with another size than was asked for */
    KZFI_PLATFORM_UNKNOWN = 2,    /**< given back twice, or never handed out; not freed */
    KZFI_PLATFORM_OVERRUN = 3,    /**< the bytes behind the buffer were written to */
    KZFI_PLATFORM_LEFT = 4        /**< still out at kzfi_platform_report_left */
};

/** Told of each fault; taken is the size asked for, 0 when it is not known. */
typedef void (*kzfi_platform_watcher)(int fault, const void* buffer, size_t taken,
                                      size_t given_back, void* context);

/**
 * Watches the buffers that are handed out from now on: each gets guard bytes behind it, which are
 * looked at when it comes back; free() still accepts it. The watcher takes the place of the size
 * reporter. Null ends the watch.
 */
KZFI_HOST_API void kzfi_platform_watch_buffers(kzfi_platform_watcher watcher, void* context);

/**
 * For a program with a free() of its own, which calls this first: the size that was asked for when
 * buffer is one that is out, which then counts no longer as such; 0 for every other pointer.
 */
KZFI_HOST_API size_t kzfi_platform_note_free(const void* buffer);

/** The size that was asked for of a buffer that is out; 0 for every other pointer. */
KZFI_HOST_API size_t kzfi_platform_size_of(const void* buffer);

/** Tells the watcher of all watched buffers that are out, and forgets all that are. */
KZFI_HOST_API void kzfi_platform_report_left(void);

#ifdef __cplusplus
}
#endif

#endif
