# The date of all that is packed: the commit's, so that the same commit gives the same packages.
# Without a repository it is the date of CHANGELOG.md: an archive of the commit gives it the same one.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH tree)
    set(date)
    if(EXISTS "${tree}/.git")
        execute_process(COMMAND git -C "${tree}" log -1 --format=%ct
            OUTPUT_VARIABLE date OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    endif()
    if(NOT date)
        file(TIMESTAMP "${tree}/CHANGELOG.md" date "%s" UTC)
    endif()
    set(ENV{SOURCE_DATE_EPOCH} ${date})
endif()
