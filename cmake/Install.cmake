# cmake --install, in components: runtime, check, development, tools and documentation. Another
# project finds ZELUtils::ZELUtils, ZELUtils::headers, ZELUtils::host and ZELUtils::host_shared
# by CMake, zelutils and zelhost by pkg-config.
include(CMakePackageConfigHelpers)

set(zel_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ZELUtils)
string(REPLACE "/doc/${PROJECT_NAME}" "/doc/zelutils" zel_doc_dir "${CMAKE_INSTALL_DOCDIR}")

# ---- runtime, and the link that only a linker needs ----

install(
  TARGETS ZELUtils zelhost_shared zelutils_headers zelhost
  EXPORT ZELUtilsTargets
  RUNTIME COMPONENT runtime
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE COMPONENT development)

# The checking layer, loaded by its name without a version and never linked.
if(TARGET ZELUtilsCheck)
  install(
    TARGETS ZELUtilsCheck
    RUNTIME COMPONENT check
    LIBRARY COMPONENT check NAMELINK_COMPONENT development)
endif()

# ---- development ----

install(
  DIRECTORY include/zelutils host/zelhost host/zelutils DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT development)
install(
  EXPORT ZELUtilsTargets NAMESPACE ZELUtils:: DESTINATION ${zel_package_dir}
  COMPONENT development)
configure_package_config_file(
  cmake/ZELUtilsConfig.cmake.in ${PROJECT_BINARY_DIR}/ZELUtilsConfig.cmake
  INSTALL_DESTINATION ${zel_package_dir} PATH_VARS CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/ZELUtilsConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(
  FILES ${PROJECT_BINARY_DIR}/ZELUtilsConfig.cmake ${PROJECT_BINARY_DIR}/ZELUtilsConfigVersion.cmake
  DESTINATION ${zel_package_dir} COMPONENT development)

# The folders of a .pc file follow its own, so that a moved installation still works.
file(RELATIVE_PATH zel_pc_to_prefix
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" zel_pc_to_prefix "${zel_pc_to_prefix}")
set(zel_pc_libdir "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
set(zel_pc_includedir "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
foreach(folder LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${folder}}")
    string(TOLOWER "zel_pc_${folder}" variable)
    set(${variable} "${CMAKE_INSTALL_${folder}}")
  endif()
endforeach()
foreach(module zelutils zelhost)
  configure_file(cmake/${module}.pc.in ${PROJECT_BINARY_DIR}/${module}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${module}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()

# ---- tools ----

if(TARGET zelpos)
  install(TARGETS zelpos COMPONENT tools)
endif()

# ---- the Python package, whose version is that of the project ----

if(ZEL_PYTHON_DIR)
  install(
    DIRECTORY bindings/python/zelutils DESTINATION ${ZEL_PYTHON_DIR} COMPONENT python
    PATTERN __pycache__ EXCLUDE)
endif()

# ---- documentation ----

install(
  FILES README.md CHANGELOG.md CONTRIBUTING.md SECURITY.md LICENSE
  DESTINATION ${zel_doc_dir} COMPONENT documentation)
install(
  DIRECTORY docs examples DESTINATION ${zel_doc_dir} COMPONENT documentation
  PATTERN ".*" EXCLUDE PATTERN __pycache__ EXCLUDE
  PATTERN Doxyfile EXCLUDE PATTERN site.css EXCLUDE PATTERN architecture.dot EXCLUDE)
# The pages as a site, where scripts/package.sh has put it.
install(
  DIRECTORY ${PROJECT_BINARY_DIR}/site/html DESTINATION ${zel_doc_dir} COMPONENT documentation
  OPTIONAL)

# ---- uninstall ----

configure_file(cmake/uninstall.cmake.in ${PROJECT_BINARY_DIR}/uninstall.cmake @ONLY)
add_custom_target(uninstall
  COMMAND ${CMAKE_COMMAND} -P ${PROJECT_BINARY_DIR}/uninstall.cmake VERBATIM)
