# Debian packages: libkvmath2, libkvmath-dev, libkvmeasure2, libkvmeasure-dev, kvmeasure; on Qt 6 libkvmath-qt6-2,
# libkvmath-qt6-dev, libkvmeasure-qt6-2, libkvmeasure-qt6-dev, kvmeasure. python3-kvmath where the module is built. "cpack" in the build tree makes them, scripts/package as they are meant to be shipped: under /usr, in the machine's own
# library directory.
set(debian_release 1)
set(debian_version ${PROJECT_VERSION}-${debian_release})
set(kvmath_library_package lib${KVMATH_FILE_NAME}${PROJECT_VERSION_MAJOR})
set(kvmath_development_package lib${KVMATH_FILE_NAME}-dev)
set(kvmeasure_library_package lib${KVMEASURE_FILE_NAME}${PROJECT_VERSION_MAJOR})
set(kvmeasure_development_package lib${KVMEASURE_FILE_NAME}-dev)
set(qt_development qtbase5-dev)
set(other_development libkvmath-qt6-dev)
set(other_workflows_development libkvmeasure-qt6-dev)
if(KVMATH_QT_MAJOR EQUAL 6)
    set(kvmath_library_package lib${KVMATH_FILE_NAME}-${PROJECT_VERSION_MAJOR})  # two numbers are parted
    set(kvmeasure_library_package lib${KVMEASURE_FILE_NAME}-${PROJECT_VERSION_MAJOR})
    set(qt_development qt6-base-dev)
    set(other_development libkvmath-dev)
    set(other_workflows_development libkvmeasure-dev)
endif()
set(kvmath_components library development)
if(KVMATH_BUILD_KVMEASURE)
    list(APPEND kvmath_components workflows workflows_development program)
endif()
if(TARGET python_module)
    list(APPEND kvmath_components python)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kvmath)
set(CPACK_PACKAGE_VENDOR KvMath)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # CPack would put it above each description
set(CPACK_PACKAGE_CONTACT "KvMath developers <kvmath@example.org>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL ${kvmath_components})
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/KvMathCompressDocs.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/KvMathMendPackages.cmake)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${debian_release})
set(CPACK_DEBIAN_PACKAGE_SOURCE kvmath)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
if(CMAKE_CROSSCOMPILING AND CMAKE_LIBRARY_ARCHITECTURE)  # else CPack takes the builder's
    execute_process(COMMAND dpkg-architecture --host-type ${CMAKE_LIBRARY_ARCHITECTURE} --query DEB_HOST_ARCH
                    OUTPUT_VARIABLE CPACK_DEBIAN_PACKAGE_ARCHITECTURE OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()

set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${kvmath_library_package})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "measurement mathematics for laser profile scanners - library
Filters lines of laser profile scanners, finds templates of straight lines in
them and measures on the match; outlines 3D scans; measures railway wheels and
wheelsets from train passes; builds and applies calibration tables.

