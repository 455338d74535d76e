// The verbose level that the product's main configuration file sets for all trace logs.
#ifndef KZFI_DIAG_VERBOSE_H
#define KZFI_DIAG_VERBOSE_H

namespace kzfi_pdk_4_4 {

/// Results of readVerboseLevel() besides 0.
enum VerboseStatus { VERBOSE_NOT_SET = 1, VERBOSE_NO_FILE = 26 };

/// Reads the verbose level of the file at path: 0, or a VerboseStatus and level left alone.
int readVerboseLevel(const char* path, int& level);

} // namespace kzfi_pdk_4_4

#endif
