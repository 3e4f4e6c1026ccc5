# CPack runs this on the finished packages for what it has no setting for: the field that lets packages of several
# architectures lie side by side, and none of its scripts that call ldconfig, which the trigger does.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
    set(tree ${package}.tree)
    execute_process(COMMAND dpkg-deb --raw-extract ${package} ${tree} COMMAND_ERROR_IS_FATAL ANY)
    file(STRINGS ${tree}/DEBIAN/control name REGEX "^Package: ")
    string(REPLACE "Package: " "" name "${name}")
    if(NOT name STREQUAL "python3-kvmath")  # which has its own, for compiled files of Python
        file(REMOVE ${tree}/DEBIAN/postinst ${tree}/DEBIAN/postrm)
    endif()
    if(name IN_LIST CPACK_KVMATH_MULTI_ARCH_SAME)
        file(READ ${tree}/DEBIAN/control control)
        file(WRITE ${tree}/DEBIAN/control "Multi-Arch: same\n${control}")
    endif()
    execute_process(COMMAND dpkg-deb --root-owner-group -Zxz --build ${tree} ${package} OUTPUT_QUIET
                    COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE_RECURSE ${tree})
endforeach()
