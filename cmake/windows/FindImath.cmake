# Only its headers are used, with conversions to and from half that need no table of the library's.
if(NOT TARGET Imath::Imath)
    add_library(Imath::Imath INTERFACE IMPORTED)
    target_include_directories(Imath::Imath SYSTEM INTERFACE /usr/include/Imath)
    target_compile_definitions(Imath::Imath INTERFACE IMATH_HALF_NO_LOOKUP_TABLE)
endif()
set(Imath_FOUND TRUE)
