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

#ifdef __cplusplus
}
#endif

#endif
