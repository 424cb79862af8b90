# How every target of this project is compiled, and the two functions that the folders' CMakeLists.txt use:
#   corrivane_library(NAME SOURCES... [PUBLIC libs...] [PRIVATE libs...] [OBJECT])   one folder, one library
#   corrivane_test(NAME SOURCES... [LINK libs...])                           one GoogleTest program under CTest

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g1 -DNDEBUG")

# The crash report walks the chain of frame pointers, so every frame keeps one, tail calls included.
# Unique symbols would pin corrivane.dlx in memory: it could never be unloaded.
add_compile_options(
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
    -fno-omit-frame-pointer -fno-optimize-sibling-calls
    $<$<CXX_COMPILER_ID:GNU>:-fno-gnu-unique>)
# When it optimises, GCC takes the value that an empty std::optional lacks for one that is used.
add_compile_options($<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:Release>>:-Wno-maybe-uninitialized>)
if(WIN32)
    # What describes a thread there lies at the beginning of a segment, not at a null pointer.
    add_compile_options(--param=min-pagesize=0)
endif()
if(CORRIVANE_WERROR)
    add_compile_options(-Werror)
endif()
if(CORRIVANE_SANITIZE)
    add_compile_options(-fsanitize=${CORRIVANE_SANITIZE} -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${CORRIVANE_SANITIZE})
endif()

find_package(Threads REQUIRED)

function(corrivane_library NAME)
    cmake_parse_arguments(ARG "OBJECT" "" "PUBLIC;PRIVATE" ${ARGN})
    set(kind STATIC)
    if(ARG_OBJECT)
        set(kind OBJECT)
    endif()
    add_library(${NAME} ${kind} ${ARG_UNPARSED_ARGUMENTS})
    target_link_libraries(${NAME} PUBLIC ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
endfunction()

function(corrivane_test NAME)
    cmake_parse_arguments(ARG "" "" "LINK" ${ARGN})
    add_executable(${NAME} ${ARG_UNPARSED_ARGUMENTS})
    target_link_libraries(${NAME} PRIVATE ${ARG_LINK} GTest::gtest GTest::gmock GTest::gtest_main)
    set_target_properties(${NAME} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    add_test(NAME ${NAME} COMMAND ${NAME})
endfunction()
