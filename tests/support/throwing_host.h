// A host that throws. A program that links the source of this header asks it in place of the
// stand-in, which answers unless a test wants an exception.
#ifndef KZFI_TESTS_THROWING_HOST_H
#define KZFI_TESTS_THROWING_HOST_H

namespace kzfi_tests {

/// Makes the next count calls of the host's kzfi_get_install_root throw; 0 ends that.
void throwCFiErrorFromHost(int count);
void throwRuntimeErrorFromHost(int count);

} // namespace kzfi_tests

#endif
