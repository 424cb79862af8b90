# What stands beside the programs that are built for Windows: the compiler's runtime libraries, and a command of this
# machine that runs the host under Wine.
foreach(library libstdc++-6.dll libwinpthread-1.dll libgcc_s_dw2-1.dll libgcc_s_seh-1.dll)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${library}
        OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT IS_ABSOLUTE "${file}")
        set(file /usr/${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32/lib/${library})
    endif()
    # Each target has one of the last two.
    if(EXISTS ${file})
        list(APPEND runtime_libraries ${file})
    endif()
endforeach()
file(COPY ${runtime_libraries} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
file(COPY ${runtime_libraries} DESTINATION ${CMAKE_BINARY_DIR}/tests)

configure_file(${CMAKE_CURRENT_LIST_DIR}/corrivane-host.in ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/corrivane-host @ONLY
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

add_custom_target(windows_programs DEPENDS corrivane corrivane_alone corrivane-host corrivane_imageio)

# The package: a ZIP with the host and its library, and the library alone for a host without these runtime libraries.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)
install(TARGETS corrivane-host RUNTIME DESTINATION .)
install(TARGETS corrivane corrivane_imageio LIBRARY DESTINATION .)
install(TARGETS corrivane_alone LIBRARY DESTINATION alone)
install(FILES ${runtime_libraries} DESTINATION .)
install(FILES README.md CHANGELOG.md docs/windows.md docs/scripting.md docs/scenes.md docs/protocol.md DESTINATION doc)
set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_FILE_NAME corrivane-${PROJECT_VERSION}-windows-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_STRIP_FILES ON)
include(CPack)
