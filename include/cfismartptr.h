// Reference counting: the counted base, the intrusive smart pointer and its two ownership tags.
#ifndef CFISMARTPTR_H
#define CFISMARTPTR_H

#include <ace/Thread_Mutex.h>

#include <cstdint>

#include "kzfi_pdk.h"

namespace kzfi_pdk_4_4 {

/// Base of every object that several owners share: a count and the mutex that guards it.
///
/// Objects are made with new and handed to a CFiSmartPtr at once:
///     CFiSmartPtr<CFiTraceLog, CFiContextSingletonAllocator<CFiTraceLog>> log(new CFiTraceLog);
/// The first smart pointer brings the count from 0 to 1, the last one destroys the object.
///
/// Threads: smart pointers take the mutex around the count operations, which are plain; a caller
/// that counts by hand takes countMutex() itself.
/// Ownership: an object that never meets a smart pointer is deleted by whoever made it.
/// Errors: none; the count is not checked and wraps around below 0 and beyond 32 bits.
class KZFI_PDK_API CFiRefCount {
  public:
    CFiRefCount() : referenceCount(0) {}
    CFiRefCount(const CFiRefCount&) = delete;
    CFiRefCount& operator=(const CFiRefCount&) = delete;
    virtual ~CFiRefCount();

    /// Add one, take one, read; each returns the count. The caller holds countMutex().
    virtual std::uint32_t increment();
    virtual std::uint32_t decrement();
    virtual std::uint32_t getCount();

    /// The mutex that guards the count.
    ACE_Thread_Mutex& countMutex() { return referenceMutex; }

  private:
    template <class T, class Allocator>
    friend class CFiSmartPtr;

    // Not inline: where g++ 12 sees the delete at the end of every smart pointer it warns of a use
    // after it, which the count rules out.
    static void destroy(CFiRefCount* object);

    // Long names: derived classes' parameters called "count" must not shadow them.
    std::uint32_t referenceCount;
    ACE_Thread_Mutex referenceMutex;
};

/// Tag: the one instance that everything in a plug-in context shares (trace log, managers).
template <class T>
class CFiContextSingletonAllocator {};

/// Tag: an ordinary shared object (messages, catalogues, private data, sessions).
template <class T>
class CFiNullAllocator {};

/// Holds a CFiRefCount-derived object and one count of it.
///
/// Both tags release alike; they only keep the two kinds of ownership apart at compile time.
///
/// Threads: the count of the held object is guarded by that object's mutex; the smart pointer
/// itself is not guarded, so two threads must not change the same one at once.
/// Ownership: each smart pointer owns one count; the one that gives the last count back deletes the
/// object. While the object's destructor runs that smart pointer still holds it: the destructor
/// must not assign to it, acquire, release or destroy it.
/// Errors: a mutex that cannot be locked gives -1 and leaves the count untouched. An exception of
/// an overridden count operation unlocks the mutex before it leaves (out of the destructor it ends
/// the process). Nothing is undone: after a failed increment() acquire() and assignment hold the
/// new object without a count of their own; after a failed decrement() the old one is still held.
/// When the increment() before the destruction fails, the object is still held and lives on at
/// count 0: count it by hand before the smart pointer lets go.
template <class T, class Allocator>
class CFiSmartPtr {
  public:
    /// Empty, or holding object after acquire(). When the mutex cannot be locked, or increment()
    /// throws, object is not held and stays its maker's.
    CFiSmartPtr(T* object = nullptr) : held(nullptr) {
        if (object != nullptr) {
            acquire(object);
        }
    }

    /// Holds what source holds. When the mutex cannot be locked the pointer is held without a count
    /// of its own; kept so on purpose.
    CFiSmartPtr(const CFiSmartPtr& source) : held(source.held) {
        if (held != nullptr) {
            Guard guard(*held);
            if (guard.locked) {
                guard.counted.increment();
            }
        }
    }

    /// Lets go of what is held, then takes what source holds. Only the very same smart pointer is
    /// left alone; another one that holds the same object is one release and one count. A source
    /// that lives inside the held object must be copied first: the object may die before it is
    /// read.
    CFiSmartPtr& operator=(const CFiSmartPtr& source) {
        if (this != &source) {
            acquire(source.held);
        }
        return *this;
    }

    ~CFiSmartPtr() { release(); }

    /// Lets go of what is held, then takes object. Returns the new count; for a null object the
    /// result of the release (-1 if nothing was held); -1 and an empty pointer when object's mutex
    /// cannot be locked. Never acquire the object that is held as its only reference: it dies
    /// first.
    int acquire(T* object) {
        const int released = release();
        if (object == nullptr) {
            held = nullptr;
            return released;
        }
        // A held object whose mutex failed is given up without a release.
        held = nullptr;
        Guard guard(*object);
        if (!guard.locked) {
            return -1;
        }
        held = object;
        return static_cast<int>(guard.counted.increment());
    }

    /// Gives the count back. Returns the remaining count, 0 when the object was destroyed, -1 when
    /// nothing was held or the mutex cannot be locked (the pointer is then kept).
    int release() {
        if (held == nullptr) {
            return -1;
        }
        std::uint32_t remaining = 0;
        {
            Guard guard(*held);
            if (!guard.locked) {
                return -1;
            }
            remaining = guard.counted.decrement();
            if (remaining == 0) {
                // Back to 1 on purpose: the object is destroyed in a consistent state.
                guard.counted.increment();
            }
        }
        if (remaining == 0) {
            CFiRefCount::destroy(held);
        }
        held = nullptr;
        return static_cast<int>(remaining);
    }

    /// The object, and whether there is one.
    T* get() const { return held; }
    T* operator->() const { return held; }
    T& operator*() const { return *held; }
    explicit operator bool() const { return held != nullptr; }

  private:
    // Holds the mutex of an object and reaches its count through the base, whatever the object's
    // own class declares by the same names.
    struct Guard {
        explicit Guard(CFiRefCount& object)
            : counted(object),
              locked(object.countMutex().acquire() == 0) {}
        ~Guard() {
            if (locked) {
                counted.countMutex().release();
            }
        }
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;

        CFiRefCount& counted;
        const bool locked;
    };

    T* held;
};

} // namespace kzfi_pdk_4_4

#endif
