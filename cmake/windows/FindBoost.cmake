# Boost.Filesystem has no library for mingw-w64. Only its error is used, which the headers beside this file declare.
include(HeaderPackage)
header_package(Boost::boost boost)
if(NOT TARGET Boost::filesystem)
    add_library(Boost::filesystem INTERFACE IMPORTED)
    target_include_directories(Boost::filesystem SYSTEM INTERFACE ${CMAKE_CURRENT_LIST_DIR}/headers)
    target_link_libraries(Boost::filesystem INTERFACE Boost::boost)
endif()
set(Boost_FOUND TRUE)
