option(QUOLL_TESTS "Build the tests" OFF)
option(QUOLL_BENCHMARKS "Build the benchmarks" OFF)
option(QUOLL_FUZZERS "Build the fuzz targets" OFF)
set(QUOLL_SANITIZE "" CACHE STRING "Comma-separated sanitizers for all targets, e.g. address,undefined")

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

# Resources are compiled, too, and know no warnings.
add_compile_options("$<$<COMPILE_LANGUAGE:C,CXX>:-Wall;-Wextra;-Wpedantic;-Wconversion;-Wshadow;-Werror>")

if(QUOLL_SANITIZE)
    add_compile_options(-fsanitize=${QUOLL_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    # g++ 12 warns wrongly inside <regex> and <functional> once their code is instrumented.
    add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    add_link_options(-fsanitize=${QUOLL_SANITIZE})
endif()

if(QUOLL_FUZZERS)
    # What runs under the fuzzing engine counts its branches, or the engine searches blindly.
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

if(WIN32)
    add_compile_definitions(UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00)
endif()
