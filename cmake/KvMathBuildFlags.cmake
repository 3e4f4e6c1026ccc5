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
if(KVMATH_SANITIZE)
    target_compile_options(kvmath_build_flags INTERFACE
        -fsanitize=${KVMATH_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
        $<$<CXX_COMPILER_ID:Clang>:-fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/sanitizers.ignore>)
    target_link_options(kvmath_build_flags INTERFACE -fsanitize=${KVMATH_SANITIZE})
endif()
