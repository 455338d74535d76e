# Compiles message catalogues: ICU resource bundles, one text source a language.
#
#   include(KzfiCatalogs)
#   kzfi_add_catalog(my_provider NAME myprovider OUTPUT_DIR "${CMAKE_CURRENT_BINARY_DIR}/resources"
#                    SOURCES messages/root.txt messages/de.txt)
#
# builds <OUTPUT_DIR>/libmyprovider/root.res and de.res, which the kit finds when OUTPUT_DIR is the
# folder "resources" of the install root. A source is named after its locale, is UTF-8 and holds one
# table of that name, else the build fails:
#
#   de {
#       MSG_ERROR_MYPROVIDER_0001 { "Kein Platz mehr auf {0}." }
#   }
#
# The files are built along with the target. Needs genrb (Debian: icu-devtools).

function(kzfi_add_catalog target)
    cmake_parse_arguments(PARSE_ARGV 1 CATALOG "" "NAME;OUTPUT_DIR" "SOURCES")
    set(call "kzfi_add_catalog(${target})")
    kzfi_refuse_arguments("${call}" "${CATALOG_UNPARSED_ARGUMENTS}")
    foreach(argument IN ITEMS NAME OUTPUT_DIR SOURCES)
        # A provider may be called "no".
        if("${CATALOG_${argument}}" STREQUAL "")
            message(FATAL_ERROR "${call}: ${argument} is missing")
        endif()
    endforeach()
    find_program(KZFI_GENRB genrb REQUIRED)

    set(folder "${CATALOG_OUTPUT_DIR}/lib${CATALOG_NAME}")
    set(bundles)
    foreach(source IN LISTS CATALOG_SOURCES)
        get_filename_component(source "${source}" ABSOLUTE)
        kzfi_refuse_missing("${call}" "${source}")
        get_filename_component(locale "${source}" NAME_WE)
        add_custom_command(OUTPUT "${folder}/${locale}.res"
            COMMAND ${CMAKE_COMMAND} -E make_directory "${folder}"
            COMMAND ${CMAKE_COMMAND} -E rm -f "${folder}/${locale}.res"
            COMMAND "${KZFI_GENRB}" --quiet --strict --encoding UTF-8 --destdir "${folder}" "${source}"
            # genrb names the bundle after the table, not after the file.
            COMMAND sh -c "test -f \"$0\" || { echo \"$1: the table's name is not '$2'\" >&2; exit 1; }"
                    "${folder}/${locale}.res" "${source}" "${locale}"
            DEPENDS "${source}"
            COMMENT "Compiling message catalogue ${CATALOG_NAME}: ${locale}"
            VERBATIM)
        list(APPEND bundles "${folder}/${locale}.res")
    endforeach()

    add_custom_target(${target}_catalog_${CATALOG_NAME} DEPENDS ${bundles})
    add_dependencies(${target} ${target}_catalog_${CATALOG_NAME})
endfunction()

# kzfi_refuse_arguments(call arguments): ends the run if there are any.
function(kzfi_refuse_arguments call arguments)
    if(NOT arguments STREQUAL "")
        list(JOIN arguments " " arguments)
        message(FATAL_ERROR "${call}: unknown arguments: ${arguments}")
    endif()
endfunction()

# kzfi_refuse_missing(call file): ends the run if there is no such file and none is to be made.
function(kzfi_refuse_missing call file)
    get_source_file_property(made "${file}" GENERATED)
    if(NOT made AND (NOT EXISTS "${file}" OR IS_DIRECTORY "${file}"))
        message(FATAL_ERROR "${call}: there is no file ${file}")
    endif()
endfunction()
