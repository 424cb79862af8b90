# header_package(TARGET NAME...): an imported target for a library of headers alone, or one that is used as such: this
# machine's own serve on Windows too. They are reached through a folder of links, since the folder that holds them holds
# this machine's C library as well.
function(header_package TARGET)
    set(links ${CMAKE_BINARY_DIR}/headers)
    file(MAKE_DIRECTORY ${links})
    foreach(name ${ARGN})
        if(NOT EXISTS /usr/include/${name})
            message(FATAL_ERROR "There is no /usr/include/${name}; make windows installs it.")
        endif()
        file(CREATE_LINK /usr/include/${name} ${links}/${name} SYMBOLIC)
    endforeach()
    if(NOT TARGET ${TARGET})
        add_library(${TARGET} INTERFACE IMPORTED)
        target_include_directories(${TARGET} SYSTEM INTERFACE ${links})
    endif()
endfunction()
