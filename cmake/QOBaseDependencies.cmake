# Libraries the shared library links against. Every one comes from the system's packages.
find_package(Boost 1.74 REQUIRED COMPONENTS filesystem system)
find_package(LibXml2 REQUIRED)
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)

# The float build of KISS FFT, as its pkg-config file describes it.
pkg_check_modules(KISSFFT REQUIRED IMPORTED_TARGET kissfft-float)
set(QOBASE_KISSFFT_TARGET PkgConfig::KISSFFT)
