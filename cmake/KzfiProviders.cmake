# Builds provider plug-ins, shared objects that a host loads through kzfi_create_provider, and tests
# them in the simulated host.
#
#   kzfi_add_provider(acme
#       SOURCES acme.cpp
#       MESSAGES messages/root.txt messages/de.txt)
#   kzfi_add_provider_tests(acme SCENARIOS acme.yaml)
#
# gives in CMAKE_CURRENT_BINARY_DIR
#
#   acme.so                             the provider: target acme, linked with kzfi::pdk
#   resources/libacme/root.res, de.res  its message catalogue "acme" (see KzfiCatalogs.cmake)
#   acme.yaml                           the scenario, which names the two by these paths
#
# and the test acme.acme, named after provider and scenario: the scenario, in a root of its own below
# acme_roots/.
include("${CMAKE_CURRENT_LIST_DIR}/KzfiCatalogs.cmake")

# The provider exports its entry alone, and the host can unload it again: g++ would otherwise mark
# some of the library's own data as unique in the process, which pins every shared object that
# holds it.
function(kzfi_add_provider name)
    cmake_parse_arguments(PARSE_ARGV 1 PROVIDER "" "" "SOURCES;MESSAGES")
    if(NOT PROVIDER_SOURCES OR PROVIDER_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "kzfi_add_provider(<name> SOURCES <file>... [MESSAGES <file>...])")
    endif()

    set(exports "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/kzfi_provider.map")
    add_library(${name} MODULE ${PROVIDER_SOURCES})
    target_link_libraries(${name} PRIVATE kzfi::pdk)
    target_compile_features(${name} PRIVATE cxx_std_17)
    target_compile_options(${name} PRIVATE "$<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fno-gnu-unique>")
    target_link_options(${name} PRIVATE "LINKER:--version-script=${exports}")
    set_target_properties(${name} PROPERTIES
        PREFIX ""
        C_VISIBILITY_PRESET hidden
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        LINK_DEPENDS "${exports}"
        # One folder, whatever the configuration: the scenarios count on it.
        LIBRARY_OUTPUT_DIRECTORY "$<1:${CMAKE_CURRENT_BINARY_DIR}>")
    if(PROVIDER_MESSAGES)
        kzfi_add_catalog(${name} NAME ${name} OUTPUT_DIR "${CMAKE_CURRENT_BINARY_DIR}/resources"
            SOURCES ${PROVIDER_MESSAGES})
    endif()
endfunction()

# CTest sees the tests when the project calls enable_testing(). They run kzfi-simhost.
function(kzfi_add_provider_tests name)
    cmake_parse_arguments(PARSE_ARGV 1 TESTS "" "" "SCENARIOS")
    if(NOT TARGET ${name} OR NOT TESTS_SCENARIOS OR TESTS_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "kzfi_add_provider_tests(<provider> SCENARIOS <file>...)")
    endif()
    if(NOT TARGET kzfi::simhost)
        message(FATAL_ERROR "kzfi_add_provider_tests: there is no kzfi-simhost (package kzfi-simhost)")
    endif()

    set(copies)
    foreach(scenario IN LISTS TESTS_SCENARIOS)
        get_filename_component(scenario "${scenario}" ABSOLUTE)
        get_filename_component(file "${scenario}" NAME)
        get_filename_component(stem "${scenario}" NAME_WLE)
        set(copy "${CMAKE_CURRENT_BINARY_DIR}/${file}")
        add_custom_command(OUTPUT "${copy}"
            COMMAND ${CMAKE_COMMAND} -E copy "${scenario}" "${copy}"
            DEPENDS "${scenario}"
            VERBATIM)
        list(APPEND copies "${copy}")
        # rm: what an earlier run left would be there for this one, too.
        add_test(NAME ${name}.${stem}
            COMMAND sh -c "rm -rf \"$1\" && mkdir -p \"$1\" && exec \"$0\" run \"$2\" --root \"$1\""
                "$<TARGET_FILE:kzfi::simhost>" "${CMAKE_CURRENT_BINARY_DIR}/${name}_roots/${stem}"
                "${copy}")
        kzfi_set_test_paths(${name}.${stem})
    endforeach()
    add_custom_target(${name}_scenarios DEPENDS ${copies})
    add_dependencies(${name} ${name}_scenarios)
endfunction()

# kzfi-simhost finds its libraries beside the kit's, in whatever folder the kit was unpacked.
function(kzfi_set_test_paths test)
    set_tests_properties(${test} PROPERTIES
        ENVIRONMENT_MODIFICATION "LD_LIBRARY_PATH=path_list_prepend:$<TARGET_FILE_DIR:kzfi::pdk>")
endfunction()
