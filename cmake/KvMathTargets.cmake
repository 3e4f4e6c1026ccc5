# One line per test and per benchmark.

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
    add_test(NAME ${name} COMMAND ${target} WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
    set_tests_properties(${name} PROPERTIES TIMEOUT 120)
endfunction()

# kvmath_benchmark(core) builds benchmarks/core_benchmark.cpp.
function(kvmath_benchmark name)
    set(target ${name}_benchmark)
    add_executable(${target} ${PROJECT_SOURCE_DIR}/benchmarks/${target}.cpp)
    target_link_libraries(${target} PRIVATE kvmath kvmath_simulator kvmath_build_flags kvmath_benchmark_main)
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
endfunction()
