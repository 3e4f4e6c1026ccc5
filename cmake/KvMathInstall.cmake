include(CMakePackageConfigHelpers)

install(TARGETS kvmath kvmath_tarn EXPORT KvMathTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY kvmath/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvmath
        FILES_MATCHING PATTERN "*.h" PATTERN "*_p.h" EXCLUDE)
install(FILES kvmath/kvmath DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kvmath)
if(NOT KVMATH_TARN_TARGET)
    install(FILES tarn/tarn.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tarn)
endif()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/KvMath)
install(EXPORT KvMathTargets NAMESPACE KvMath:: DESTINATION ${package_dir})
configure_package_config_file(cmake/KvMathConfig.cmake.in KvMathConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(KvMathConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/KvMathConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/KvMathConfigVersion.cmake
        DESTINATION ${package_dir})
file(RELATIVE_PATH kvmath_prefix_from_pc /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)  # the package may be moved
configure_file(cmake/kvmath.pc.in kvmath.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kvmath.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
