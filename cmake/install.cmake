# Installation: the library, the header, a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS morvex EXPORT MorvexTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  PUBLIC_HEADER DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(MORVEX_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Morvex)
install(EXPORT MorvexTargets NAMESPACE Morvex:: DESTINATION ${MORVEX_CMAKE_DIR})

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/MorvexConfig.cmake.in
  ${PROJECT_BINARY_DIR}/MorvexConfig.cmake INSTALL_DESTINATION ${MORVEX_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/MorvexConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/MorvexConfig.cmake
  ${PROJECT_BINARY_DIR}/MorvexConfigVersion.cmake DESTINATION ${MORVEX_CMAKE_DIR})

# The pkg-config file locates the prefix from its own place, so that an
# installed tree can be moved (or installed with --prefix) and still work.
file(RELATIVE_PATH MORVEX_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" MORVEX_PC_TO_PREFIX "${MORVEX_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/morvex.pc.in ${PROJECT_BINARY_DIR}/morvex.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/morvex.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
