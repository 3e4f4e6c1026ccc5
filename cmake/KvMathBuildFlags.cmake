# Flags for everything that is built here. Contraction stays off, because a fused multiply-add rounds once where
# the documented arithmetic rounds twice: results would differ from machine to machine.
add_library(kvmath_build_flags INTERFACE)
target_compile_features(kvmath_build_flags INTERFACE cxx_std_17)
# Compilers that nobody has tried here may warn of what is no fault: the build goes on.
set(known_gnu $<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,15>>)
set(known_clang $<AND:$<CXX_COMPILER_ID:Clang>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,15>>)
target_compile_options(kvmath_build_flags INTERFACE -ffp-contract=off -Wall -Wextra -Wconversion -Wshadow
    $<$<AND:$<BOOL:${KVMATH_WERROR}>,$<OR:${known_gnu},${known_clang}>>:-Werror>)
# g++ 12 drops both conversions of double(float(x)) where it vectorises two of them side by side in straight-line code.
target_compile_options(kvmath_build_flags INTERFACE $<$<CXX_COMPILER_ID:GNU>:-fno-tree-slp-vectorize>)
# Nor may intermediate results be wider than their types: x86 of 32 bits computes in 80 bits unless told to use SSE2.
include(CheckCXXSourceCompiles)
set(plain_arithmetic "#include <cfloat>\nstatic_assert(FLT_EVAL_METHOD == 0, \"wider\");\nint main() { return 0; }")
check_cxx_source_compiles("${plain_arithmetic}" KVMATH_PLAIN_ARITHMETIC)
if(NOT KVMATH_PLAIN_ARITHMETIC)
    set(CMAKE_REQUIRED_FLAGS "-msse2 -mfpmath=sse")
    check_cxx_source_compiles("${plain_arithmetic}" KVMATH_PLAIN_ARITHMETIC_BY_SSE2)
    unset(CMAKE_REQUIRED_FLAGS)
    if(NOT KVMATH_PLAIN_ARITHMETIC_BY_SSE2)
        message(FATAL_ERROR "This compiler computes float or double in wider types (FLT_EVAL_METHOD is not 0): results "
                            "would not be the documented ones. Give it flags by CMAKE_CXX_FLAGS that turn this off")
    endif()
    target_compile_options(kvmath_build_flags INTERFACE -msse2 -mfpmath=sse)
endif()
# Files above 2 GB, their numbers of 64 bits, and dates behind 2038 on a machine of 32 bits.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    target_compile_definitions(kvmath_build_flags INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
endif()
if(KVMATH_SANITIZE)
    target_compile_options(kvmath_build_flags INTERFACE
        -fsanitize=${KVMATH_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
        $<$<CXX_COMPILER_ID:Clang>:-fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/sanitizers.ignore>)
    target_link_options(kvmath_build_flags INTERFACE -fsanitize=${KVMATH_SANITIZE})
endif()
