// The arguments of a program in the form that execve() takes.
#ifndef KZFI_HOST_ARGUMENTVECTOR_H
#define KZFI_HOST_ARGUMENTVECTOR_H

#include <cstdlib>
#include <memory>
#include <new>

namespace kzfi_pdk_4_4 {

/// Owns the arguments; a null behind the last one takes a place but is not counted.
class ArgumentVector {
  public:
    ArgumentVector() = default;
    ArgumentVector(const ArgumentVector&) = delete;
    ArgumentVector& operator=(const ArgumentVector&) = delete;
    ~ArgumentVector() { clear(); }

    char* const* get() const { return places.get(); }
    int count() const { return used; }

    void clear() {
        while (used > 0) {
            delete[] places[--used];
        }
        places.reset();
        capacity = 0;
    }

    bool isFull() const { return used == capacity; }

    /// Bytes that grow() asks for.
    std::size_t grownSize() const {
        return sizeof(char*) * static_cast<std::size_t>(capacity + STEP);
    }

    /// Makes room for more; false with errno when there is no memory.
    bool grow() {
        void* const grown = std::realloc(places.get(), grownSize());
        if (grown == nullptr) {
            return false;
        }
        static_cast<void>(places.release());
        places.reset(static_cast<char**>(grown));
        capacity += STEP;
        return true;
    }

    /// Takes an argument of new char[] over, or sets the final null. The vector is not full.
    void add(char* argument) { places[used++] = argument; }
    void terminate() { places[used] = nullptr; }

  private:
    struct Free {
        void operator()(char** memory) const { std::free(memory); }
    };

    static constexpr int STEP = 10;

    std::unique_ptr<char*[], Free> places;
    int used = 0;
    int capacity = 0;
};

} // namespace kzfi_pdk_4_4

#endif
