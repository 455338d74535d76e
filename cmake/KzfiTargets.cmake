# How every target of this tree is compiled: language level, visibility, warnings, sanitizers.

set(KZFI_WARNINGS
    -Wall -Wextra -Wpedantic -Wshadow -Wformat=2 -Wformat-security -Wnon-virtual-dtor
    -Woverloaded-virtual -Wcast-qual -Wundef -Wvla)

# kzfi_defaults(target)
function(kzfi_defaults target)
    target_compile_features(${target} PRIVATE cxx_std_17)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON)
    target_compile_options(${target} PRIVATE
        "$<$<COMPILE_LANGUAGE:CXX>:${KZFI_WARNINGS}>"
        # __FILE__ is the path inside this tree, whatever folder it was built in; the trace log
        # needs the slash that stays in it.
        "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/="
        "-ffile-prefix-map=${PROJECT_BINARY_DIR}=.")
    if(KZFI_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    if(KZFI_SANITIZE)
        target_compile_options(${target} PRIVATE
            -fsanitize=${KZFI_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
        target_link_options(${target} PRIVATE -fsanitize=${KZFI_SANITIZE})
    endif()
endfunction()
