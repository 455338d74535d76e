# Builds provider plug-ins: shared objects that a host loads through kzfi_create_provider.
#
#   include(KzfiProviders)
#   kzfi_add_provider(my_provider my_provider.cpp)
#
# builds my_provider.so against kzfi::pdk. Only the entry is visible, and the host can unload the
# file again: g++ would otherwise mark some of the library's own data as unique in the process,
# which pins every shared object that holds it.
function(kzfi_add_provider target)
    add_library(${target} MODULE ${ARGN})
    target_link_libraries(${target} PRIVATE kzfi::pdk)
    target_compile_features(${target} PRIVATE cxx_std_17)
    target_compile_options(${target} PRIVATE "$<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>")
    set_target_properties(${target} PROPERTIES
        PREFIX ""
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
endfunction()
