# What is installed, in components: each library alone, what building against it takes, and the program.
include(CMakePackageConfigHelpers)

install(TARGETS kvmath kvmath_tarn EXPORT KvMathTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY kvmath/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvmath COMPONENT development
        FILES_MATCHING PATTERN "*.h" PATTERN "*_p.h" EXCLUDE)
install(FILES kvmath/kvmath DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvmath COMPONENT development)
if(NOT KVMATH_TARN_TARGET)
    install(FILES tarn/tarn.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tarn COMPONENT development)
endif()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/KvMath)
install(EXPORT KvMathTargets NAMESPACE KvMath:: DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(cmake/KvMathConfig.cmake.in KvMathConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(KvMathConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/KvMathConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/KvMathConfigVersion.cmake
        DESTINATION ${package_dir} COMPONENT development)
file(RELATIVE_PATH kvmath_prefix_from_pc /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)  # the package may be moved
configure_file(cmake/kvmath.pc.in ${KVMATH_FILE_NAME}.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${KVMATH_FILE_NAME}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT development)

if(KVMATH_BUILD_KVMEASURE)
    # Its targets have a file of their own: the package of the other library alone must serve its hosts.
    install(TARGETS kvmeasure EXPORT KvMeasureTargets
            LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT workflows NAMELINK_COMPONENT workflows_development
            RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT workflows
            INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
    install(DIRECTORY kvmeasure/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvmeasure COMPONENT workflows_development
            FILES_MATCHING PATTERN "*.h" PATTERN "*_p.h" EXCLUDE)
    install(EXPORT KvMeasureTargets NAMESPACE KvMath:: DESTINATION ${package_dir} COMPONENT workflows_development)
    configure_file(cmake/kvmeasure.pc.in ${KVMEASURE_FILE_NAME}.pc @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${KVMEASURE_FILE_NAME}.pc
            DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT workflows_development)
    install(TARGETS kvmeasure_program RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT program)
    # The documents keep their places to each other, so that their links hold.
    set(documents ${CMAKE_INSTALL_DATADIR}/doc/kvmeasure)
    install(FILES README.md CHANGELOG.md CONTRIBUTING.md DESTINATION ${documents} COMPONENT program)
    install(DIRECTORY docs examples DESTINATION ${documents} COMPONENT program
            FILES_MATCHING PATTERN "*.md" PATTERN "*.svg" PATTERN "*.cpp" PATTERN "*.py"
            PATTERN "Snakefile" PATTERN "slurm_array")
    if(TARGET kvmeasure_texts)
        install(FILES ${KVMEASURE_TEXTS}/kvmeasure.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT program)
        install(FILES ${KVMEASURE_TEXTS}/kvmeasure.bash RENAME kvmeasure COMPONENT program
                DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
        install(FILES ${KVMEASURE_TEXTS}/plan.schema.json DESTINATION ${CMAKE_INSTALL_DATADIR}/kvmeasure
                COMPONENT program)
    endif()
endif()
