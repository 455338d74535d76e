# Run by cpack behind the packing: dpkg-deb packs once more what cpack has packed. That has the umask
# of who runs it, and packages of libraries have scripts that call ldconfig; dpkg has a trigger for
# that, which renews the cache once for all packages.
set(folder "${CPACK_TOPLEVEL_DIRECTORY}/repacked")
set(control "${folder}/DEBIAN")

foreach(package IN LISTS CPACK_PACKAGE_FILES)
    file(REMOVE_RECURSE "${folder}")
    execute_process(COMMAND dpkg-deb --raw-extract "${package}" "${folder}"
        COMMAND_ERROR_IS_FATAL ANY)
    if(EXISTS "${control}/postinst")
        file(REMOVE "${control}/postinst" "${control}/postrm")
        file(WRITE "${control}/triggers" "activate-noawait ldconfig\n")
        execute_process(COMMAND chmod 644 "${control}/triggers" COMMAND_ERROR_IS_FATAL ANY)
    endif()
    execute_process(COMMAND find "${folder}" -type d -exec chmod 755 {} +
        COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND dpkg-deb --root-owner-group -Zxz --build "${folder}" "${package}"
        OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
