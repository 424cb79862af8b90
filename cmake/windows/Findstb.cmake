include(HeaderPackage)
header_package(stb::stb stb)
set(stb_FOUND TRUE)
