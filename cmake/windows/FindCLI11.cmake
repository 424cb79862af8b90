include(HeaderPackage)
header_package(CLI11::CLI11 CLI)
set(CLI11_FOUND TRUE)
