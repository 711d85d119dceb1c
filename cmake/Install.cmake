# cmake --install: the library, its headers, the reference host, the tool, and a CMake package that
# offers them as ZELUtils::ZELUtils, ZELUtils::headers and ZELUtils::host.
include(CMakePackageConfigHelpers)

set(zel_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ZELUtils)

install(DIRECTORY include/zelutils DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY host/zelhost DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS zelpos)
install(TARGETS ZELUtils zelutils_headers zelhost zelhost_shared EXPORT ZELUtilsTargets)
install(EXPORT ZELUtilsTargets NAMESPACE ZELUtils:: DESTINATION ${zel_package_dir})

configure_package_config_file(
  cmake/ZELUtilsConfig.cmake.in ${PROJECT_BINARY_DIR}/ZELUtilsConfig.cmake
  INSTALL_DESTINATION ${zel_package_dir})
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/ZELUtilsConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(
  FILES ${PROJECT_BINARY_DIR}/ZELUtilsConfig.cmake ${PROJECT_BINARY_DIR}/ZELUtilsConfigVersion.cmake
  DESTINATION ${zel_package_dir})
