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
# and the tests acme.acme, the scenario (a test is named after provider and scenario), and acme.check,
# all checks of kzfi-simhost; each has a fresh root below acme_roots/.
include("${CMAKE_CURRENT_LIST_DIR}/KzfiCatalogs.cmake")

# The provider exports its entry alone, and the host can unload it again: g++ would otherwise mark
# some of the library's own data as unique in the process, which pins every shared object that
# holds it.
function(kzfi_add_provider name)
    cmake_parse_arguments(PARSE_ARGV 1 PROVIDER "" "" "SOURCES;MESSAGES")
    set(call "kzfi_add_provider(${name})")
    if(NOT name MATCHES "^[A-Za-z0-9_][A-Za-z0-9_.+-]*$")
        message(FATAL_ERROR "${call}: '${name}' is no name for a provider: only letters, digits, "
            "'_', '-', '.' and '+' may be in it, and not the last three in front")
    endif()
    kzfi_refuse_arguments("${call}" "${PROVIDER_UNPARSED_ARGUMENTS}")
    if(NOT PROVIDER_SOURCES)
        message(FATAL_ERROR "${call}: SOURCES <file>... is missing")
    endif()
    if(TARGET ${name})
        get_target_property(folder ${name} SOURCE_DIR)
        message(FATAL_ERROR "${call}: there is a target of that name already, of ${folder}")
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

# kzfi_add_provider_tests(name SCENARIOS file... [CHECK_CONFIG file])
#
# CHECK_CONFIG is what kzfi-simhost check takes as --config. CTest sees the tests when the project
# calls enable_testing().
function(kzfi_add_provider_tests name)
    cmake_parse_arguments(PARSE_ARGV 1 TESTS "" "CHECK_CONFIG" "SCENARIOS")
    set(call "kzfi_add_provider_tests(${name})")
    kzfi_refuse_arguments("${call}" "${TESTS_UNPARSED_ARGUMENTS}")
    if(NOT TARGET "${name}")
        message(FATAL_ERROR "${call}: there is no such provider; kzfi_add_provider() makes it")
    endif()
    if(NOT TESTS_SCENARIOS)
        message(FATAL_ERROR "${call}: SCENARIOS <file>... is missing")
    endif()
    if(NOT TARGET kzfi::simhost)
        message(FATAL_ERROR "${call}: there is no kzfi-simhost (package kzfi-simhost)")
    endif()

    set(copies)
    foreach(file IN LISTS TESTS_SCENARIOS TESTS_CHECK_CONFIG)
        get_filename_component(file "${file}" ABSOLUTE)
        kzfi_refuse_missing("${call}" "${file}")
        get_filename_component(base "${file}" NAME)
        set(copy "${CMAKE_CURRENT_BINARY_DIR}/${base}")
        add_custom_command(OUTPUT "${copy}"
            COMMAND ${CMAKE_COMMAND} -E copy "${file}" "${copy}"
            DEPENDS "${file}"
            VERBATIM)
        list(APPEND copies "${copy}")
    endforeach()
    add_custom_target(${name}_scenarios DEPENDS ${copies})
    add_dependencies(${name} ${name}_scenarios)

    foreach(scenario IN LISTS TESTS_SCENARIOS)
        get_filename_component(stem "${scenario}" NAME_WLE)
        get_filename_component(base "${scenario}" NAME)
        kzfi_add_simhost_test(${name} ${stem} run "${CMAKE_CURRENT_BINARY_DIR}/${base}")
    endforeach()
    set(check check "$<TARGET_FILE:${name}>")
    if(TESTS_CHECK_CONFIG)
        get_filename_component(base "${TESTS_CHECK_CONFIG}" NAME)
        list(APPEND check --config "${CMAKE_CURRENT_BINARY_DIR}/${base}")
    endif()
    # A sanitizer keeps memory and descriptors of its own, which the checker would blame the
    # provider for.
    if(NOT KZFI_SANITIZE)
        kzfi_add_simhost_test(${name} check ${check})
    endif()
endfunction()

# The test provider.test: kzfi-simhost with these arguments, in a fresh root.
function(kzfi_add_simhost_test provider test)
    set(root "${CMAKE_CURRENT_BINARY_DIR}/${provider}_roots/${test}")
    add_test(NAME ${provider}.${test}
        COMMAND sh -c "rm -rf \"$0\" && mkdir -p \"$0\" && exec \"$@\" --root \"$0\"" "${root}"
            "$<TARGET_FILE:kzfi::simhost>" ${ARGN})
    kzfi_set_test_paths(${provider}.${test})
endfunction()

# The programs find their libraries beside the kit's, in whatever folder the kit was unpacked.
function(kzfi_set_test_paths test)
    set_tests_properties(${test} PROPERTIES
        ENVIRONMENT_MODIFICATION "LD_LIBRARY_PATH=path_list_prepend:$<TARGET_FILE_DIR:kzfi::pdk>")
endfunction()
