# cpack: .deb packages for Debian, .tar.gz for other systems, .zip for Windows. './dev package' calls
# it; packaging/ brings each package into the form that its system expects.
set(CPACK_PACKAGE_NAME zelutils)
set(CPACK_PACKAGE_VENDOR "the ZELUtils maintainers")
set(CPACK_PACKAGE_CONTACT "ZELUtils maintainers <maintainers@zelutils.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has one of its own
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_PACKAGE_INSTALL_DIRECTORY zelutils-${PROJECT_VERSION})
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/finish.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/repack.cmake)
set(CPACK_ZELUTILS_SOURCE_DIR ${PROJECT_SOURCE_DIR}) # for those scripts
set(CPACK_SOURCE_GENERATOR "")
if(WIN32)
  set(CPACK_GENERATOR ZIP)
else()
  set(CPACK_GENERATOR TGZ)
endif()

# ---- Debian ----

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${PROJECT_HOMEPAGE_URL}")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_COMPONENTS_ALL runtime check development tools documentation)
if(ZEL_PYTHON_DIR)
  list(APPEND CPACK_COMPONENTS_ALL python)
endif()

set(zel_this_one
  "${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(zel_about "ZELUtils gives a document-processing host typed values (POS objects)
with a text syntax, a stream format that stores them, schemas that they
are validated against, directories and temporary files, all behind the
host's interface binder.")

# zel_debian(COMPONENT PACKAGE SUMMARY CONTENT [VARIABLE VALUE]...)
function(zel_debian component package summary content)
  string(TOUPPER ${component} name)
  set(CPACK_DEBIAN_${name}_PACKAGE_NAME ${package} PARENT_SCOPE)
  set(CPACK_DEBIAN_${name}_DESCRIPTION "${summary}\n${zel_about}\n\n${content}" PARENT_SCOPE)
  while(ARGN)
    list(POP_FRONT ARGN variable value)
    set(CPACK_DEBIAN_${name}_PACKAGE_${variable} "${value}" PARENT_SCOPE)
  endwhile()
endfunction()

zel_debian(runtime libzelutils${PROJECT_VERSION_MAJOR}
  "typed values, streams and schemas for a document host"
  "This package has the library, and its reference host as a shared library."
  CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/triggers)
zel_debian(check libzelutilscheck${PROJECT_VERSION_MAJOR}
  "typed values, streams and schemas (checking layer)"
  "This package has a library that is loaded in place of the library, and
tells who breaks the contract between a host, its clients and the library."
  CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/triggers
  DEPENDS "libzelutils${zel_this_one}")
zel_debian(development libzelutils-dev
  "typed values, streams and schemas (development files)"
  "This package has the headers, the reference host as a static library,
and what CMake and pkg-config need."
  SECTION libdevel
  DEPENDS "libzelutils${zel_this_one}, libzelutilscheck${zel_this_one}")
zel_debian(tools zelutils-tools
  "typed values, streams and schemas (command line)"
  "This package has zelpos, which prints, changes, compares, converts and
validates such values."
  SECTION utils
  DEPENDS "libzelutils${zel_this_one}")
zel_debian(documentation zelutils-doc
  "typed values, streams and schemas (documentation)"
  "This package has the manual, the reference of the headers, and examples."
  SECTION doc
  ARCHITECTURE all)
zel_debian(python python3-zelutils
  "typed values, streams and schemas (Python 3)"
  "This package has the Python package zelutils."
  SECTION python
  ARCHITECTURE all
  DEPENDS "python3:any, libzelutils${PROJECT_VERSION_MAJOR} (>= ${PROJECT_VERSION})")

include(CPack)
