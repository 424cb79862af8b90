# Only the static library: a program takes one file less along.
find_library(ZLIB_STATIC_LIBRARY libz.a REQUIRED)
if(NOT TARGET ZLIB::ZLIB)
    add_library(ZLIB::ZLIB INTERFACE IMPORTED)
    target_link_libraries(ZLIB::ZLIB INTERFACE ${ZLIB_STATIC_LIBRARY})
endif()
set(ZLIB_FOUND TRUE)
