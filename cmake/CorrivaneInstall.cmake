# What `cmake --install` copies. The host finds its library and its image module beside itself, so the four stand in one
# folder, and bin/ has links to the programs there.
set(programs lib/corrivane)
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
