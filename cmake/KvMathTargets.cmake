# One line per library, per test and per benchmark.

# kvmath_exports(kvmath 6KvMath kvmath-qt6): the library exports the names of its namespace, here as the compiler writes
# it, under a version made of its file name and number.
function(kvmath_exports target exports_namespace file_name)
    if(NOT UNIX OR APPLE)
        return()
    endif()
    string(MAKE_C_IDENTIFIER "${file_name}_${PROJECT_VERSION_MAJOR}" exports_version)
    string(TOUPPER ${exports_version} exports_version)
    set(exports ${CMAKE_CURRENT_BINARY_DIR}/${target}Exports.map)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/KvMathExports.map.in ${exports} @ONLY)
    target_link_options(${target} PRIVATE "LINKER:--version-script=${exports}")
    set_target_properties(${target} PROPERTIES LINK_DEPENDS ${exports})
endfunction()

# kvmath_test(core/point_cloud) builds tests/core/point_cloud_test.cpp. It links the shared library, and so proves
# the exports; names ending in _kernel link the objects instead and reach the internal symbols.
function(kvmath_test name)
    string(REPLACE "/" "_" target "${name}_test")
    add_executable(${target} ${PROJECT_SOURCE_DIR}/tests/${name}_test.cpp)
    if(name MATCHES "_kernel$")
        target_link_libraries(${target} PRIVATE kvmath_objects)
    else()
        target_link_libraries(${target} PRIVATE kvmath)
    endif()
    target_link_libraries(${target} PRIVATE kvmath_build_flags GTest::gmock_main ${ARGN})
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
    target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O1>)  # built faster; what is tested is at -O3
    kvmath_precompile_test(${target})
    add_test(NAME ${name} COMMAND ${target} WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
    set_tests_properties(${name} PROPERTIES TIMEOUT 600)  # stops what hangs; sanitizers are slow
endfunction()

# kvmath_benchmark(core) builds benchmarks/core_benchmark.cpp.
function(kvmath_benchmark name)
    set(target ${name}_benchmark)
    add_executable(${target} ${PROJECT_SOURCE_DIR}/benchmarks/${target}.cpp)
    target_link_libraries(${target} PRIVATE kvmath kvmath_simulator kvmath_build_flags kvmath_benchmark_main)
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
endfunction()
