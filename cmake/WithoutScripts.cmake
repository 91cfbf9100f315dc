# Run by CPack when the packages are there: it gives a package with a shared library scripts that call
# ldconfig. Debian does that by a trigger, so packages with a trigger lose their scripts.
foreach(file IN LISTS CPACK_PACKAGE_FILES)
    set(folder ${file}.unpacked)
    execute_process(COMMAND dpkg-deb --raw-extract ${file} ${folder} COMMAND_ERROR_IS_FATAL ANY)
    if(EXISTS ${folder}/DEBIAN/triggers)
        file(REMOVE ${folder}/DEBIAN/postinst ${folder}/DEBIAN/postrm)
        execute_process(COMMAND dpkg-deb --root-owner-group -Zxz --build ${folder} ${file}
            OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
    endif()
    file(REMOVE_RECURSE ${folder})
endforeach()