This package holds the shared library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${kvmath_development_package})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_CONFLICTS ${other_development})  # same headers, same package for CMake
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${kvmath_library_package} (= ${debian_version}), ${qt_development} (>= ${KVMATH_QT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "measurement mathematics for laser profile scanners - development files
Filters lines of laser profile scanners, finds templates of straight lines in
them and measures on the match.

This package holds the headers, and the files by which CMake and pkg-config
find the library.")

set(CPACK_DEBIAN_WORKFLOWS_PACKAGE_NAME ${kvmeasure_library_package})
set(CPACK_DEBIAN_WORKFLOWS_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_WORKFLOWS_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_WORKFLOWS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_WORKFLOWS_PACKAGE_DEPENDS "${kvmath_library_package} (= ${debian_version})")
set(CPACK_DEBIAN_WORKFLOWS_PACKAGE_SUGGESTS kvmeasure)  # its modules of PDF and PNG pictures, stores, MQTT
set(CPACK_DEBIAN_WORKFLOWS_DESCRIPTION "measuring workflows for laser profile scanners - library
Reads profiles and 3D scans of many forms, teaches templates and measures on
them with tolerances, measures railway wheels of train passes, builds
calibration tables, draws and reports the results.

This package holds the shared library.")

set(CPACK_DEBIAN_WORKFLOWS_DEVELOPMENT_PACKAGE_NAME ${kvmeasure_development_package})
set(CPACK_DEBIAN_WORKFLOWS_DEVELOPMENT_PACKAGE_CONFLICTS ${other_workflows_development})
set(CPACK_DEBIAN_WORKFLOWS_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_WORKFLOWS_DEVELOPMENT_PACKAGE_DEPENDS
    "${kvmeasure_library_package} (= ${debian_version}), ${kvmath_development_package} (= ${debian_version})")
set(CPACK_DEBIAN_WORKFLOWS_DEVELOPMENT_DESCRIPTION "measuring workflows for laser profile scanners - development files
Reads profiles and 3D scans of many forms, teaches templates and measures on
them with tolerances, measures railway wheels of train passes.

This package holds the headers, and the files by which CMake and pkg-config
find the library.")

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME kvmeasure)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/kvmath ${PROJECT_BINARY_DIR}/kvmeasure)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "${kvmeasure_library_package} (= ${debian_version})")
if(TARGET kvmeasure_store)  # its driver, which Qt loads by name
    string(APPEND CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS ", libqt${KVMATH_QT_MAJOR}sql${KVMATH_QT_MAJOR}-sqlite")
    set(CPACK_DEBIAN_PROGRAM_PACKAGE_SUGGESTS "libqt${KVMATH_QT_MAJOR}sql${KVMATH_QT_MAJOR}-psql")
endif()
set(CPACK_DEBIAN_PROGRAM_PACKAGE_RECOMMENDS "libjs-dygraphs, libjs-three")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SUGGESTS chromium)
set(CPACK_DEBIAN_PROGRAM_DESCRIPTION "measures lines and 3D scans of laser profile scanners
Filters profiles, teaches templates of straight lines, finds and measures them;
outlines and converts 3D scans; measures wheels of train passes; builds and
checks calibration tables; simulates all of these with known dimensions.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-kvmath)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
    ${PROJECT_SOURCE_DIR}/cmake/debian/python/postinst ${PROJECT_SOURCE_DIR}/cmake/debian/python/prerm)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "${KVMATH_PYTHON_DEPENDS}, python3-numpy, ${kvmeasure_library_package} (= ${debian_version})")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "kvmeasure, python3-pandas")
set(CPACK_DEBIAN_PYTHON_DESCRIPTION "measures with laser profile scanners in Python
Plans of measurements, fits, form, statistics, 3D scans, railway wheels and
rails on arrays of numpy, with pictures and tables in notebooks.")

# Packages of several architectures may lie side by side only where their libraries do; KvMathMendPackages.cmake reads it.
if(CMAKE_LIBRARY_ARCHITECTURE AND CMAKE_INSTALL_LIBDIR MATCHES "/${CMAKE_LIBRARY_ARCHITECTURE}$")
    set(CPACK_KVMATH_MULTI_ARCH_SAME ${kvmath_library_package} ${kvmath_development_package}
        ${kvmeasure_library_package} ${kvmeasure_development_package})
endif()

# Documents in the place where Debian expects them; a plain installation goes without.
configure_file(cmake/debian/changelog.in debian_changelog @ONLY)
foreach(component IN LISTS kvmath_components)
    string(TOUPPER ${component} upper)
    set(documents ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
    install(FILES cmake/debian/copyright DESTINATION ${documents} COMPONENT ${component} EXCLUDE_FROM_ALL)
    install(FILES CHANGELOG.md RENAME changelog DESTINATION ${documents} COMPONENT ${component} EXCLUDE_FROM_ALL)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/debian_changelog RENAME changelog.Debian
            DESTINATION ${documents} COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
configure_file(cmake/debian/development.overrides.in debian_overrides @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/debian_overrides RENAME ${kvmath_development_package}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT development EXCLUDE_FROM_ALL)
include(CPack)
