# Installation: headers, the shared library, a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS qobase EXPORT QOBaseTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/qobase
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(QOBASE_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/QOBase)
install(EXPORT QOBaseTargets NAMESPACE QOBase:: DESTINATION ${QOBASE_CMAKE_DIR})
export(EXPORT QOBaseTargets NAMESPACE QOBase::
  FILE ${PROJECT_BINARY_DIR}/QOBaseTargets.cmake)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/QOBaseConfig.cmake.in
  ${PROJECT_BINARY_DIR}/QOBaseConfig.cmake
  INSTALL_DESTINATION ${QOBASE_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QOBaseConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QOBaseConfig.cmake
  ${PROJECT_BINARY_DIR}/QOBaseConfigVersion.cmake
  DESTINATION ${QOBASE_CMAKE_DIR})

# The .pc file finds its prefix relative to itself, so an install moved with --prefix still works.
file(RELATIVE_PATH QOBASE_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" QOBASE_PC_TO_PREFIX "${QOBASE_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/qobase.pc.in
  ${PROJECT_BINARY_DIR}/qobase.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qobase.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
