# temporary
macro(corrivane_folders)
    foreach(folder ${ARGN})
        if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/CMakeLists.txt)
            add_subdirectory(${folder})
        endif()
    endforeach()
endmacro()
