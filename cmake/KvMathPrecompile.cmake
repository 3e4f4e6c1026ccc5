# Precompiled headers, for a build that no compiler cache serves. Off elsewhere: there a source that lacks an include
# must not compile.
set(kvmath_precompiled_headers
    <QByteArray> <QDir> <QFile> <QHash> <QJsonArray> <QJsonDocument> <QJsonObject> <QString> <QStringList> <QTextStream>
    <QVector> <algorithm> <array> <cmath> <functional> <limits> <map> <memory> <optional> <string> <utility> <vector>)

# kvmath_precompile(kvmeasure): the target reads the headers above once, all its sources together.
function(kvmath_precompile target)
    if(KVMATH_PRECOMPILE)
        target_precompile_headers(${target} PRIVATE ${kvmath_precompiled_headers})
    endif()
endfunction()

# kvmath_precompile_test(core_point_cloud_test): the tests share one file, which holds GoogleTest too.
function(kvmath_precompile_test target)
    if(NOT KVMATH_PRECOMPILE)
        return()
    endif()
    if(NOT TARGET precompiled_test)
        file(WRITE ${PROJECT_BINARY_DIR}/precompiled_test.cpp "")
        add_executable(precompiled_test ${PROJECT_BINARY_DIR}/precompiled_test.cpp)
        target_link_libraries(precompiled_test PRIVATE kvmath kvmath_build_flags GTest::gmock_main)
        target_compile_options(precompiled_test PRIVATE $<$<CONFIG:Release>:-O1>)  # as the tests: g++ 14 wants it equal
        target_precompile_headers(precompiled_test PRIVATE ${kvmath_precompiled_headers} <gmock/gmock.h> <gtest/gtest.h>)
    endif()
    target_precompile_headers(${target} REUSE_FROM precompiled_test)
endfunction()
