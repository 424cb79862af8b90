# What `cmake --install` copies. The host finds its library and its image module beside itself, so the four stand in one
# folder, and bin/ has links to the programs there. Below lib/, the package would run ldconfig for what no linker looks for.
set(programs libexec/corrivane)
install(TARGETS corrivane-host corrivane-worker corrivane corrivane_imageio
    RUNTIME DESTINATION ${programs}
    LIBRARY DESTINATION ${programs})
foreach(program corrivane-host corrivane-worker)
    install(CODE "
        set(bin \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin\")
        file(MAKE_DIRECTORY \"\${bin}\")
        file(CREATE_LINK ../${programs}/${program} \"\${bin}/${program}\" SYMBOLIC)
        message(STATUS \"Linked: \${bin}/${program}\")")
endforeach()

install(FILES
    ${CMAKE_BINARY_DIR}/examples/carousel.gltf ${CMAKE_BINARY_DIR}/examples/carousel.bin examples/carousel.json
    DESTINATION share/corrivane/examples)
install(FILES README.md CHANGELOG.md CONTRIBUTING.md DESTINATION share/doc/corrivane)
install(DIRECTORY docs DESTINATION share/doc/corrivane)

# Manual pages and completions, as the programs print them.
foreach(program corrivane-host corrivane-worker)
    set(folder ${CMAKE_BINARY_DIR}/documents)
    file(MAKE_DIRECTORY ${folder})
    set(documents ${folder}/${program}.1 ${folder}/${program} ${folder}/_${program})
    add_custom_command(
        OUTPUT ${documents}
        COMMAND ${program} --help-man > ${folder}/${program}.1
        COMMAND ${program} --help-bash > ${folder}/${program}
        COMMAND ${program} --help-zsh > ${folder}/_${program}
        DEPENDS ${program}
        COMMENT "Printing the manual of ${program}")
    add_custom_target(${program}-documents ALL DEPENDS ${documents})
    install(FILES ${folder}/${program}.1 DESTINATION share/man/man1)
    install(FILES ${folder}/${program} DESTINATION share/bash-completion/completions)
    install(FILES ${folder}/_${program} DESTINATION share/zsh/vendor-completions)
endforeach()

# make package: a Debian package, which depends on the libraries that the programs were linked with.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME corrivane)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Corrivane <corrivane@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Connector between 3ds Max and the Quillane render farm")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "The connector, a headless stand-in for 3ds Max that renders glTF scenes, and a farm worker for one machine.")
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
include(CPack)
