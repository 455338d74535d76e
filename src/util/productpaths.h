// The product's fixed places, which do not move with the install root.
#ifndef KZFI_UTIL_PRODUCTPATHS_H
#define KZFI_UTIL_PRODUCTPATHS_H

#define KZFI_PRODUCT_ROOT "/usr/tarnex"

namespace kzfi_pdk_4_4 {

/// The install root when the host names none.
constexpr char PRODUCT_ROOT[] = KZFI_PRODUCT_ROOT;

/// Where trace files lie by default.
constexpr char TRACE_DIR[] = KZFI_PRODUCT_ROOT "/stoneleaf/logs/kwfis/";

/// The main configuration file: its directory, the whole path and the name in it.
constexpr char MAIN_CONFIG_DIR[] = KZFI_PRODUCT_ROOT "/stoneleaf/";
constexpr char MAIN_CONFIG_PATH[] = KZFI_PRODUCT_ROOT "/stoneleaf/kw.conf";
constexpr const char* MAIN_CONFIG_FILE = MAIN_CONFIG_PATH + sizeof MAIN_CONFIG_DIR - 1;

} // namespace kzfi_pdk_4_4

#undef KZFI_PRODUCT_ROOT

#endif
